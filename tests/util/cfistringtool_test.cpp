// The string tools.
#include "cfistringtool.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <climits>
#include <clocale>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "kzfi_platform_control.h"
#include "support/failing_memory.h"

namespace {

using kzfi_pdk_4_4::tstring;
using Tool = kzfi_pdk_4_4::CFiStringTool;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string UMLAUTS = "\xc3\xa4\xc3\xb6\xc3\xbc"; // three characters of two bytes
const std::string EURO = "\xe2\x82\xac";                // one of three bytes
const std::string CLEF = "\xf0\x9d\x84\x9e";            // one of four bytes, a pair in UTF-16
const std::string NOT_UTF8 = "ab\xff"
                             "cd";

constexpr auto NO_CHARACTER = static_cast<wchar_t>(-1); // has no bytes in any locale

std::string withNul(const std::string& before, const std::string& after) {
    return before + std::string(1, '\0') + after;
}

// What the host's ledger says of one test.
class Buffers {
  public:
    Buffers() { kzfi_platform_reset(); }
    Buffers(const Buffers&) = delete;
    Buffers& operator=(const Buffers&) = delete;
    ~Buffers() { kzfi_platform_reset(); }

    std::uint64_t taken() const { return kzfi_platform_get_counts().taken; }

    // All given back, each with its own size.
    bool settled() const {
        const kzfi_platform_counts counts = kzfi_platform_get_counts();
        return counts.taken == counts.given_back && counts.wrong_size == 0 && counts.unknown == 0;
    }
};

class InLocale {
  public:
    explicit InLocale(const char* name) : before(std::setlocale(LC_ALL, nullptr)) {
        std::setlocale(LC_ALL, name);
    }
    InLocale(const InLocale&) = delete;
    InLocale& operator=(const InLocale&) = delete;
    ~InLocale() { std::setlocale(LC_ALL, before.c_str()); }

