#include "cficonfigparam.h"
#include "parameter_lists.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kzfi_fuzz::parseAndWriteBack<kzfi_pdk_4_4::CFiConfigParamDataList>(
        kzfi_fuzz::textOf(data, size));
    return 0;
}
