#include "cfiudid.h"
#include "fuzzing.h"

using namespace kzfi_pdk_4_4;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = kzfi_fuzz::textOf(data, size);
    try {
        CFiUdid udid{tstring(text.c_str(), text.size())};
        const std::string printed = udid.getUdidString();
        udid.parse(printed);
        kzfi_fuzz::require(udid.getUdidString().rfind("UDID##", 0) == 0, "the prefix leads");
        kzfi_fuzz::require(!udid.field4.empty() || udid.fourFieldFlag == 1,
                           "only a fourth field can be empty");
    } catch (const CFiUdidException& failure) {
        kzfi_fuzz::require(failure.errorCode >= CFiUdidException::NO_DEVICE &&
                               failure.errorCode <= CFiUdidException::NO_LAST_FIELD,
                           "the cause is one of the four");
    }
    return 0;
}
