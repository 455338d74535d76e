#include "cfipblm.h"
#include "fuzzing.h"
#include "kzfi_platform_control.h"

using namespace kzfi_pdk_4_4;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string root = kzfi_fuzz::folder().path();
    kzfi_platform_set_install_root(root.c_str());
    const std::string record = root + "/lib/kzfi/cachefiles/luns/ENC1/device";
    kzfi_tests::writeFile(record, kzfi_fuzz::textOf(data, size));

    CFiPblmOps numbers;
    int value = 1000;
    const int status = numbers.getKeyValue(record.c_str(), value);
    kzfi_fuzz::require(value >= -1 && value <= 255, "a number of the range or -1");
    kzfi_fuzz::require(status == 0 || value == -1, "no number without a record");
    std::vector<std::string> free;
    kzfi_fuzz::require(numbers.getNewLunNum("ENC1", free), "one record never takes all numbers");
    // A text without digits reads as 0 and takes no number.
    const bool taken = free.size() == 255U;
    kzfi_fuzz::require(taken || free.size() == 256U, "a record takes one number at most");
    kzfi_fuzz::require(taken == (value >= 0) || value == 0, "exactly its number is taken");
    return 0;
}
