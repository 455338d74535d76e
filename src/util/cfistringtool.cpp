#include "cfistringtool.h"

#include <unicode/ustring.h>

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <iterator>
#include <new>
#include <string_view>

#include "kzfi_framework.h"
#include "kzfi_portable.h"
#include "util/tokens.h"

namespace kzfi_pdk_4_4 {

namespace {

constexpr std::size_t CONVERSION_FAILED = static_cast<std::size_t>(-1);

// A buffer of the host for the length of a scope; data is null when there is no memory.
template <class Char>
struct HostBuffer {
    explicit HostBuffer(std::size_t count)
        : size(count * sizeof(Char)),
          data(static_cast<Char*>(kzfi_alloc_buf(size))) {}
    HostBuffer(const HostBuffer&) = delete;
    HostBuffer& operator=(const HostBuffer&) = delete;
    ~HostBuffer() { kzfi_free_buf(data, size); }

    const std::size_t size;
    Char* const data;
};

// A printf-formatted number; the longest is a float in "%f", 47 characters.
__attribute__((format(printf, 1, 2))) std::string formatted(const char* format, ...) {
    char buffer[128];
    std::va_list arguments;
    va_start(arguments, format);
    K_vsnprintf(buffer, sizeof(buffer), format, arguments);
    va_end(arguments);
    return buffer;
}

// The text and its NUL in a buffer of the host; null without memory.
template <class Char>
Char* duplicate(const Char* text, std::size_t length) {
    const std::size_t size = (length + 1) * sizeof(Char);
    void* const copy = kzfi_alloc_buf(size);
    return copy == nullptr ? nullptr : static_cast<Char*>(std::memcpy(copy, text, size));
}

// The character classes take an unsigned char; a byte of 0x80 and above must not reach them signed.
bool isLetter(char c) {
    return std::isalpha(static_cast<unsigned char>(c)) != 0;
}

bool isLetter(wchar_t c) {
    return std::iswalpha(static_cast<std::wint_t>(c)) != 0;
}

char upper(char c) {
    return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}

wchar_t upper(wchar_t c) {
    return static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(c)));
}

char lower(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

wchar_t lower(wchar_t c) {
    return static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(c)));
}

template <class Text>
Text uppered(Text text) {
    for (auto& c : text) {
        c = isLetter(c) ? upper(c) : c;
    }
    return text;
}

template <class Text>
Text lowered(Text text) {
    for (auto& c : text) {
        c = isLetter(c) ? lower(c) : c;
    }
    return text;
}

template <class Char>
bool sameButForCase(Char a, Char b) {
    return isLetter(a) && isLetter(b) ? upper(a) == upper(b) : a == b;
}

template <class Text>
bool equalButForCase(const Text& a, const Text& b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), sameButForCase<typename Text::value_type>);
}

std::size_t countOf(const std::string& pattern, const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = text.find(pattern); at != std::string::npos;
         at = text.find(pattern, at + pattern.size())) {
        ++count;
    }
    return count;
}

struct Entity {
    char character;
    std::string_view text;
};

// The ampersand is first: convertToXmlSpecialCharacters() relies on the order.
constexpr Entity ENTITIES[] = {
    {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\'', "&#39;"},
};

const char* seek(const char* from, const char* end, char c) {
    const void* const found = std::memchr(from, c, static_cast<std::size_t>(end - from));
    return found != nullptr ? static_cast<const char*>(found) : end;
}

using Cursors = const char * [std::size(ENTITIES)];

std::size_t nearestOf(const Cursors& cursors) {
    std::size_t nearest = 0;
    for (std::size_t i = 1; i < std::size(cursors); ++i) {
        nearest = cursors[i] < cursors[nearest] ? i : nearest;
    }
    return nearest;
}

// The entity at an ampersand; the ampersand by itself when it begins none.
const Entity& entityAt(const char* ampersand, const char* end) {
    static constexpr Entity PLAIN = {'&', "&"};
    const std::string_view rest(ampersand, static_cast<std::size_t>(end - ampersand));
    for (const Entity& entity : ENTITIES) {
        if (rest.substr(0, entity.text.size()) == entity.text) {
            return entity;
        }
    }
    return PLAIN;
}

} // namespace

// ---- Between string types ----

std::wstring CFiStringTool::str2wstr(const std::string& text) {
    const std::size_t length = text.empty() ? 0 : std::mbstowcs(nullptr, text.c_str(), 0);
    if (text.empty() || length == CONVERSION_FAILED) {
        return std::wstring();
    }
    const HostBuffer<wchar_t> buffer(length + 1);
    if (buffer.data == nullptr) {
        return std::wstring();
    }
    const std::size_t filled = std::mbstowcs(buffer.data, text.c_str(), length + 1);
    return filled == CONVERSION_FAILED ? std::wstring() : std::wstring(buffer.data, filled);
}

