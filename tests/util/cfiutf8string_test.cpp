// The UTF-8 string: walks, conversions and what ends the process.
#include "cfiutf8string.h"

#include <ace/OS_NS_stdlib.h>
#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <cstring>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Quillon::Stoneleaf::Framework::UTF8Char_t;
using Quillon::Stoneleaf::Framework::UTF8String;
using Narrow = ACE_String_Base<char>;
using Wide = ACE_String_Base<wchar_t>;

// A code of up to 31 bits in the form that has this many bytes.
std::string encoded(unsigned long code, std::size_t size) {
    if (size == 1) {
        return std::string(1, static_cast<char>(code));
    }
    std::string bytes(size, '\0');
    for (std::size_t i = size - 1; i > 0; --i) {
        bytes[i] = static_cast<char>(0x80 | (code & 0x3F));
        code >>= 6;
    }
    bytes[0] = static_cast<char>((0xFF00U >> size & 0xFF) | code);
    return bytes;
}

std::string encoded(unsigned long code) {
    return encoded(code, code < 0x80 ? 1 : code < 0x800 ? 2 : code < 0x10000 ? 3 : 4);
}

std::string bytesOf(const UTF8String& text) {
    return text.t_str().c_str();
}

// The sizes of the characters, as next() walks over them.
std::vector<std::ptrdiff_t> sizesIn(UTF8String text) {
    std::vector<std::ptrdiff_t> sizes;
    for (UTF8Char_t* p = text[0]; *p != '\0';) {
        const UTF8Char_t* const from = p;
        const bool single = text.next(&p);
        sizes.push_back(p - from);
        EXPECT_EQ(p - from == 1, single);
    }
    return sizes;
}

// Where character i starts.
std::ptrdiff_t offsetOf(UTF8String& text, unsigned int i) {
    return text[i] - text[0];
}

