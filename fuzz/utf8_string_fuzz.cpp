#include <unicode/utf8.h>

#include <cstring>

#include "cfiutf8string.h"
#include "fuzzing.h"

namespace {

/// Counts the characters of text up to its first NUL; -1 when it is not well-formed: walking such a
/// text may end the process, on purpose.
int charactersOf(const std::string& text) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.c_str());
    const auto length = static_cast<std::int32_t>(std::strlen(text.c_str()));
    int count = 0;
    for (std::int32_t at = 0; at < length; ++count) {
        UChar32 character = 0;
        U8_NEXT(bytes, at, length, character);
        if (character < 0) {
            return -1;
        }
    }
    return count;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using Quillon::Stoneleaf::Framework::UTF8String;
    const std::string text = kzfi_fuzz::textOf(data, size);
    const int count = charactersOf(text);
    if (count < 0) {
        return 0;
    }
    UTF8String string(text);
    kzfi_fuzz::require(string.length() == static_cast<unsigned int>(count),
                       "every character is counted once");
    kzfi_fuzz::require(*string[string.length()] == '\0', "behind the last one is the NUL");
    UTF8String again(icu::UnicodeString::fromUTF8(text.c_str()));
    kzfi_fuzz::require(again.length() == string.length(), "UTF-16 and back keeps all characters");
    return 0;
}