std::wstring CFiStringTool::mbs2wcs(const std::string& text) {
    return str2wstr(text);
}

std::wstring CFiStringTool::str2wstr(const std::wstring& text) {
    return text;
}

std::string CFiStringTool::wstr2str(const std::wstring& text) {
    if (text.empty()) {
        return std::string();
    }
    // Two bytes for a character on purpose: longer output is cut at the buffer's end, where it has
    // no NUL.
    const HostBuffer<char> buffer(2 * text.size() + 2);
    if (buffer.data == nullptr) {
        return std::string();
    }
    const std::size_t filled = std::wcstombs(buffer.data, text.c_str(), buffer.size);
    return filled == CONVERSION_FAILED ? std::string() : std::string(buffer.data, filled);
}

std::string CFiStringTool::wcs2mbs(const std::wstring& text) {
    return wstr2str(text);
}

std::string CFiStringTool::wstr2str(const std::string& text) {
    return text;
}

std::string CFiStringTool::tstr2str(const tstring& text) {
    // A tstring that found no memory has no text at all.
    const char* const characters = text.c_str();
    if (characters == nullptr) {
        throw std::bad_alloc();
    }
    return characters;
}

tstring CFiStringTool::str2tstr(const std::string& text) {
    return tstring(text.c_str());
}

std::wstring CFiStringTool::tstr2wstr(const tstring& text) {
    return str2wstr(tstr2str(text));
}

tstring CFiStringTool::wstr2tstr(const std::wstring& text) {
    return str2tstr(wstr2str(text));
}

std::string CFiStringTool::ustr2str(icu::UnicodeString& text) {
    const UChar* const units = text.getTerminatedBuffer();
    // ICU leaves the length alone when it fails, and reports the missing buffer as an error.
    int32_t length = 0;
    UErrorCode error = U_ZERO_ERROR;
    u_strToUTF8(nullptr, 0, &length, units, -1, &error);
    if (length < 1) {
        return std::string();
    }
    std::string result(static_cast<std::size_t>(length) + 1, '\0');
    error = U_ZERO_ERROR;
    u_strToUTF8(result.data(), length + 1, &length, units, -1, &error);
    result.resize(U_FAILURE(error) ? 0 : static_cast<std::size_t>(length));
    return result;
}

tstring CFiStringTool::ustr2tstr(icu::UnicodeString& text) {
    return str2tstr(ustr2str(text));
}

icu::UnicodeString CFiStringTool::str2ustr(const std::string& text) {
    int32_t length = 0;
    UErrorCode error = U_ZERO_ERROR;
    u_strFromUTF8(nullptr, 0, &length, text.c_str(), -1, &error);
    if (length < 1) {
        return icu::UnicodeString();
    }
    std::u16string units(static_cast<std::size_t>(length) + 1, u'\0');
    error = U_ZERO_ERROR;
    u_strFromUTF8(units.data(), length + 1, &length, text.c_str(), -1, &error);
    return U_FAILURE(error) ? icu::UnicodeString() : icu::UnicodeString(units.data(), length);
}

icu::UnicodeString CFiStringTool::tstr2ustr(const tstring& text) {
    return str2ustr(tstr2str(text));
}

// ---- C buffers ----

char* CFiStringTool::strdup(const std::string& text) {
    return duplicate(text.c_str(), text.size());
}

wchar_t* CFiStringTool::wstrdup(const std::wstring& text) {
    return duplicate(text.c_str(), text.size());
}

char* CFiStringTool::tstrdup(const tstring& text) {
    const char* const characters = text.c_str();
    return characters == nullptr ? nullptr : duplicate(characters, std::strlen(characters));
}

// Elements from the host that go through free() are kept on purpose: its buffers are such as free()
// accepts.
char** CFiStringTool::tstrduplist(const std::vector<tstring>& texts) {
    char** list = static_cast<char**>(std::malloc((texts.size() + 1) * sizeof(char*)));
    if (list == nullptr) {
        return nullptr;
    }
    char** end = list;
    *end = nullptr;
    for (const tstring& text : texts) {
        *end = tstrdup(text);
        if (*end == nullptr) {
            tstrfreelist(list);
            return nullptr;
        }
        *++end = nullptr;
    }
    return list;
}

void CFiStringTool::tstrfreelist(char**& list) {
    if (list == nullptr) {
        return;
    }
    for (char** element = list; *element != nullptr; ++element) {
        std::free(*element);
    }
    std::free(list);
    list = nullptr;
}

// ---- Numbers ----

