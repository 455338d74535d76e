#include "cfiutf8string.h"

#include <unicode/ustring.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <utility>

namespace Quillon {
namespace Stoneleaf {
namespace Framework {

namespace {

constexpr std::size_t LONGEST = 5;

// How many continuation bytes follow a lead byte. Continuation bytes and the two invalid bytes
// count as characters of one byte.
constexpr std::array<std::uint8_t, 256> makeUtf8Bytes() {
    std::array<std::uint8_t, 256> table{};
    for (std::size_t lead = 0xC0; lead <= 0xFD; ++lead) {
        table[lead] = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : lead < 0xF8 ? 3 : lead < 0xFC ? 4 : 5;
    }
    return table;
}

constexpr std::array<std::uint8_t, 256> utf8Bytes = makeUtf8Bytes();

// The top two bits of the bytes that are checked, four bits a byte, the lead byte's highest.
constexpr std::array<std::uint32_t, LONGEST + 1> pattern = {0x0,    0xC0,    0xC80,
                                                            0xC880, 0xC8880, 0xC88880};

// An assertion that holds in every build. Its place is named as it has always been, wherever the
// check stands now.
void require(bool condition, const char* text, int line) {
    if (!condition) {
        std::fprintf(stderr, "cfiutf8string.cpp:%d: next: Assertion `%s' failed.\n", line, text);
        std::abort();
    }
}

// One character further. Reads nothing behind a NUL: the bits that are then missing cannot be made
// up by others. The last byte is passed without a look, kept so on purpose.
const char* advance(const char* p) {
    const std::size_t following = utf8Bytes[static_cast<unsigned char>(*p)];
    require(following <= LONGEST, "following <= LONGEST", 106);
    std::uint32_t checksum = 0;
    for (std::size_t i = 0; i < following; ++i) {
        checksum = checksum << 4 | (static_cast<unsigned char>(p[i]) & 0xC0U);
        if (p[i] == '\0') {
            break;
        }
    }
    require(checksum == pattern[following], "checksum == pattern[following]", 109);
    return p + following + 1;
}

// The bytes that a look at one position needs in front of it, and those that are looked at
// together.
constexpr std::size_t BEFORE = 3;
constexpr std::size_t BLOCK = 64;
using Window = unsigned char[BEFORE + BLOCK];

// Counts the continuation bytes of a block. Returns true if they stand exactly where a lead byte of
// up to four bytes asks for them.
bool isRegular(const Window& window, std::size_t& continuations) {
    unsigned char wrong = 0;
    unsigned char count = 0;
    for (std::size_t i = 0; i < BLOCK; ++i) {
        const unsigned char byte = window[i + BEFORE];
        const bool continues = (byte & 0xC0) == 0x80;
        const bool asked = (window[i + 2] >= 0xC0) | (window[i + 1] >= 0xE0) | (window[i] >= 0xF0);
        wrong |= (continues ^ asked) | (byte >= 0xF8);
        count += continues;
    }
    continuations += count;
    return wrong == 0;
}

// The number of characters of a regular text; nothing for any other, which must be walked. The loop
// has no branch, so the compiler makes vectors of it: three to nine times as fast as the walk.
std::optional<std::size_t> regularLength(const char* text) {
    const std::size_t size = std::strlen(text) + 1;
    Window window = {};
    std::size_t continuations = 0;
    // With the NUL: a text that ends inside a character is not regular.
    for (std::size_t at = 0; at < size; at += BLOCK) {
        const std::size_t taken = std::min(BLOCK, size - at);
        std::memcpy(window, window + BLOCK, BEFORE);
        std::memcpy(window + BEFORE, text + at, taken);
        std::memset(window + BEFORE + taken, 0, BLOCK - taken);
        if (!isRegular(window, continuations)) {
            return std::nullopt;
        }
    }
    return size - 1 - continuations;
}

// An ICU conversion is called twice as convert(out, room, length, status): to measure, to write.

template <class Convert>
std::int32_t measure(Convert convert) {
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t length = 0;
    convert(nullptr, 0, &length, &status);
    if (status != U_BUFFER_OVERFLOW_ERROR) {
        UTF8String::testICUStatus(status);
    }
    return length;
}

template <class Unit, class Convert>
void write(Convert convert, Unit* out, std::int32_t room) {
    UErrorCode status = U_ZERO_ERROR;
    convert(out, room, nullptr, &status);
    UTF8String::testICUStatus(status);
}

template <class Convert>
icu::UnicodeString toUnicode(Convert convert) {
    const std::int32_t length = measure(convert);
    icu::UnicodeString text;
    write(convert, text.getBuffer(length), length);
    text.releaseBuffer(length);
    return text;
}

} // namespace

UTF8String::UTF8String() : utf8(1, '\0') {}

UTF8String::UTF8String(const char* text) : UTF8String(std::string(text == nullptr ? "" : text)) {}

UTF8String::UTF8String(const std::string& text)
    : utf8(text.c_str(), text.c_str() + text.size() + 1) {}

UTF8String::UTF8String(const icu::UnicodeString& text) : UTF8String() {
    append(text);
}

UTF8String::UTF8String(const ACE_String_Base<char>& text)
    : UTF8String(std::string(text.c_str(), text.length())) {}

UTF8String::UTF8String(const ACE_String_Base<wchar_t>& text) : UTF8String() {
    append(text);
}

bool UTF8String::next(UTF8Char_t** p) const {
    if (*p == nullptr) {
        return true;
    }
    const std::ptrdiff_t size = advance(*p) - *p;
    *p += size;
    return size == 1;
}

unsigned int UTF8String::length() const {
    const std::optional<std::size_t> regular = regularLength(utf8.data());
    if (regular) {
        return static_cast<unsigned int>(*regular);
    }
    const char* const end = utf8.data() + utf8.size();
    unsigned int count = 0;
    for (const char* p = utf8.data(); p < end && *p != '\0'; p = advance(p)) {
        ++count;
    }
    return count;
}

UTF8Char_t* UTF8String::operator[](unsigned int i) {
    UTF8Char_t* const last = &utf8.back();
    UTF8Char_t* p = utf8.data();
    for (; i > 0 && p < last && *p != '\0'; --i) {
        next(&p);
    }
    // A text that ends inside a character takes the walk over its NUL.
    return std::min(p, last);
}

bool UTF8String::ascii() const {
    const char* p = utf8.data();
    while (*p != '\0') {
        const char* const following = advance(p);
        if (following != p + 1) {
            return false;
        }
        p = following;
    }
    return true;
}

void UTF8String::append(const char* bytes, int length) {
    if (bytes != nullptr && length > 0) {
        append(std::vector<char>(bytes, bytes + length));
    }
}

void UTF8String::append(std::vector<char> bytes) {
    utf8.insert(utf8.end() - 1, bytes.begin(), bytes.end());
}

void UTF8String::append(const icu::UnicodeString& text) {
    const auto convert = [&](char* out, std::int32_t room, std::int32_t* length,
                             UErrorCode* status) {
        u_strToUTF8(out, room, length, text.getBuffer(), text.length(), status);
    };
    const std::int32_t length = measure(convert);
    std::vector<char> bytes(static_cast<std::size_t>(length));
    write(convert, bytes.data(), length);
    append(std::move(bytes));
}

void UTF8String::append(const ACE_String_Base<wchar_t>& text) {
    append(toUnicode([&](UChar* out, std::int32_t room, std::int32_t* length, UErrorCode* status) {
        u_strFromWCS(out, room, length, text.c_str(), static_cast<std::int32_t>(text.length()),
                     status);
    }));
}

void UTF8String::append(int value, int radix) {
    if (radix < 2 || radix > 36) {
        return;
    }
    char digits[32];
    char* const end = digits + sizeof(digits);
    const char* const last =
        value < 0 && radix != 10
            ? std::to_chars(digits, end, static_cast<unsigned int>(value), radix).ptr
            : std::to_chars(digits, end, value, radix).ptr;
    append(digits, static_cast<int>(last - digits));
}

icu::UnicodeString UTF8String::u_str() const {
    return toUnicode([&](UChar* out, std::int32_t room, std::int32_t* length, UErrorCode* status) {
        u_strFromUTF8(out, room, length, utf8.data(), -1, status);
    });
}

ACE_String_Base<char> UTF8String::t_str() const {
    return ACE_String_Base<char>(utf8.data());
}

void UTF8String::testICUStatus(UErrorCode& status) {
    if (U_FAILURE(status)) {
        // No blank after the colon, kept so on purpose.
        throw std::runtime_error(std::string("ICU error occurred while converting string:") +
                                 u_errorName(status));
    }
}

} // namespace Framework
} // namespace Stoneleaf
} // namespace Quillon
