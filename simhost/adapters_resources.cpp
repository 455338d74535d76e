// Resources of the host.
#include "adapters.h"

namespace kzfi_simhost {
namespace {

using namespace kzfi_pdk_4_4;

Outcome callResourceStatus(Call& c) {
    long state = 0;
    kfi_msg_info* info = nullptr;
    const int status =
        c.provider().resourceStatus(c.object("resource"), c.number("options"), &state, &info);
    Outcome outcome = answered(status, "state", state);
    outcome.text = textOf(info != nullptr ? info->text : nullptr);
    return outcome;
}

Outcome callTranslateResourceNames(Call& c) {
    std::vector<char*>& names = c.texts("names");
    std::vector<char*> translated(names.size() + 1);
    const int status =
        c.provider().translateResourceNames(names.data(), countOf(names), translated.data());
    return answered(status, "translated",
                    takeTextsIn(c, {translated.begin(), translated.end() - 1}));
}

Outcome callImportResource(Call& c) {
    std::vector<char*>& resources = c.texts("resources");
    std::vector<char*> results(resources.size() + 1);
    if (!c.isNull("resources")) {
        resources.push_back(nullptr);
    }
    const int status = c.provider().importResource(
        resources.data(), c.text("udid"), c.text("hostname"), c.text("session"),
        integer(c, "request"), results.data(), c.text("options"));
    return answered(status, "results", takeTextsIn(c, {results.begin(), results.end() - 1}));
}

Outcome callFormat(Call& c) {
    std::vector<char*>& resources = c.texts("resources");
    char** results = nullptr;
    int count = 0;
    const int status = c.provider().format(
        resources.data(), countOf(resources), c.text("fileSystem"), c.text("label"),
        c.text("parameters"), integer(c, "options"), &results, &count);
    return answered(status, "results", takeTexts(c, results, count));
}

Outcome callOnlineResource(Call& c) {
    std::vector<char*>& resources = c.texts("resources");
    char** results = nullptr;
    int count = 0;
    const int status = c.provider().onlineResource(
        resources.data(), countOf(resources), c.text("hostname"), c.text("mountPoint"),
        c.text("fileSystem"), c.text("parameters"), integer(c, "options"), &results, &count);
    return answered(status, "results", takeTexts(c, results, count));
}

Outcome callDeportResource(Call& c) {
    return answered(c.provider().deportResource(c.text("udid"), c.text("hostname"),
                                                c.text("session"), c.text("options"),
                                                integer(c, "request")));
}

Outcome callUnformat(Call& c) {
    std::vector<char*>& resources = c.texts("resources");
    return answered(
        c.provider().unformat(resources.data(), countOf(resources), integer(c, "options")));
}

Outcome callPreDeportResource(Call& c) {
    return answered(c.provider().preDeportResource(c.text("resource"), integer(c, "options"),
                                                   c.text("hostname")));
}

} // namespace

std::vector<Operation> resourceOperations() {
    using namespace fields;
    return {
        {56, "resourceStatus", {text("resource"), longNumber("options")}, callResourceStatus},
        {61, "translateResourceNames", {texts("names")}, callTranslateResourceNames},
        {63,
         "importResource",
         {texts("resources"), text("udid"), text("hostname"), text("session"), number("request"),
          text("options")},
         callImportResource},
        {64,
         "format",
         {texts("resources"), text("fileSystem"), text("label"), text("parameters"),
          number("options")},
         callFormat},
        {66,
         "onlineResource",
         {texts("resources"), text("hostname"), text("mountPoint"), text("fileSystem"),
          text("parameters"), number("options")},
         callOnlineResource},
        {67,
         "deportResource",
         {text("udid"), text("hostname"), text("session"), text("options"), number("request")},
         callDeportResource},
        {69, "unformat", {texts("resources"), number("options")}, callUnformat},
        {70,
         "preDeportResource",
         {text("resource"), number("options"), text("hostname")},
         callPreDeportResource},
    };
}

} // namespace kzfi_simhost