std::string CFiStringTool::int2str(int number) {
    return formatted("%d", number);
}

std::string CFiStringTool::int2str(long number) {
    return formatted("%ld", number);
}

std::string CFiStringTool::uint2str(unsigned int number) {
    return formatted("%u", number);
}

std::string CFiStringTool::uint2str(unsigned long number) {
    return formatted("%lu", number);
}

std::wstring CFiStringTool::int2wstr(int number) {
    return str2wstr(int2str(number));
}

std::wstring CFiStringTool::int2wstr(long number) {
    return str2wstr(int2str(number));
}

std::wstring CFiStringTool::uint2wstr(unsigned int number) {
    return str2wstr(uint2str(number));
}

std::wstring CFiStringTool::uint2wstr(unsigned long number) {
    return str2wstr(uint2str(number));
}

std::string CFiStringTool::double2str(double number) {
    return formatted("%g", number);
}

std::string CFiStringTool::float2str(float number) {
    return formatted("%f", static_cast<double>(number));
}

std::string CFiStringTool::bool2str(bool value) {
    return value ? "true" : "false";
}

int CFiStringTool::str2int(const std::string& text, int& number) {
    if (text.empty()) {
        return -1;
    }
    number = str2int(text);
    return 0;
}

int CFiStringTool::str2uint(const std::string& text, unsigned int& number) {
    if (text.empty()) {
        return -1;
    }
    number = str2uint(text);
    return 0;
}

int CFiStringTool::str2uint64(const std::string& text, unsigned long& number) {
    if (text.empty()) {
        return -1;
    }
    number = std::strtoull(text.c_str(), nullptr, 10);
    return 0;
}

int CFiStringTool::str2double(const std::string& text, double& number) {
    if (text.empty()) {
        return -1;
    }
    number = str2double(text);
    return 0;
}

int CFiStringTool::str2int(const std::string& text) {
    return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}

unsigned int CFiStringTool::str2uint(const std::string& text) {
    // The signed reader on purpose: a number beyond its range is LONG_MAX before it is cut.
    return static_cast<unsigned int>(std::strtol(text.c_str(), nullptr, 10));
}

double CFiStringTool::str2double(const std::string& text) {
    return std::strtod(text.c_str(), nullptr);
}

// ---- Hexadecimal ----

std::string CFiStringTool::binary2str(unsigned char* data, int length) {
    static const char DIGITS[] = "0123456789abcdef";
    std::string result;
    result.reserve(length < 1 ? 0 : 2 * static_cast<std::size_t>(length));
    for (int i = 0; i < length; ++i) {
        result += DIGITS[data[i] >> 4];
        result += DIGITS[data[i] & 0xf];
    }
    return result;
}

std::wstring CFiStringTool::binary2wstr(unsigned char* data, int length) {
    return str2wstr(binary2str(data, length));
}

int CFiStringTool::str2binary(unsigned char* out, int* outLength, const std::string& hex) {
    const std::size_t pairs = hex.size() / 2;
    if (pairs != 0 && static_cast<long>(pairs) > *outLength) {
        return -1;
    }
    for (std::size_t i = 0; i < pairs; ++i) {
        const char pair[] = {hex[2 * i], hex[2 * i + 1], '\0'};
        out[i] = static_cast<unsigned char>(std::strtol(pair, nullptr, 16));
    }
    *outLength = static_cast<int>(pairs);
    return 0;
}

int CFiStringTool::wstr2binary(unsigned char* out, int* outLength, std::wstring hex, bool) {
    return str2binary(out, outLength, wstr2str(hex));
}

std::wstring CFiStringTool::binary2uid(unsigned int prefix, unsigned char* data, int length) {
    return str2wstr(formatted("%04x", prefix)) + binary2wstr(data, length);
}

std::string CFiStringTool::str2uid(unsigned int prefix, const std::string& text) {
    std::string result = formatted("%04x", prefix);
    for (const char c : text) {
        // Sign-extended, unlike binary2str: kept so on purpose.
        result += formatted("%02x", static_cast<unsigned int>(static_cast<signed char>(c)));
    }
    return result;
}

std::string CFiStringTool::wstr2uid(unsigned int prefix, const std::wstring& text) {
    return str2uid(prefix, wstr2str(text));
}

// ---- Editing ----

std::string CFiStringTool::ltrim(const std::string& text, const char* delims) {
    if (text.empty() || delims == nullptr) {
        return text;
    }
    const std::size_t first = text.find_first_not_of(delims);
    return first == std::string::npos ? std::string() : text.substr(first);
}

std::string CFiStringTool::rtrim(const std::string& text, const char* delims) {
    if (text.empty() || delims == nullptr) {
        return text;
    }
    // A text of nothing but delims: npos + 1 is 0.
    return text.substr(0, text.find_last_not_of(delims) + 1);
}

