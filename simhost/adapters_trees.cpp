// Trees of nodes.
#include "adapters.h"

namespace kzfi_simhost {
namespace {

using namespace kzfi_pdk_4_4;

Outcome callDeportTree(Call& c) {
    return answered(c.provider().deportTree(c.node(), c.node("alternate"), nullptr));
}

Outcome callImportTreeNode(Call& c) {
    std::vector<kzfi_objid*>& primaries = c.objects("primaries");
    kzfi_objid* imported = nullptr;
    const int status = c.provider().importTreeNode(
        c.node(), primaries.data(), c.objects("secondaries", primaries.size()).data(),
        countOf(primaries), &imported);
    return answered(status, "imported", nameOf(imported));
}

Outcome callBuildAltTree(Call& c) {
    std::vector<kzfi_objid*>& primaries = c.objects("primaries");
    kzfi_objid* built = nullptr;
    const int status = c.provider().buildAltTree(c.node(), c.text("session"), primaries.data(),
                                                 c.objects("secondaries", primaries.size()).data(),
                                                 countOf(primaries), &built);
    return answered(status, "built", nameOf(built));
}

Outcome callStartBuildAltTree(Call& c) {
    std::vector<kzfi_objid*>& objects = c.objects("objects");
    if (!c.isNull("objects")) {
        objects.push_back(nullptr);
    }
    return answered(c.provider().startBuildAltTree(c.node(), objects.data(), nullptr));
}

Outcome callIsParentPgn(Call& c) {
    int answer = 0;
    const int status = c.provider().isParentPgn(c.text("name"), &answer, integer(c, "options"));
    return answered(status, "answer", answer);
}

Outcome callRefreshTree(Call& c) {
    int changed = 0;
    const int status = c.provider().refreshTree(c.node(), integer(c, "options"), integer(c, "kind"),
                                                nullptr, 0, &changed, nullptr, integer(c, "flags"));
    return answered(status, "changed", changed);
}

Outcome callPostDeport(Call& c) {
    return answered(c.provider().postDeport(c.node(), c.node("alternate")));
}

} // namespace

std::vector<Operation> treeOperations() {
    using namespace fields;
    return {
        {8, "deportTree", {node("node"), node("alternate")}, callDeportTree},
        {9,
         "importTreeNode",
         {node("node"), texts("primaries"), texts("secondaries")},
         callImportTreeNode},
        {20,
         "buildAltTree",
         {node("node"), text("session"), texts("primaries"), texts("secondaries")},
         callBuildAltTree},
        {60, "startBuildAltTree", {node("node"), texts("objects")}, callStartBuildAltTree},
        {68, "isParentPgn", {text("name"), number("options")}, callIsParentPgn},
        {71,
         "refreshTree",
         {node("node"), number("options"), number("kind"), number("flags")},
         callRefreshTree},
        {83, "postDeport", {node("node"), node("alternate")}, callPostDeport},
    };
}

} // namespace kzfi_simhost
