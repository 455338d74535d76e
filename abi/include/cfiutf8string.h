// A growable string of UTF-8 bytes.
#ifndef CFIUTF8STRING_H
#define CFIUTF8STRING_H

#include <ace/SString.h>
#include <unicode/unistr.h>
#include <unicode/utypes.h>

#include <string>
#include <vector>

#include "kzfi_pdk.h"

namespace Quillon {
namespace Stoneleaf {
namespace Framework {

/// The byte of UTF8String.
typedef char UTF8Char_t;

/// Text in UTF-8 that is walked by character and converted from and to ICU and wide strings.
///     UTF8String text("caf\xC3\xA9");
///     text.append(7, 10);
///     for (UTF8Char_t* at = text[0]; *at != '\0'; text.next(&at)) { ... }
///
/// Bytes are kept as they come, also NULs; walking and the conversions stop at the first NUL. The
/// last byte of a multi-byte character is never looked at, stray continuation bytes and the bytes
/// 0xFE and 0xFF count as characters of one byte.
///
/// Threads: no lock; one thread at a time changes an object.
/// Ownership: a plain value. The pointers of operator[] live until the next append.
/// Errors: a walk over a lead byte of three or more bytes whose inner bytes are no continuation
/// bytes ends the process (SIGABRT), in every build. A conversion that ICU refuses throws
/// std::runtime_error and appends nothing.
class KZFI_PDK_API UTF8String {
  public:
    UTF8String();
    /// A null text gives an empty string.
    explicit UTF8String(const char* text);
    explicit UTF8String(const std::string& text);
    explicit UTF8String(const icu::UnicodeString& text);
    explicit UTF8String(const ACE_String_Base<char>& text);
    explicit UTF8String(const ACE_String_Base<wchar_t>& text);

    // No moves: the string that was moved from would have lost its NUL.
    UTF8String(const UTF8String&) = default;
    UTF8String& operator=(const UTF8String&) = default;
    ~UTF8String() = default;

    /// Moves *p over one character, or one byte at a NUL. Returns true if it was a single byte;
    /// also for a null *p, which stays. Where the text ends inside a character *p passes its NUL.
    bool next(UTF8Char_t** p) const;

    /// The number of characters.
    unsigned int length() const;

    /// Where character i starts; the NUL at the end when there are not that many.
    UTF8Char_t* operator[](unsigned int i);

    /// No character has more than one byte.
    bool ascii() const;

    /// Appends bytes as they are; nothing for null bytes or a length below 1.
    void append(const char* bytes, int length);
    void append(std::vector<char> bytes);

    /// Append the text in UTF-8. Throw for an unpaired surrogate or a value above 0x10FFFF.
    void append(const icu::UnicodeString& text);
    void append(const ACE_String_Base<wchar_t>& text);

    /// Appends the number's digits, lower-case. Below 0 a radix other than 10 shows the 32 bits of
    /// the two's complement. Nothing for a radix outside 2 to 36.
    void append(int value, int radix);

    /// The text as an ICU string. Throws for bytes that are not UTF-8.
    icu::UnicodeString u_str() const;

    /// The text as a narrow string.
    ACE_String_Base<char> t_str() const;

    /// Throws std::runtime_error with ICU's name of the status if it is a failure; warnings pass.
    static void testICUStatus(UErrorCode& status);

  private:
    // Always ends with one NUL that is not part of the text.
    std::vector<char> utf8;
};

} // namespace Framework
} // namespace Stoneleaf
} // namespace Quillon

#endif