std::string CFiStringTool::trim(const std::string& text, const char* delims) {
    return rtrim(ltrim(text, delims), delims);
}

std::string CFiStringTool::searchreplace(const std::string& source, const std::string& search,
                                         const std::string& replace) {
    const std::size_t count = search.empty() ? 0 : countOf(search, source);
    std::string result;
    result.reserve(source.size() - count * search.size() + count * replace.size());
    std::size_t from = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t at = source.find(search, from);
        result.append(source, from, at - from).append(replace);
        from = at + search.size();
    }
    result.append(source, from, std::string::npos);
    result.resize(std::strlen(result.c_str()));
    return result;
}

std::string CFiStringTool::tostrupper(const std::string& text) {
    return uppered(text);
}

std::wstring CFiStringTool::tostrupper(const std::wstring& text) {
    return uppered(text);
}

std::string CFiStringTool::tostrlower(const std::string& text) {
    return lowered(text);
}

std::wstring CFiStringTool::tostrlower(const std::wstring& text) {
    return lowered(text);
}

// ---- Tests and searches ----

bool CFiStringTool::isDigit(const std::string& text) {
    return text.find_first_not_of("0123456789") == std::string::npos;
}

bool CFiStringTool::CompareNoCase(const std::string& a, const std::string& b) {
    return equalButForCase(a, b);
}

bool CFiStringTool::CompareNoCase(const std::wstring& a, const std::wstring& b) {
    return equalButForCase(a, b);
}

bool CFiStringTool::isIpAddress(const std::string& text) {
    const std::vector<std::string> parts = tokenize(text, ".");
    return parts.size() == 4 && std::all_of(parts.begin(), parts.end(), isDigit);
}

std::vector<std::string> CFiStringTool::tokenize(const std::string& text,
                                                 const std::string& delims) {
    Tokens tokens(text.c_str(), delims.c_str());
    std::vector<std::string> all;
    for (std::string_view token; tokens.next(token);) {
        all.emplace_back(token);
    }
    return all;
}

long CFiStringTool::find(const std::vector<std::string>& list, const char* needle,
                         unsigned long& index, bool trimmed) {
    if (needle == nullptr) {
        index = std::max(index, list.size());
        return -1;
    }
    for (; index < list.size(); ++index) {
        const std::string& element = list[index];
        const std::size_t at = trimmed ? rtrim(element).find(needle) : element.find(needle);
        if (at != std::string::npos) {
            return static_cast<long>(at);
        }
    }
    return -1;
}

// ---- XML ----

std::string CFiStringTool::xmlBracket(std::string name, bool open, bool newline) {
    return (open ? "<" : "</") + name + (newline ? ">\n" : ">");
}

std::string CFiStringTool::xmlBracketValue(std::string name, std::string value) {
    return "\t" + xmlBracket(name, true, false) + convertToXmlSpecialCharacters(value) +
           xmlBracket(name, false, true);
}

// One cursor for each special, moved by memchr, which passes 32 characters at a step where a loop
// passes one. The search for the first finds the end of a text without it as well and saves a
// strlen; such a text is copied at its exact size, which malloc serves faster.
std::string CFiStringTool::convertToXmlSpecialCharacters(const std::string& text) {
    const char* from = text.c_str();
    const char* const ampersand = strchrnul(from, '&');
    const char* const end = ampersand + std::strlen(ampersand);
    Cursors next = {ampersand, seek(from, end, '<'), seek(from, end, '>'), seek(from, end, '"'),
                    seek(from, end, '\'')};
    std::size_t nearest = nearestOf(next);
    if (next[nearest] == end) {
        return std::string(from, end);
    }
    std::string result;
    result.reserve(static_cast<std::size_t>(end - from) * 3 / 2);
    while (next[nearest] != end) {
        result.append(from, next[nearest]).append(ENTITIES[nearest].text);
        from = next[nearest] + 1;
        next[nearest] = seek(from, end, ENTITIES[nearest].character);
        nearest = nearestOf(next);
    }
    result.append(from, end);
    return result;
}

std::string CFiStringTool::convertFromXmlSpecialCharacters(const std::string& text) {
    const char* from = text.c_str();
    const char* const end = from + std::strlen(from);
    std::string result;
    result.reserve(static_cast<std::size_t>(end - from));
    while (true) {
        const char* const ampersand = seek(from, end, '&');
        result.append(from, ampersand);
        if (ampersand == end) {
            return result;
        }
        const Entity& entity = entityAt(ampersand, end);
        result += entity.character;
        from = ampersand + entity.text.size();
    }
}

} // namespace kzfi_pdk_4_4
