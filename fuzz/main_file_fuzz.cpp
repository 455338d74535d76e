#include "cfitracelog.h"
#include "fuzzing.h"

using namespace kzfi_pdk_4_4;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tstring dir((kzfi_fuzz::folder().path() + "/").c_str());
    tstring file("kw.conf");
    std::string path = kzfi_fuzz::folder().path("kw.conf");
    kzfi_tests::writeFile(path, kzfi_fuzz::textOf(data, size));
    int level = -77;
    const int result = CFiTraceLog::getKwfisTraceLevel(dir, file, level);
    kzfi_fuzz::require(result == 0 || result == 1, "the file can be opened");
    kzfi_fuzz::require(result == 0 || level == -77, "without a number the level stays");
    CFiTraceLog::findKwfisVerboseValue(path);
    return 0;
}
