// What the framework tells of a request as a whole.
#include "adapters.h"

namespace kzfi_simhost {
namespace {

using namespace kzfi_pdk_4_4;

Outcome callGetBackupset(Call& c) {
    std::vector<char*>& files = c.texts("files");
    return answered(c.provider().getBackupset(c.node(), integer(c, "options"), files.data(),
                                              countOf(files), nullptr));
}

Outcome callGetAppStatus(Call& c) {
    return answered(c.provider().getAppStatus(c.node(), integer(c, "options"), nullptr));
}

Outcome callSetOpStatus(Call& c) {
    return answered(c.provider().setOpStatus(c.node(), integer(c, "status")));
}

Outcome callSetCompStatus(Call& c) {
    return answered(c.provider().setCompStatus(c.node(), integer(c, "component"), c.text("name"),
                                               integer(c, "status")));
}

Outcome callSetRestorepaths(Call& c) {
    return answered(c.provider().setRestorepaths(c.node(), c.text("paths"), integer(c, "count")));
}

} // namespace

std::vector<Operation> requestOperations() {
    using namespace fields;
    return {
        {72, "getBackupset", {node("node"), number("options"), texts("files")}, callGetBackupset},
        {73, "getAppStatus", {node("node"), number("options")}, callGetAppStatus},
        {74, "setOpStatus", {node("node"), number("status")}, callSetOpStatus},
        {75,
         "setCompStatus",
         {node("node"), number("component"), text("name"), number("status")},
         callSetCompStatus},
        {76,
         "setRestorepaths",
         {node("node"), text("paths"), number("count")},
         callSetRestorepaths},
    };
}

} // namespace kzfi_simhost
