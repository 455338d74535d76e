#include <cstring>
#include <stdexcept>

#include "cfiicucatalog.h"
#include "fuzzing.h"

using namespace kzfi_pdk_4_4;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = kzfi_fuzz::textOf(data, size);
    const kfi_msg_info info = {text.c_str(), static_cast<std::uint32_t>(size)};
    CFiIcuMessage message;
    try {
        message.deserialize(&info);
    } catch (const std::out_of_range& cut) {
        kzfi_fuzz::require(std::strstr(cut.what(), "basic_string::substr") != nullptr,
                           "the exception says what it says for every cut text");
    }
    message.formatMessage("{0} of {1}: {2}");
    const kfi_msg_info* const back = message.serialize();
    kzfi_fuzz::require(std::strlen(back->text) == back->length, "the length is that of the text");
    return 0;
}