// What the conversion threw; empty when it did not.
template <class Conversion>
std::string complaint(Conversion convert) {
    try {
        convert();
        return "";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

constexpr char INVALID_CHARACTER[] =
    "ICU error occurred while converting string:U_INVALID_CHAR_FOUND";

// ---- Walking ----

TEST(Utf8String, WalksAscii) {
    UTF8String text("abc");
    EXPECT_EQ(3U, text.length());
    EXPECT_TRUE(text.ascii());
    EXPECT_EQ(2, offsetOf(text, 2));
    EXPECT_EQ('c', *text[2]);
}

TEST(Utf8String, WalksOneCharacterOfTwoBytes) {
    UTF8String text("\xC3\xA9");
    EXPECT_EQ(1U, text.length());
    EXPECT_FALSE(text.ascii());
    EXPECT_EQ(2, offsetOf(text, 1));
}

TEST(Utf8String, WalksNothing) {
    UTF8String text;
    EXPECT_EQ(0U, text.length());
    EXPECT_TRUE(text.ascii());
    EXPECT_EQ('\0', *text[0]);
    EXPECT_EQ(0, offsetOf(text, 5));
}

TEST(Utf8String, WalksTheWholeUnicodeRange) {
    for (unsigned long first = 0; first < 0x110000; first += 0x1000) {
        std::string bytes;
        std::vector<std::ptrdiff_t> sizes;
        for (unsigned long code = std::max(first, 1UL); code < first + 0x1000; ++code) {
            const std::string character = encoded(code);
            bytes += character;
            sizes.push_back(static_cast<std::ptrdiff_t>(character.size()));
        }
        const UTF8String text(bytes);
        EXPECT_EQ(sizes.size(), text.length()) << first;
        EXPECT_EQ(sizes, sizesIn(text)) << first;
        EXPECT_FALSE(UTF8String("a" + encoded(first + 0x80)).ascii()) << first;
    }
}

TEST(Utf8String, FindsEachCharacterOfAMixture) {
    std::string bytes;
    std::vector<std::size_t> starts;
    for (const unsigned long code : {0x41UL, 0xE9UL, 0x20ACUL, 0x1F600UL, 0x7FUL, 0x10FFFFUL}) {
        starts.push_back(bytes.size());
        bytes += encoded(code);
    }
    UTF8String text(bytes);
    for (unsigned int i = 0; i < starts.size(); ++i) {
        EXPECT_EQ(static_cast<std::ptrdiff_t>(starts[i]), offsetOf(text, i)) << i;
    }
    EXPECT_EQ(static_cast<std::ptrdiff_t>(bytes.size()), offsetOf(text, 6));
    EXPECT_EQ(static_cast<std::ptrdiff_t>(bytes.size()), offsetOf(text, 1000));
    EXPECT_EQ(static_cast<std::ptrdiff_t>(bytes.size()), offsetOf(text, UINT_MAX));
}

TEST(Utf8String, WalksFormsOfFiveAndSixBytes) {
    for (const unsigned long code : {0UL, 0x200000UL, 0x3FFFFFFUL}) {
        EXPECT_EQ((std::vector<std::ptrdiff_t>{1, 5, 1}),
                  sizesIn(UTF8String("a" + encoded(code, 5) + "b")));
        EXPECT_EQ(3U, UTF8String("a" + encoded(code, 5) + "b").length());
    }
    for (const unsigned long code : {0UL, 0x4000000UL, 0x7FFFFFFFUL}) {
        EXPECT_EQ((std::vector<std::ptrdiff_t>{1, 6, 1}),
                  sizesIn(UTF8String("a" + encoded(code, 6) + "b")));
        EXPECT_EQ(3U, UTF8String("a" + encoded(code, 6) + "b").length());
    }
}

TEST(Utf8String, KnowsTheSizeOfEachLeadByte) {
    for (unsigned int lead = 1; lead < 0x100; ++lead) {
        const std::ptrdiff_t size = lead < 0xC0   ? 1
                                    : lead < 0xE0 ? 2
                                    : lead < 0xF0 ? 3
                                    : lead < 0xF8 ? 4
                                    : lead < 0xFC ? 5
                                    : lead < 0xFE ? 6
                                                  : 1;
        std::string bytes = std::string(1, static_cast<char>(lead)) + std::string(6, '\x80');
        UTF8Char_t* p = bytes.data();
        EXPECT_EQ(size == 1, UTF8String().next(&p)) << lead;
        EXPECT_EQ(size, p - bytes.data()) << lead;
    }
}

TEST(Utf8String, CountsStrayBytesAsAscii) {
    for (unsigned int byte = 0x80; byte < 0x100; ++byte) {
        if (byte >= 0xC0 && byte < 0xFE) {
            continue;
        }
        const UTF8String text("a" + std::string(1, static_cast<char>(byte)) + "b");
        EXPECT_EQ(3U, text.length()) << byte;
        EXPECT_TRUE(text.ascii()) << byte;
        EXPECT_EQ((std::vector<std::ptrdiff_t>{1, 1, 1}), sizesIn(text)) << byte;
    }
}

TEST(Utf8String, NeverLooksAtTheLastByteOfACharacter) {
    const char* const texts[] = {"\xC3\x41",
                                 "\xC3\xC3",
                                 "\xC3\xFF",
                                 "\xE2\x82\x41",
                                 "\xE2\x82\xE2",
                                 "\xF0\x9F\x98\x41",
                                 "\xF8\x88\x80\x80\xC3",
                                 "\xFC\x84\x80\x80\x80\x41"};
    for (const char* const bytes : texts) {
        UTF8String text(std::string(bytes) + "b");
        EXPECT_EQ(2U, text.length()) << bytes;
        EXPECT_EQ(static_cast<std::ptrdiff_t>(std::strlen(bytes)), offsetOf(text, 1)) << bytes;
        EXPECT_FALSE(text.ascii()) << bytes;
    }
}

TEST(Utf8String, NextPassesANul) {
    char bytes[] = "\0a";
    UTF8Char_t* p = bytes;
    EXPECT_TRUE(UTF8String().next(&p));
    EXPECT_EQ(bytes + 1, p);
}

TEST(Utf8String, NextLeavesNullAlone) {
    UTF8Char_t* p = nullptr;
    EXPECT_TRUE(UTF8String("\xC3\xA9").next(&p));
    EXPECT_EQ(nullptr, p);
}

TEST(Utf8String, StopsAtTheFirstNul) {
    UTF8String text(std::string("a\xC3\xA9\0bcd", 7));
    EXPECT_EQ(2U, text.length());
    EXPECT_EQ(3, offsetOf(text, 5));
    EXPECT_TRUE(UTF8String(std::string("a\0\xC3\xA9", 4)).ascii());
}

TEST(Utf8String, EndsInsideACharacterAtTheTerminator) {
    for (const char* const bytes : {"ab\xC3", "ab\xE2\x82", "ab\xF0\x9F\x98", "ab\xF8\x88\x80\x80",
                                    "ab\xFC\x84\x80\x80\x80"}) {
        UTF8String text(bytes);
        const auto terminator = static_cast<std::ptrdiff_t>(std::strlen(bytes));
        EXPECT_EQ(3U, text.length()) << bytes;
        EXPECT_FALSE(text.ascii()) << bytes;
        EXPECT_EQ(2, offsetOf(text, 2)) << bytes;
        EXPECT_EQ(terminator, offsetOf(text, 3)) << bytes;
        EXPECT_EQ(terminator, offsetOf(text, 4)) << bytes;
    }
}

TEST(Utf8String, WalksOverANulInsideACharacter) {
    UTF8String text(std::string("\xC3\0ab", 4));
    EXPECT_EQ(3U, text.length());
    EXPECT_EQ(2, offsetOf(text, 1));
    EXPECT_EQ(4, offsetOf(text, 9));
}

// Counts by the rule for each character; nothing where the walk ends the process.
std::optional<unsigned int> straightLength(const std::string& bytes) {
    unsigned int count = 0;
    for (std::size_t at = 0; at < bytes.size() && bytes[at] != '\0'; ++count) {
        const auto lead = static_cast<unsigned char>(bytes[at]);
        std::size_t size = 1;
        while (lead >= 0xC0 && lead < 0xFE && (lead << size & 0x80) != 0) {
            ++size;
        }
        for (std::size_t i = 1; i + 1 < size; ++i) {
            if (at + i >= bytes.size() || (bytes[at + i] & 0xC0) != 0x80) {
                return std::nullopt;
            }
        }
        at += size;
    }
    return count;
}

TEST(Utf8String, CountsAnySoundTextOfAnySize) {
    std::mt19937 random(2279);
    const unsigned long limits[] = {0x80, 0x800, 0x10000, 0x110000};
    for (int run = 0; run < 2000; ++run) {
        const std::size_t size = random() % 300;
        std::string bytes;
        unsigned int count = 0;
        for (; bytes.size() < size; ++count) {
            bytes += encoded(1 + random() % (limits[random() % 4] - 1));
        }
        EXPECT_EQ(count, UTF8String(bytes).length()) << "run " << run;
    }
}

TEST(Utf8String, CountsWhatItCanOfDamagedText) {
    std::mt19937 random(3629);
    int counted = 0;
    for (int run = 0; run < 20000; ++run) {
        const std::size_t size = random() % 300;
        std::string bytes;
        while (bytes.size() < size) {
            bytes += encoded(1 + random() % 0x7FF);
        }
        for (std::size_t damages = random() % 4; damages > 0 && !bytes.empty(); --damages) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        const std::optional<unsigned int> expected = straightLength(bytes);
        if (expected) {
            ++counted;
            EXPECT_EQ(*expected, UTF8String(bytes).length()) << "run " << run;
        }
    }
    EXPECT_LT(10000, counted);
}

// ---- What ends the process ----

using Utf8StringDeathTest = testing::TestWithParam<std::string>;

void walkByNext(UTF8String text) {
    UTF8Char_t* p = text[0];
    text.next(&p);
}

TEST_P(Utf8StringDeathTest, EveryWalkAborts) {
    UTF8String text(GetParam() + "b");
    const auto aborts = testing::KilledBySignal(SIGABRT);
    EXPECT_EXIT(text.length(), aborts, "cfiutf8string.*:109:");
    EXPECT_EXIT(text.ascii(), aborts, "cfiutf8string.*:109:");
    EXPECT_EXIT(text[1], aborts, "cfiutf8string.*:109:");
    EXPECT_EXIT(walkByNext(text), aborts, "cfiutf8string.*:109:");
}

INSTANTIATE_TEST_SUITE_P(BadInnerByte, Utf8StringDeathTest,
                         testing::Values("\xE2\x41\xAC", "\xE2\xC2\xAC", "\xE2\xFF\xAC", // of three
                                         "\xF0\x41\x98\x80", "\xF0\x9F\x41\x80",
                                         "\xF0\x9F\xF0\x80", // of four
                                         "\xF8\x41\x80\x80\x80", "\xF8\x88\x41\x80\x80",
                                         "\xF8\x88\x80\x41\x80", // of five
                                         "\xFC\x41\x80\x80\x80\x80", "\xFC\x84\x41\x80\x80\x80",
                                         "\xFC\x84\x80\x41\x80\x80",
                                         "\xFC\x84\x80\x80\x41\x80")); // of six

TEST(Utf8StringPlaceDeathTest, LengthAbortsWhereverTheBadByteStands) {
    // Around the end of the 64 bytes that are looked at together.
    for (std::size_t offset = 61; offset < 66; ++offset) {
        for (const char* const bytes : {"\xE2zz", "\xF0zzz", "\xF0\x9Fzz"}) {
            const UTF8String text(std::string(offset, 'a') + bytes);
            EXPECT_EXIT(text.length(), testing::KilledBySignal(SIGABRT), "cfiutf8string.*:109:")
                << offset;
        }
    }
}

TEST(Utf8StringTruncatedDeathTest, AnInnerNulAborts) {
    for (const char* const bytes :
         {"\xE2", "\xF0", "\xF0\x9F", "\xF8", "\xF8\x88\x80", "\xFC", "\xFC\x84\x80\x80"}) {
        const UTF8String text(bytes);
        EXPECT_EXIT(text.length(), testing::KilledBySignal(SIGABRT), "cfiutf8string.*:109:");
    }
}

TEST(Utf8StringTruncatedDeathTest, ReadsNothingBehindTheNul) {
    // What lies behind the NUL would make a sound character of it.
    const UTF8String text(std::string("\xF0\0\x98\x80", 4));
    EXPECT_EXIT(text.length(), testing::KilledBySignal(SIGABRT), "cfiutf8string.*:109:");
}

// ---- Constructors and append ----

TEST(Utf8String, IsMadeFromEveryKindOfText) {
    const char* const bytes = "caf\xC3\xA9";
    EXPECT_EQ("", bytesOf(UTF8String()));
    EXPECT_EQ(bytes, bytesOf(UTF8String(bytes)));
    EXPECT_EQ(bytes, bytesOf(UTF8String(std::string(bytes))));
    EXPECT_EQ(bytes, bytesOf(UTF8String(icu::UnicodeString(u"café"))));
    EXPECT_EQ(bytes, bytesOf(UTF8String(Narrow(bytes))));
    EXPECT_EQ(bytes, bytesOf(UTF8String(Wide(L"café"))));
}

TEST(Utf8String, TakesNullForNothing) {
    const char* const null = nullptr;
    EXPECT_EQ("", bytesOf(UTF8String(null)));
}

TEST(Utf8String, IsAValue) {
    UTF8String text("abc");
    UTF8String copy = text;
    copy.append("d", 1);
    EXPECT_EQ("abc", bytesOf(text));
    EXPECT_EQ("abcd", bytesOf(copy));
    text = copy;
    EXPECT_EQ("abcd", bytesOf(text));
}

TEST(Utf8String, IsWholeAfterAMove) {
    UTF8String text("abc");
    const UTF8String taken = std::move(text);
    EXPECT_EQ("abc", bytesOf(taken));
    // NOLINTNEXTLINE(bugprone-use-after-move): what a move leaves behind is the question.
    EXPECT_EQ(3U, text.length());
}

TEST(Utf8String, AppendsBytesAsTheyAre) {
    UTF8String text("a");
    text.append("\xFF\x80xyz", 3);
    text.append(std::vector<char>{'y', '\xC3', '\xA9'});
    EXPECT_EQ("a\xFF\x80xy\xC3\xA9", bytesOf(text));
}

TEST(Utf8String, AppendsNothingForNoBytes) {
    UTF8String text("a");
    text.append(static_cast<const char*>(nullptr), 3);
    text.append("b", 0);
    text.append("b", -1);
    text.append(std::vector<char>());
    EXPECT_EQ("a", bytesOf(text));
}

TEST(Utf8String, KeepsAppendedNuls) {
    UTF8String text;
    text.append("a\0b", 3);
    text.append("c", 1);
    EXPECT_EQ("a", bytesOf(text));
    EXPECT_EQ(1U, text.length());
    EXPECT_STREQ("bc", text[0] + 2);
}

TEST(Utf8String, AppendsItsOwnBytes) {
    UTF8String text("abc");
    for (int i = 0; i < 6; ++i) {
        text.append(text[0], static_cast<int>(text.length()));
    }
    EXPECT_EQ(192U, text.length());
    EXPECT_STREQ("abc", text[189]);
}

TEST(Utf8String, AppendsUnicode) {
    UTF8String text("x");
    text.append(icu::UnicodeString(u"é€😀"));
    text.append(icu::UnicodeString());
    EXPECT_EQ("x\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", bytesOf(text));
}

TEST(Utf8String, AppendsWideText) {
    UTF8String text("x");
    text.append(Wide(L"é€😀"));
    text.append(Wide());
    EXPECT_EQ("x\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", bytesOf(text));
}

TEST(Utf8String, ConvertsTheWholeUnicodeRange) {
    for (UChar32 code = 1; code < 0x110000; ++code) {
        if (code >= 0xD800 && code < 0xE000) {
            continue;
        }
        const std::string expected = encoded(static_cast<unsigned long>(code));
        const UTF8String text{icu::UnicodeString(code)};
        ASSERT_EQ(expected, bytesOf(text)) << code;
        ASSERT_EQ(code, text.u_str().char32At(0)) << code;
        ASSERT_EQ(expected, bytesOf(UTF8String(Wide(static_cast<wchar_t>(code))))) << code;
    }
}

TEST(Utf8String, ConvertsLongTexts) {
    icu::UnicodeString text;
    while (text.length() < 100000) {
        text.append(u"volume é€😀 ");
    }
    EXPECT_EQ(text, UTF8String(text).u_str());
}

TEST(Utf8String, AppendsNumbers) {
    const struct {
        int value;
        int radix;
        const char* digits;
    } table[] = {
        {0, 10, "0"},
        {42, 10, "42"},
        {-42, 10, "-42"},
        {INT_MAX, 10, "2147483647"},
        {INT_MIN, 10, "-2147483648"},
        {255, 16, "ff"},
        {-1, 16, "ffffffff"},
        {INT_MIN, 16, "80000000"},
        {5, 2, "101"},
        {INT_MIN, 2, "10000000000000000000000000000000"},
        {-1, 2, "11111111111111111111111111111111"},
        {-1, 8, "37777777777"},
        {35, 36, "z"},
        {INT_MAX, 36, "zik0zj"},
    };
    for (const auto& row : table) {
        UTF8String text("n=");
        text.append(row.value, row.radix);
        EXPECT_EQ(std::string("n=") + row.digits, bytesOf(text));
    }
}

TEST(Utf8String, AppendsNoNumberInOtherRadices) {
    UTF8String text("n=");
    for (const int radix : {INT_MIN, -10, -1, 0, 1, 37, 100, INT_MAX}) {
        text.append(5, radix);
        text.append(-5, radix);
    }
    EXPECT_EQ("n=", bytesOf(text));
}

TEST(Utf8String, AppendsTheDigitsOfAce) {
    for (int radix = 2; radix <= 36; ++radix) {
        for (const int value : {0, 1, 9, 10, 35, 36, 1000, 123456789, INT_MAX}) {
            char expected[100];
            UTF8String text;
            text.append(value, radix);
            EXPECT_EQ(ACE_OS::itoa(value, expected, radix), bytesOf(text))
                << value << " in " << radix;
        }
    }
    char expected[100];
    UTF8String text;
    text.append(-123456789, 10);
    EXPECT_EQ(ACE_OS::itoa(-123456789, expected, 10), bytesOf(text));
}

// ---- Conversions out ----

TEST(Utf8String, ConvertsToUnicode) {
    EXPECT_EQ(icu::UnicodeString(u"é€😀"), UTF8String("é€😀").u_str());
    EXPECT_EQ(icu::UnicodeString(), UTF8String().u_str());
}

TEST(Utf8String, ConvertsUpToTheFirstNul) {
    const UTF8String text(std::string("ab\0cd", 5));
    EXPECT_EQ(icu::UnicodeString(u"ab"), text.u_str());
    EXPECT_EQ(Narrow("ab"), text.t_str());
    EXPECT_EQ(2U, text.t_str().length());
}

// ---- Failures ----

TEST(Utf8String, RefusesUnpairedSurrogates) {
    const icu::UnicodeString lone(static_cast<UChar>(0xD800));
    UTF8String text("a");
    EXPECT_EQ(INVALID_CHARACTER, complaint([&] { text.append(lone); }));
    EXPECT_EQ(INVALID_CHARACTER, complaint([&] { text.append(u"bc" + lone + u"d"); }));
    EXPECT_EQ(INVALID_CHARACTER, complaint([&] { const UTF8String made(lone); }));
    EXPECT_EQ("a", bytesOf(text));
}

TEST(Utf8String, RefusesWideCharactersOutsideUnicode) {
    UTF8String text("a");
    for (const int code : {0xD800, 0xDFFF, 0x110000, -1}) {
        const wchar_t wide[] = {L'b', static_cast<wchar_t>(code), L'c', L'\0'};
        EXPECT_EQ(INVALID_CHARACTER, complaint([&] { text.append(Wide(wide)); })) << code;
        EXPECT_EQ(INVALID_CHARACTER, complaint([&] { const UTF8String made{Wide(wide)}; })) << code;
    }
    EXPECT_EQ("a", bytesOf(text));
}

TEST(Utf8String, RefusesToConvertBytesThatAreNotUtf8) {
    for (const char* const bytes : {"\xFF", "a\x80", "\xC3", "\xC3\x41", "\xC0\x80", "\xED\xA0\x80",
                                    "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80"}) {
        EXPECT_EQ(INVALID_CHARACTER, complaint([&] { UTF8String(bytes).u_str(); })) << bytes;
    }
}

TEST(Utf8String, ThrowsForFailuresOnly) {
    for (UErrorCode passing :
         {U_ZERO_ERROR, U_STRING_NOT_TERMINATED_WARNING, U_USING_DEFAULT_WARNING}) {
        EXPECT_EQ("", complaint([&] { UTF8String::testICUStatus(passing); }));
    }
    UErrorCode failure = U_ILLEGAL_ARGUMENT_ERROR;
    EXPECT_EQ("ICU error occurred while converting string:U_ILLEGAL_ARGUMENT_ERROR",
              complaint([&] { UTF8String().testICUStatus(failure); }));
    UErrorCode overflow = U_BUFFER_OVERFLOW_ERROR;
    EXPECT_EQ("ICU error occurred while converting string:U_BUFFER_OVERFLOW_ERROR",
              complaint([&] { UTF8String::testICUStatus(overflow); }));
}

} // namespace
