#include "cficonfiguration.h"
#include "fuzzing.h"

using namespace kzfi_pdk_4_4;

namespace {

/// Reads every value of the section and of those below it.
void walk(CFiConfiguration& configuration, const ACE_Configuration_Section_Key& parent, int depth) {
    for (const tstring& name : configuration.enumerateSections(parent)) {
        ACE_Configuration_Section_Key key;
        if (depth < 8 && configuration.openSection(parent, name.c_str(), key, 0) == 0) {
            unsigned int number = 0;
            tstring text;
            configuration.getIntegerValue("TRACELEVEL", number);
            configuration.getStringValue("TRACEFILE", text);
            walk(configuration, key, depth + 1);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string dir = kzfi_fuzz::folder().path() + "/";
    kzfi_tests::writeFile(dir + "a.conf", kzfi_fuzz::textOf(data, size));
    CFiConfiguration configuration;
    configuration.importConfig(dir.c_str(), "a.conf");
    walk(configuration, configuration.configHeap().root_section(), 0);
    configuration.importCredentials("ACME", "", "ARRAYS", size % 2 == 0);
    configuration.exportConfig();
    return 0;
}