  private:
    std::string before;
};

// A text out of a C buffer of length + 1 bytes, which is given back.
std::string taken(char* buffer, std::size_t length) {
    const std::string text(buffer, length + 1);
    kzfi_free_buf(buffer, length + 1);
    return text;
}

// ---- Bytes and wide characters ----

TEST(StringToolWide, ConvertsBytesToWide) {
    EXPECT_EQ(L"plain", Tool::str2wstr(std::string("plain")));
    EXPECT_EQ(L"\u00e4\u00f6\u00fc", Tool::str2wstr(UMLAUTS));
    EXPECT_EQ(L"\U0001d11e", Tool::str2wstr(CLEF));
    EXPECT_EQ(L"\u20ac", Tool::mbs2wcs(EURO));
    EXPECT_EQ(L"text", Tool::tstr2wstr(tstring("text")));
}

TEST(StringToolWide, ConvertsEmptyTextsWithoutABuffer) {
    const Buffers buffers;
    EXPECT_EQ(L"", Tool::str2wstr(std::string()));
    EXPECT_EQ(L"", Tool::mbs2wcs(std::string()));
    EXPECT_EQ("", Tool::wstr2str(std::wstring()));
    EXPECT_EQ("", Tool::wcs2mbs(std::wstring()));
    EXPECT_EQ(0u, buffers.taken());
}

TEST(StringToolWide, GivesNothingForBytesOutsideTheLocale) {
    const Buffers buffers;
    EXPECT_EQ(L"", Tool::str2wstr(NOT_UTF8));
    EXPECT_EQ(L"", Tool::mbs2wcs(std::string("\xe2\x82")));
    EXPECT_EQ(0u, buffers.taken());
}

TEST(StringToolWide, FollowsTheLocale) {
    const InLocale c("C");
    EXPECT_EQ(L"plain", Tool::str2wstr(std::string("plain")));
    EXPECT_EQ(L"", Tool::str2wstr(UMLAUTS));
    EXPECT_EQ("", Tool::wstr2str(std::wstring(L"\u00e4")));
}

TEST(StringToolWide, ConvertsUpToTheFirstNul) {
    EXPECT_EQ(L"ab", Tool::str2wstr(withNul("ab", "cd")));
    EXPECT_EQ(L"", Tool::str2wstr(withNul("", "cd")));
    EXPECT_EQ("ab", Tool::wstr2str(std::wstring(L"ab\0cd", 5)));
    EXPECT_EQ("", Tool::wstr2str(std::wstring(L"\0cd", 3)));
}

TEST(StringToolWide, ConvertsWideToBytes) {
    EXPECT_EQ("plain", Tool::wstr2str(std::wstring(L"plain")));
    EXPECT_EQ(UMLAUTS, Tool::wstr2str(std::wstring(L"\u00e4\u00f6\u00fc")));
    EXPECT_EQ(EURO, Tool::wcs2mbs(std::wstring(L"\u20ac")));
    EXPECT_STREQ("text", Tool::wstr2tstr(std::wstring(L"text")).c_str());
}

TEST(StringToolWide, CutsBytesAtTwoForACharacterAndTwoMore) {
    // 4 bytes of room, all used: nothing ends the text but its length.
    EXPECT_EQ(CLEF, Tool::wstr2str(std::wstring(L"\U0001d11e")));
    EXPECT_EQ(EURO + EURO, Tool::wstr2str(std::wstring(L"\u20ac\u20ac")));
    // 8 bytes of room: the third character of three bytes does not fit whole.
    EXPECT_EQ(EURO + EURO, Tool::wstr2str(std::wstring(L"\u20ac\u20ac\u20ac")));
    // 6 bytes of room for two of four bytes.
    EXPECT_EQ(CLEF, Tool::wstr2str(std::wstring(L"\U0001d11e\U0001d11e")));
}

TEST(StringToolWide, GivesNothingForWideCharactersOutsideTheLocale) {
    const std::wstring bad = {L'a', L'b', NO_CHARACTER};
    EXPECT_EQ("", Tool::wstr2str(bad));
}

TEST(StringToolWide, CopiesTextsOfTheSameKind) {
    EXPECT_EQ(std::wstring(L"a\0b", 3), Tool::str2wstr(std::wstring(L"a\0b", 3)));
    EXPECT_EQ(withNul("a", "b"), Tool::wstr2str(withNul("a", "b")));
}

TEST(StringToolWide, GivesItsBuffersBackWithTheirSizes) {
    const Buffers buffers;
    Tool::str2wstr(UMLAUTS);
    Tool::wstr2str(std::wstring(L"\u20ac\u20ac"));
    Tool::wstr2str(std::wstring(1, NO_CHARACTER));
    EXPECT_EQ(3u, buffers.taken());
    EXPECT_TRUE(buffers.settled());
}

TEST(StringToolWide, GivesNothingWithoutMemory) {
    const Buffers buffers;
    kzfi_platform_fail_alloc(1);
    EXPECT_EQ(L"", Tool::str2wstr(std::string("text")));
    kzfi_platform_fail_alloc(1);
    EXPECT_EQ("", Tool::wstr2str(std::wstring(L"text")));
}

// ---- tstring and ICU ----

TEST(StringToolTstring, ConvertsBothWays) {
    EXPECT_EQ("text", Tool::tstr2str(tstring("text")));
    EXPECT_EQ("", Tool::tstr2str(tstring()));
    EXPECT_STREQ("text", Tool::str2tstr("text").c_str());
    EXPECT_EQ(2u, Tool::str2tstr(withNul("ab", "cd")).length());
    EXPECT_EQ("ab", Tool::tstr2str(tstring("ab\0cd", 5)));
}

TEST(StringToolIcu, ConvertsUtf8ToIcu) {
    EXPECT_EQ(icu::UnicodeString(u"\u00e4\u00f6\u00fc"), Tool::str2ustr(UMLAUTS));
    EXPECT_EQ(icu::UnicodeString(u"a\U0001d11e"), Tool::str2ustr("a" + CLEF));
    EXPECT_EQ(icu::UnicodeString(u"text"), Tool::tstr2ustr(tstring("text")));
}

TEST(StringToolIcu, ConvertsIcuToUtf8) {
    icu::UnicodeString text(u"\u00e4\u20ac\U0001d11e");
    EXPECT_EQ("\xc3\xa4" + EURO + CLEF, Tool::ustr2str(text));
    EXPECT_STREQ(("\xc3\xa4" + EURO + CLEF).c_str(), Tool::ustr2tstr(text).c_str());
}

TEST(StringToolIcu, ConvertsEmptyTexts) {
    icu::UnicodeString empty;
    EXPECT_EQ("", Tool::ustr2str(empty));
    EXPECT_TRUE(Tool::str2ustr("").isEmpty());
    EXPECT_TRUE(Tool::tstr2ustr(tstring()).isEmpty());
}

TEST(StringToolIcu, GivesNothingForWhatCannotBeConverted) {
    const char16_t lone[] = {u'a', 0xd834, u'b'};
    icu::UnicodeString text(lone, 3);
    EXPECT_EQ("", Tool::ustr2str(text));
    icu::UnicodeString bogus;
    bogus.setToBogus();
    EXPECT_EQ("", Tool::ustr2str(bogus));
    EXPECT_TRUE(Tool::str2ustr(NOT_UTF8).isEmpty());
}

TEST(StringToolIcu, ConvertsUpToTheFirstNul) {
    icu::UnicodeString text(u"ab\0cd", 5);
    EXPECT_EQ("ab", Tool::ustr2str(text));
    EXPECT_EQ(icu::UnicodeString(u"ab"), Tool::str2ustr(withNul("ab", "cd")));
}

TEST(StringToolIcu, DoesNotFollowTheLocale) {
    const InLocale c("C");
    icu::UnicodeString text = Tool::str2ustr(EURO);
    EXPECT_EQ(EURO, Tool::ustr2str(text));
}

TEST(StringToolIcu, ConvertsLongTexts) {
    std::string text;
    for (int i = 0; i < 5000; ++i) {
        text += i % 2 == 0 ? EURO : CLEF;
    }
    icu::UnicodeString wide = Tool::str2ustr(text);
    EXPECT_EQ(7500, wide.length());
    EXPECT_EQ(text, Tool::ustr2str(wide));
}

// ---- C buffers ----

TEST(StringToolDuplicates, CopyTextsIntoBuffersOfTheHost) {
    const Buffers buffers;
    EXPECT_EQ(withNul("text", ""), taken(Tool::strdup("text"), 4));
    EXPECT_EQ(withNul("", ""), taken(Tool::strdup(""), 0));
    EXPECT_EQ(withNul(withNul("ab", "cd"), ""), taken(Tool::strdup(withNul("ab", "cd")), 5));
    EXPECT_EQ(withNul("text", ""), taken(Tool::tstrdup(tstring("text")), 4));
    EXPECT_EQ(withNul("", ""), taken(Tool::tstrdup(tstring()), 0));
    EXPECT_EQ(withNul("ab", ""), taken(Tool::tstrdup(tstring("ab\0cd", 5)), 2));
    EXPECT_EQ(6u, buffers.taken());
    EXPECT_TRUE(buffers.settled());
}

TEST(StringToolDuplicates, CopyWideTexts) {
    const Buffers buffers;
    wchar_t* const copy = Tool::wstrdup(L"w\u20ac");
    EXPECT_EQ(std::wstring(L"w\u20ac\0", 3), std::wstring(copy, 3));
    kzfi_free_buf(copy, 4 * 2 + 4);
    wchar_t* const empty = Tool::wstrdup(L"");
    EXPECT_EQ(L'\0', *empty);
    kzfi_free_buf(empty, 4);
    EXPECT_TRUE(buffers.settled());
}

TEST(StringToolDuplicates, AreNullWithoutMemory) {
    const Buffers buffers;
    kzfi_platform_fail_alloc(1);
    EXPECT_EQ(nullptr, Tool::strdup("text"));
    kzfi_platform_fail_alloc(1);
    EXPECT_EQ(nullptr, Tool::wstrdup(L"text"));
    kzfi_platform_fail_alloc(1);
    EXPECT_EQ(nullptr, Tool::tstrdup(tstring("text")));
}

TEST(StringToolDuplicates, CopyLists) {
    const Buffers buffers;
    char** list = Tool::tstrduplist({tstring("one"), tstring(""), tstring("three")});
    ASSERT_NE(nullptr, list);
    EXPECT_STREQ("one", list[0]);
    EXPECT_STREQ("", list[1]);
    EXPECT_STREQ("three", list[2]);
    EXPECT_EQ(nullptr, list[3]);
    EXPECT_EQ(3u, buffers.taken());
    Tool::tstrfreelist(list);
    EXPECT_EQ(nullptr, list);
    // The elements went through free(), not back to the host.
    EXPECT_EQ(0u, kzfi_platform_get_counts().given_back);
}

TEST(StringToolDuplicates, CopyEmptyLists) {
    char** list = Tool::tstrduplist({});
    ASSERT_NE(nullptr, list);
    EXPECT_EQ(nullptr, list[0]);
    Tool::tstrfreelist(list);
    EXPECT_EQ(nullptr, list);
}

TEST(StringToolDuplicates, LeaveNoListToFreeAlone) {
    char** list = nullptr;
    Tool::tstrfreelist(list);
    EXPECT_EQ(nullptr, list);
}

TEST(StringToolDuplicates, OfListsAreNullWhenAnElementHasNoMemory) {
    const Buffers buffers;
    for (unsigned long failing = 1; failing <= 3; ++failing) {
        kzfi_platform_fail_alloc(failing);
        EXPECT_EQ(nullptr, Tool::tstrduplist({tstring("one"), tstring("two"), tstring("three")}));
    }
}

TEST(StringToolDuplicates, OfListsAreNullWhenTheListHasNoMemory) {
    if (!kzfi_tests::controlsAllocations()) {
        GTEST_SKIP() << "the sanitizer has the allocator to itself";
    }
    // 8 MB of pointers, which malloc has to ask the system for.
    const std::vector<tstring> texts(1000000);
    rlimit before;
    ASSERT_EQ(0, getrlimit(RLIMIT_AS, &before));
    const rlimit none = {0, before.rlim_max};
    ASSERT_EQ(0, setrlimit(RLIMIT_AS, &none));
    char** list = Tool::tstrduplist(texts);
    ASSERT_EQ(0, setrlimit(RLIMIT_AS, &before));
    EXPECT_EQ(nullptr, list);
    Tool::tstrfreelist(list);
}

// ---- Numbers ----

TEST(StringToolNumbers, FormatsIntegers) {
    EXPECT_EQ("0", Tool::int2str(0));
    EXPECT_EQ("-2147483648", Tool::int2str(INT_MIN));
    EXPECT_EQ("9223372036854775807", Tool::int2str(LONG_MAX));
    EXPECT_EQ("-9223372036854775808", Tool::int2str(LONG_MIN));
    EXPECT_EQ("4294967295", Tool::uint2str(UINT_MAX));
    EXPECT_EQ("18446744073709551615", Tool::uint2str(ULONG_MAX));
    EXPECT_EQ(L"-42", Tool::int2wstr(-42));
    EXPECT_EQ(L"-42", Tool::int2wstr(-42L));
    EXPECT_EQ(L"42", Tool::uint2wstr(42u));
    EXPECT_EQ(L"42", Tool::uint2wstr(42ul));
}

TEST(StringToolNumbers, FormatsRealNumbers) {
    EXPECT_EQ("0.5", Tool::double2str(0.5));
    EXPECT_EQ("1e+20", Tool::double2str(1e20));
    EXPECT_EQ("1.23457", Tool::double2str(1.23456789));
    EXPECT_EQ("3", Tool::double2str(3.0));
    EXPECT_EQ("0.500000", Tool::float2str(0.5f));
    EXPECT_EQ("-340282346638528859811704183484516925440.000000", Tool::float2str(-3.40282347e+38f));
}

TEST(StringToolNumbers, FormatsBooleans) {
    EXPECT_EQ("true", Tool::bool2str(true));
    EXPECT_EQ("false", Tool::bool2str(false));
}

struct IntegerCase {
    const char* text;
    int asInt;
    unsigned int asUnsigned;
};

TEST(StringToolNumbers, ReadsIntegers) {
    const IntegerCase cases[] = {
        {"17", 17, 17u},
        {"-1", -1, UINT_MAX},
        {" +5 apples", 5, 5u},
        {"apples", 0, 0u},
        {"0x10", 0, 0u},
        {"2147483648", INT_MIN, 2147483648u},
        {"4294967297", 1, 1u},
        {"99999999999999999999", -1, UINT_MAX}, // LONG_MAX, then cut
        {"-99999999999999999999", 0, 0u},       // LONG_MIN, then cut
    };
    for (const IntegerCase& c : cases) {
        int number = 77;
        unsigned int unsignedNumber = 77;
        EXPECT_EQ(0, Tool::str2int(c.text, number)) << c.text;
        EXPECT_EQ(c.asInt, number) << c.text;
        EXPECT_EQ(c.asInt, Tool::str2int(c.text)) << c.text;
        EXPECT_EQ(0, Tool::str2uint(c.text, unsignedNumber)) << c.text;
        EXPECT_EQ(c.asUnsigned, unsignedNumber) << c.text;
        EXPECT_EQ(c.asUnsigned, Tool::str2uint(c.text)) << c.text;
    }
}

TEST(StringToolNumbers, ReadsLongIntegers) {
    unsigned long number = 77;
    EXPECT_EQ(0, Tool::str2uint64("18446744073709551615", number));
    EXPECT_EQ(ULONG_MAX, number);
    EXPECT_EQ(0, Tool::str2uint64("99999999999999999999", number));
    EXPECT_EQ(ULONG_MAX, number);
    EXPECT_EQ(0, Tool::str2uint64("12 MB", number));
    EXPECT_EQ(12u, number);
    EXPECT_EQ(0, Tool::str2uint64("none", number));
    EXPECT_EQ(0u, number);
    EXPECT_EQ(0, Tool::str2uint64("-1", number));
    EXPECT_EQ(ULONG_MAX, number);
}

TEST(StringToolNumbers, ReadsUpToTheFirstNul) {
    int number = 77;
    unsigned int unsignedNumber = 77;
    unsigned long longNumber = 77;
    double realNumber = 77;
    EXPECT_EQ(0, Tool::str2int(withNul("12", "34"), number));
    EXPECT_EQ(0, Tool::str2uint(withNul("12", "34"), unsignedNumber));
    EXPECT_EQ(0, Tool::str2uint64(withNul("12", "34"), longNumber));
    EXPECT_EQ(0, Tool::str2double(withNul("1.5", "34"), realNumber));
    EXPECT_EQ(12, number);
    EXPECT_EQ(12u, unsignedNumber);
    EXPECT_EQ(12u, longNumber);
    EXPECT_EQ(1.5, realNumber);
    EXPECT_EQ(12, Tool::str2int(withNul("12", "34")));
    EXPECT_EQ(12u, Tool::str2uint(withNul("12", "34")));
    EXPECT_EQ(1.5, Tool::str2double(withNul("1.5", "34")));
    // Not empty: it has a character.
    EXPECT_EQ(0, Tool::str2int(withNul("", "34"), number));
    EXPECT_EQ(0, number);
}

TEST(StringToolNumbers, ReadsRealNumbers) {
    double number = 77;
    EXPECT_EQ(0, Tool::str2double("2.5e3x", number));
    EXPECT_EQ(2500.0, number);
    EXPECT_EQ(0, Tool::str2double("none", number));
    EXPECT_EQ(0.0, number);
    EXPECT_EQ(-0.25, Tool::str2double(" -0.25"));
}

TEST(StringToolNumbers, ReadsNothingFromAnEmptyText) {
    int number = 77;
    unsigned int unsignedNumber = 77;
    unsigned long longNumber = 77;
    double realNumber = 77;
    EXPECT_EQ(-1, Tool::str2int("", number));
    EXPECT_EQ(-1, Tool::str2uint("", unsignedNumber));
    EXPECT_EQ(-1, Tool::str2uint64("", longNumber));
    EXPECT_EQ(-1, Tool::str2double("", realNumber));
    EXPECT_EQ(77, number);
    EXPECT_EQ(77u, unsignedNumber);
    EXPECT_EQ(77u, longNumber);
    EXPECT_EQ(77.0, realNumber);
    EXPECT_EQ(0, Tool::str2int(""));
    EXPECT_EQ(0u, Tool::str2uint(""));
    EXPECT_EQ(0.0, Tool::str2double(""));
}

// ---- Hexadecimal ----

TEST(StringToolHex, WritesBytes) {
    unsigned char data[] = {0x00, 0xab, 0x7f, 0xff};
    EXPECT_EQ("00ab", Tool::binary2str(data, 2));
    EXPECT_EQ("00ab7fff", Tool::binary2str(data, 4));
    EXPECT_EQ(L"00ab7fff", Tool::binary2wstr(data, 4));
    EXPECT_EQ("", Tool::binary2str(data, 0));
    EXPECT_EQ("", Tool::binary2str(data, -1));
    EXPECT_EQ("", Tool::binary2str(nullptr, 0));
    EXPECT_EQ(L"", Tool::binary2wstr(data, 0));
}

// The bytes that hex is read as with that much room, or the failure; -1 after the last byte shows
// that nothing further was written.
std::vector<int> bytesOf(const std::string& hex, int room) {
    unsigned char out[] = {0xee, 0xee, 0xee, 0xee};
    int length = room;
    const int result = Tool::str2binary(out, &length, hex);
    if (result != 0) {
        EXPECT_EQ(room, length) << hex;
        EXPECT_EQ(0xee, out[0]) << hex;
        return {result};
    }
    EXPECT_EQ(0xee, out[length]) << hex;
    return std::vector<int>(out, out + length);
}

TEST(StringToolHex, ReadsBytes) {
    EXPECT_THAT(bytesOf("00ab", 2), ElementsAre(0x00, 0xab));
    EXPECT_THAT(bytesOf("00AB", 3), ElementsAre(0x00, 0xab));
    EXPECT_THAT(bytesOf("ff", 1), ElementsAre(0xff));
}

TEST(StringToolHex, IgnoresAnOddLastDigit) {
    EXPECT_THAT(bytesOf("abc", 1), ElementsAre(0xab));
    EXPECT_THAT(bytesOf("abcde", 2), ElementsAre(0xab, 0xcd));
}

TEST(StringToolHex, ReadsNothingFromFewerThanTwoDigits) {
    EXPECT_THAT(bytesOf("a", 3), IsEmpty());
    EXPECT_THAT(bytesOf("a", 0), IsEmpty());
    EXPECT_THAT(bytesOf("", 3), IsEmpty());
    EXPECT_THAT(bytesOf("", 0), IsEmpty());
}

TEST(StringToolHex, RefusesTooLittleRoom) {
    EXPECT_THAT(bytesOf("abcd", 1), ElementsAre(-1));
    EXPECT_THAT(bytesOf("ab", 0), ElementsAre(-1));
    EXPECT_THAT(bytesOf("ab", -1), ElementsAre(-1));
    EXPECT_THAT(bytesOf("abcde", 1), ElementsAre(-1));
}

TEST(StringToolHex, NeedsNoRoomForFewerThanTwoDigits) {
    EXPECT_THAT(bytesOf("", -1), IsEmpty());
    EXPECT_THAT(bytesOf("a", -1), IsEmpty());
}

TEST(StringToolHex, ReadsPairsThatAreNoDigitsAsStrtolDoes) {
    EXPECT_THAT(bytesOf("zz", 1), ElementsAre(0x00));
    EXPECT_THAT(bytesOf(" 1", 1), ElementsAre(0x01));
    EXPECT_THAT(bytesOf("-1", 1), ElementsAre(0xff));
    EXPECT_THAT(bytesOf("0x", 1), ElementsAre(0x00));
    EXPECT_THAT(bytesOf("1g", 1), ElementsAre(0x01));
    EXPECT_THAT(bytesOf(withNul("", "1") + "ab", 2), ElementsAre(0x00, 0xab));
}

TEST(StringToolHex, ReadsWideDigits) {
    for (const bool either : {false, true}) {
        unsigned char out[2] = {};
        int length = 2;
        EXPECT_EQ(0, Tool::wstr2binary(out, &length, L"0aF0", either));
        EXPECT_EQ(2, length);
        EXPECT_EQ(0x0a, out[0]);
        EXPECT_EQ(0xf0, out[1]);
        length = 1;
        EXPECT_EQ(-1, Tool::wstr2binary(out, &length, L"0aF0", either));
    }
}

TEST(StringToolHex, ReadsWideDigitsUpToTheFirstNul) {
    unsigned char out[2] = {};
    int length = 2;
    EXPECT_EQ(0, Tool::wstr2binary(out, &length, std::wstring(L"0a\0f0", 5), false));
    EXPECT_EQ(1, length);
    EXPECT_EQ("000241", Tool::wstr2uid(2, std::wstring(L"A\0B", 3)));
}

TEST(StringToolHex, WritesIdentifiers) {
    unsigned char data[] = {0x01, 0x80};
    EXPECT_EQ(L"00010180", Tool::binary2uid(1, data, 2));
    EXPECT_EQ(L"123450180", Tool::binary2uid(0x12345, data, 2));
    EXPECT_EQ(L"00ff", Tool::binary2uid(255, data, 0));
    EXPECT_EQ("000141", Tool::str2uid(1, "A"));
    EXPECT_EQ("0001ffffff80", Tool::str2uid(1, "\x80"));
    EXPECT_EQ("0001007f", Tool::str2uid(1, withNul("", "\x7f")));
    EXPECT_EQ("ffffffff", Tool::str2uid(0xffffffffu, ""));
    EXPECT_EQ("00024142", Tool::wstr2uid(2, L"AB"));
    EXPECT_EQ("0002ffffffc3ffffffa4", Tool::wstr2uid(2, L"\u00e4"));
}

// ---- Editing ----

TEST(StringToolTrim, DropsBlanks) {
    EXPECT_EQ("x", Tool::trim("  \tx \n"));
    EXPECT_EQ("x \n", Tool::ltrim("  \tx \n"));
    EXPECT_EQ("  \tx", Tool::rtrim("  \tx \n"));
    EXPECT_EQ("a b", Tool::trim("\r\na b\r\n"));
    EXPECT_EQ("x", Tool::trim("x"));
}

TEST(StringToolTrim, DropsNoOtherWhiteSpace) {
    EXPECT_EQ("\v\fx\f\v", Tool::trim("\v\fx\f\v"));
}

TEST(StringToolTrim, EmptiesTextsOfDelimiters) {
    EXPECT_EQ("", Tool::ltrim(" \n\t\r"));
    EXPECT_EQ("", Tool::rtrim(" \n\t\r"));
    EXPECT_EQ("", Tool::trim(" \n\t\r"));
}

TEST(StringToolTrim, KeepsEmptyTextsAndTextsWithoutDelimiters) {
    EXPECT_EQ("", Tool::ltrim(""));
    EXPECT_EQ("", Tool::rtrim(""));
    EXPECT_EQ("", Tool::trim(""));
    EXPECT_EQ(" x ", Tool::ltrim(" x ", nullptr));
    EXPECT_EQ(" x ", Tool::rtrim(" x ", nullptr));
    EXPECT_EQ(" x ", Tool::trim(" x ", nullptr));
    EXPECT_EQ(" x ", Tool::trim(" x ", ""));
}

TEST(StringToolTrim, TakesOtherDelimiters) {
    EXPECT_EQ("x/y", Tool::trim("//x/y/", "/"));
    EXPECT_EQ(" x", Tool::trim("a xb", "ab"));
}

TEST(StringToolTrim, WorksOnTheWholeLength) {
    EXPECT_EQ(withNul("a", "b"), Tool::trim(withNul(" a", "b ")));
}

TEST(StringToolReplace, ReplacesEveryOccurrence) {
    EXPECT_EQ("xbxb", Tool::searchreplace("abab", "a", "x"));
    EXPECT_EQ("a--c--", Tool::searchreplace("abcb", "b", "--"));
    EXPECT_EQ("ac", Tool::searchreplace("abbcbb", "bb", ""));
    EXPECT_EQ("", Tool::searchreplace("aaa", "a", ""));
    EXPECT_EQ("abc", Tool::searchreplace("abc", "x", "y"));
    EXPECT_EQ("abc", Tool::searchreplace("abc", "abcd", "y"));
}

TEST(StringToolReplace, GoesFromLeftToRightWithoutOverlap) {
    EXPECT_EQ("xa", Tool::searchreplace("aaa", "aa", "x"));
    EXPECT_EQ("xx", Tool::searchreplace("aaaa", "aa", "x"));
    EXPECT_EQ("aab", Tool::searchreplace("ab", "a", "aa"));
}

TEST(StringToolReplace, EndsAtTheFirstNul) {
    EXPECT_EQ("xb", Tool::searchreplace(withNul("ab", "a"), "a", "x"));
    EXPECT_EQ("", Tool::searchreplace(withNul("", "a"), "a", "x"));
    EXPECT_EQ("a+b", Tool::searchreplace(withNul("a", "b"), withNul("", ""), "+"));
    EXPECT_EQ("a", Tool::searchreplace("abc", "b", withNul("", "x")));
}

TEST(StringToolReplace, LeavesTheSourceForAnEmptyPattern) {
    EXPECT_EQ("abc", Tool::searchreplace("abc", "", "x"));
    EXPECT_EQ("ab", Tool::searchreplace(withNul("ab", "c"), "", "x"));
    EXPECT_EQ("", Tool::searchreplace("", "", "x"));
    EXPECT_EQ("", Tool::searchreplace("", "a", "x"));
}

TEST(StringToolCase, FoldsLetters) {
    EXPECT_EQ("AZ09_[{", Tool::tostrupper(std::string("aZ09_[{")));
    EXPECT_EQ("az09_[{", Tool::tostrlower(std::string("aZ09_[{")));
    EXPECT_EQ(L"A\u00c49", Tool::tostrupper(std::wstring(L"a\u00e49")));
    EXPECT_EQ(L"a\u00e49", Tool::tostrlower(std::wstring(L"A\u00c49")));
    EXPECT_EQ("", Tool::tostrupper(std::string()));
    EXPECT_EQ(L"", Tool::tostrlower(std::wstring()));
}

TEST(StringToolCase, FollowsTheLocale) {
    const InLocale c("C");
    EXPECT_EQ(L"A\u00e4", Tool::tostrupper(std::wstring(L"a\u00e4")));
    EXPECT_EQ(L"a\u00c4", Tool::tostrlower(std::wstring(L"A\u00c4")));
    EXPECT_FALSE(Tool::CompareNoCase(std::wstring(L"\u00c4"), std::wstring(L"\u00e4")));
    EXPECT_TRUE(Tool::CompareNoCase(std::wstring(L"\u00e4B"), std::wstring(L"\u00e4b")));
}

TEST(StringToolCase, LeavesBytesOfMultibyteCharactersAlone) {
    EXPECT_EQ(UMLAUTS, Tool::tostrupper(UMLAUTS));
    EXPECT_EQ(NOT_UTF8, Tool::tostrlower(NOT_UTF8));
}

TEST(StringToolCase, WorksOnTheWholeLength) {
    EXPECT_EQ(withNul("A", "B"), Tool::tostrupper(withNul("a", "b")));
    EXPECT_EQ(withNul("a", "b"), Tool::tostrlower(withNul("A", "B")));
}

// ---- Tests and searches ----

TEST(StringToolTests, KnowsDigits) {
    EXPECT_TRUE(Tool::isDigit("0123456789"));
    EXPECT_TRUE(Tool::isDigit(""));
    for (const char* text : {"12a", "-1", " 1", "1.0", "/", ":"}) {
        EXPECT_FALSE(Tool::isDigit(text)) << text;
    }
    EXPECT_FALSE(Tool::isDigit(withNul("1", "2")));
}

TEST(StringToolTests, ComparesWithoutCase) {
    EXPECT_TRUE(Tool::CompareNoCase(std::string("Abc"), std::string("aBC")));
    EXPECT_TRUE(Tool::CompareNoCase(std::string(), std::string()));
    EXPECT_FALSE(Tool::CompareNoCase(std::string("ab"), std::string("abc")));
    EXPECT_FALSE(Tool::CompareNoCase(std::string("abc"), std::string("abd")));
    EXPECT_TRUE(Tool::CompareNoCase(std::string("a-1"), std::string("A-1")));
    EXPECT_FALSE(Tool::CompareNoCase(std::string("["), std::string("{")));
    EXPECT_FALSE(Tool::CompareNoCase(std::string("@"), std::string("`")));
}

TEST(StringToolTests, ComparesTheWholeLength) {
    EXPECT_TRUE(Tool::CompareNoCase(withNul("a", "b"), withNul("A", "B")));
    EXPECT_FALSE(Tool::CompareNoCase(withNul("a", "b"), withNul("a", "c")));
    EXPECT_TRUE(Tool::CompareNoCase(NOT_UTF8, NOT_UTF8));
}

TEST(StringToolTests, ComparesWideTextsWithoutCase) {
    EXPECT_TRUE(Tool::CompareNoCase(std::wstring(L"\u00c4bc"), std::wstring(L"\u00e4BC")));
    EXPECT_TRUE(Tool::CompareNoCase(std::wstring(), std::wstring()));
    EXPECT_FALSE(Tool::CompareNoCase(std::wstring(L"ab"), std::wstring(L"abc")));
    EXPECT_FALSE(Tool::CompareNoCase(std::wstring(L"["), std::wstring(L"{")));
}

TEST(StringToolTests, KnowsAddresses) {
    for (const char* text : {"10.0.0.1", "999.1.1.1", "1..2.3.4", ".1.2.3.4.", "0.0.0.0"}) {
        EXPECT_TRUE(Tool::isIpAddress(text)) << text;
    }
    for (const char* text : {"", "10.0.0", "10.0.0.1.5", "10.0.0.x", "10.0.0. 1", "....", "::1"}) {
        EXPECT_FALSE(Tool::isIpAddress(text)) << text;
    }
    EXPECT_TRUE(Tool::isIpAddress(withNul("1.2.3.4", "x")));
}

TEST(StringToolTokens, SplitsAtDelimiters) {
    EXPECT_THAT(Tool::tokenize("a;b;c", ";"), ElementsAre("a", "b", "c"));
    EXPECT_THAT(Tool::tokenize("a;b,c", ",;"), ElementsAre("a", "b", "c"));
    EXPECT_THAT(Tool::tokenize("one", ";"), ElementsAre("one"));
    EXPECT_THAT(Tool::tokenize("one two", ""), ElementsAre("one two"));
}

TEST(StringToolTokens, HasNoEmptyParts) {
    EXPECT_THAT(Tool::tokenize(";;a;;;b;;", ";"), ElementsAre("a", "b"));
    EXPECT_THAT(Tool::tokenize(";;;", ";"), IsEmpty());
    EXPECT_THAT(Tool::tokenize("", ";"), IsEmpty());
    EXPECT_THAT(Tool::tokenize("", ""), IsEmpty());
}

TEST(StringToolTokens, EndsAtTheFirstNul) {
    EXPECT_THAT(Tool::tokenize(withNul("a;b", "c;d"), ";"), ElementsAre("a", "b"));
    EXPECT_THAT(Tool::tokenize("a;b,c", withNul(";", ",")), ElementsAre("a", "b,c"));
}

struct Found {
    long position;
    unsigned long index;
    bool operator==(const Found& other) const {
        return position == other.position && index == other.index;
    }
};

void PrintTo(const Found& found, std::ostream* stream) {
    *stream << "position " << found.position << " of element " << found.index;
}

Found find(const std::vector<std::string>& list, const char* needle, unsigned long from,
           bool trimmed = false) {
    Found found = {0, from};
    found.position = Tool::find(list, needle, found.index, trimmed);
    return found;
}

TEST(StringToolFind, GivesElementAndPosition) {
    EXPECT_EQ((Found{0, 1}), find({"x", "key = 1 "}, "key", 0));
    EXPECT_EQ((Found{2, 0}), find({"a key", "key"}, "key", 0));
    EXPECT_EQ((Found{0, 0}), find({"a"}, "", 0));
}

TEST(StringToolFind, StartsAtTheIndex) {
    EXPECT_EQ((Found{0, 2}), find({"key", "x", "key"}, "key", 1));
    EXPECT_EQ((Found{0, 0}), find({"key", "x", "key"}, "key", 0));
}

TEST(StringToolFind, AnswersTheSizeForNothingFound) {
    EXPECT_EQ((Found{-1, 2}), find({"x", "y"}, "key", 0));
    EXPECT_EQ((Found{-1, 2}), find({"key", "y"}, "key", 1));
    EXPECT_EQ((Found{-1, 0}), find({}, "key", 0));
}

TEST(StringToolFind, LeavesAnIndexBeyondTheEndAlone) {
    EXPECT_EQ((Found{-1, 1}), find({"key"}, "key", 1));
    EXPECT_EQ((Found{-1, 7}), find({"key"}, "key", 7));
    EXPECT_EQ((Found{-1, 7}), find({"key"}, nullptr, 7));
}

TEST(StringToolFind, FindsNoNullNeedle) {
    EXPECT_EQ((Found{-1, 2}), find({"x", "y"}, nullptr, 0));
}

TEST(StringToolFind, LooksAtTrimmedElements) {
    EXPECT_EQ((Found{-1, 1}), find({"key \t\r\n"}, "y ", 0, true));
    EXPECT_EQ((Found{2, 0}), find({"key \t\r\n"}, "y ", 0, false));
    EXPECT_EQ((Found{1, 0}), find({" key "}, "key", 0, true));
}

TEST(StringToolFind, LooksAtTheWholeElement) {
    EXPECT_EQ((Found{2, 0}), find({withNul("x", "key")}, "key", 0));
}

// ---- XML ----

TEST(StringToolXml, WritesTags) {
    EXPECT_EQ("<Name>", Tool::xmlBracket("Name", true, false));
    EXPECT_EQ("</Name>", Tool::xmlBracket("Name", false, false));
    EXPECT_EQ("<Name>\n", Tool::xmlBracket("Name", true, true));
    EXPECT_EQ("</Name>\n", Tool::xmlBracket("Name", false, true));
    EXPECT_EQ("<a&b>", Tool::xmlBracket("a&b", true, false));
}

TEST(StringToolXml, WritesValues) {
    EXPECT_EQ("\t<Name>a&lt;b</Name>\n", Tool::xmlBracketValue("Name", "a<b"));
    EXPECT_EQ("\t<Name></Name>\n", Tool::xmlBracketValue("Name", ""));
    EXPECT_EQ("\t<a&b>c</a&b>\n", Tool::xmlBracketValue("a&b", "c"));
}

TEST(StringToolXml, Escapes) {
    struct {
        const char* plain;
        const char* escaped;
    } const cases[] = {
        {"", ""},
        {"plain", "plain"},
        {"a&b", "a&amp;b"},
        {"<", "&lt;"},
        {">", "&gt;"},
        {"\"", "&quot;"},
        {"'", "&#39;"},
        {"&<>\"'", "&amp;&lt;&gt;&quot;&#39;"},
        {"'\"><&", "&#39;&quot;&gt;&lt;&amp;"},
        {"&&x&&", "&amp;&amp;x&amp;&amp;"},
        {"&amp;", "&amp;amp;"},
        {"\xc3\xa4<\xe2\x82\xac", "\xc3\xa4&lt;\xe2\x82\xac"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.escaped, Tool::convertToXmlSpecialCharacters(c.plain));
        EXPECT_EQ(c.plain, Tool::convertFromXmlSpecialCharacters(c.escaped));
    }
}

TEST(StringToolXml, UnescapesOneLevel) {
    EXPECT_EQ("&lt;", Tool::convertFromXmlSpecialCharacters("&amp;lt;"));
    EXPECT_EQ("&amp;", Tool::convertFromXmlSpecialCharacters("&amp;amp;"));
    EXPECT_EQ("&#39;", Tool::convertFromXmlSpecialCharacters("&amp;#39;"));
}

TEST(StringToolXml, LeavesOtherEntitiesAlone) {
    for (const char* text : {"&", "&&", "&apos;", "&#34;", "&#x27;", "&nbsp;", "&lt", "&amp",
                             "&LT;", "& lt;", "&quot", "&#39"}) {
        EXPECT_EQ(text, Tool::convertFromXmlSpecialCharacters(text));
    }
    EXPECT_EQ("&<", Tool::convertFromXmlSpecialCharacters("&&lt;"));
    EXPECT_EQ("&l<t;", Tool::convertFromXmlSpecialCharacters("&l&lt;t;"));
}

TEST(StringToolXml, EndsAtTheFirstNul) {
    EXPECT_EQ("a&lt;", Tool::convertToXmlSpecialCharacters(withNul("a<", "b>")));
    EXPECT_EQ("a", Tool::convertToXmlSpecialCharacters(withNul("a", "&b")));
    EXPECT_EQ("", Tool::convertToXmlSpecialCharacters(withNul("", "&")));
    EXPECT_EQ("a<", Tool::convertFromXmlSpecialCharacters(withNul("a&lt;", "b&gt;")));
    EXPECT_EQ("&l", Tool::convertFromXmlSpecialCharacters(withNul("&l", "t;")));
    EXPECT_EQ("", Tool::convertFromXmlSpecialCharacters(withNul("", "&lt;")));
}

// The same jobs in five passes of searchreplace().
std::string escapedInFivePasses(std::string text) {
    text = Tool::searchreplace(text, "&", "&amp;");
    text = Tool::searchreplace(text, "<", "&lt;");
    text = Tool::searchreplace(text, ">", "&gt;");
    text = Tool::searchreplace(text, "\"", "&quot;");
    return Tool::searchreplace(text, "'", "&#39;");
}

std::string unescapedInFivePasses(std::string text) {
    text = Tool::searchreplace(text, "&#39;", "'");
    text = Tool::searchreplace(text, "&quot;", "\"");
    text = Tool::searchreplace(text, "&gt;", ">");
    text = Tool::searchreplace(text, "&lt;", "<");
    return Tool::searchreplace(text, "&amp;", "&");
}

TEST(StringToolXml, EqualsFivePasses) {
    const std::vector<std::string> pieces = {"&",    "<",    ">",           "\"",
                                             "'",    "#39;", "amp;",        "l",
                                             "t;",   "&amp", "&lt;",        "&quot;",
                                             ";",    "x",    "gt",          "&#39;",
                                             "&gt;", "quot", "longer text", std::string(1, '\0')};
    std::mt19937 random(4711);
    for (int round = 0; round < 50000; ++round) {
        std::string text;
        for (auto count = random() % 12; count > 0; --count) {
            text += pieces[random() % pieces.size()];
        }
        const std::string escaped = Tool::convertToXmlSpecialCharacters(text);
        ASSERT_EQ(escapedInFivePasses(text), escaped);
        ASSERT_EQ(unescapedInFivePasses(text), Tool::convertFromXmlSpecialCharacters(text));
        ASSERT_EQ(text.c_str(), Tool::convertFromXmlSpecialCharacters(escaped));
    }
}

} // namespace
