#include "text_tools.h"

#include <gmock/gmock.h>

namespace {

using namespace kzfi_simhost;
using testing::ElementsAre;

TEST(TextToolsTest, LengthCountsColumns) {
    EXPECT_EQ(lengthOf(""), 0u);
    EXPECT_EQ(lengthOf("abc"), 3u);
    EXPECT_EQ(lengthOf("für"), 3u);
    EXPECT_EQ(lengthOf("€"), 1u);
    EXPECT_EQ(lengthOf("快"), 2u);
    EXPECT_EQ(lengthOf("e\xCC\x81"), 1u);
    EXPECT_EQ(lengthOf("a\xff"), 2u);
}

TEST(TextToolsTest, ATextStartsWithItsBeginning) {
    EXPECT_TRUE(startsWith("entering", "enter"));
    EXPECT_TRUE(startsWith("enter", "enter"));
    EXPECT_TRUE(startsWith("enter", ""));
    EXPECT_FALSE(startsWith("enter", "entering"));
    EXPECT_FALSE(startsWith("reenter", "enter"));
    EXPECT_FALSE(startsWith("", "enter"));
}

TEST(TextToolsTest, FittedFillsOrCuts) {
    EXPECT_EQ(fitted("ab", 4), "ab  ");
    EXPECT_EQ(fitted("abcd", 4), "abcd");
    EXPECT_EQ(fitted("abcdefg", 6), "abc...");
    EXPECT_EQ(fitted("üüüüüüü", 6), "üüü...");
    EXPECT_EQ(fitted("abcdefg", 2), "ab");
    EXPECT_EQ(fitted("", 0), "");
    EXPECT_EQ(fitted("快快快", 5), "快...");
    EXPECT_EQ(fitted("快快快", 4), "... ");
}

TEST(TextToolsTest, LinesEndAtLineEnds) {
    EXPECT_THAT(linesOf(""), ElementsAre(""));
    EXPECT_THAT(linesOf("a"), ElementsAre("a"));
    EXPECT_THAT(linesOf("a\n"), ElementsAre("a"));
    EXPECT_THAT(linesOf("a\n\nb"), ElementsAre("a", "", "b"));
    EXPECT_THAT(linesOf("\n"), ElementsAre(""));
}

TEST(TextToolsTest, HarmlessTextCannotCommandATerminal) {
    EXPECT_EQ(harmless("plain ü\n"), "plain ü\n");
    EXPECT_EQ(harmless("\033[31mred\r\x7f"), "\\x1b[31mred\\x0d\\x7f");
    EXPECT_EQ(harmless("a\tb"), "a    b");
    EXPECT_EQ(harmless("\xC2\x9B"
                       "31m\xC2\xA0"),
              "\\x9b"
              "31m\xC2\xA0");
    EXPECT_EQ(harmless("\xEF\xBF\xBE\xEF\xBF\xBF\xEF\xBF\xBD"), "\\ufffe\\uffff\xEF\xBF\xBD");
    EXPECT_EQ(harmless("bad \xff byte"), "bad \xEF\xBF\xBD byte");
}

TEST(TextToolsTest, SideBySideMarksWhatDiffers) {
    EXPECT_THAT(sideBySide("same\nleft", "same\nright\nmore", 6),
                ElementsAre("same     same", "left   | right", "       | more"));
    EXPECT_THAT(sideBySide("abcdefgh", "abcdefgh", 6), ElementsAre("abc...   abc..."));
}

TEST(TextToolsTest, LongLinesShowWhereTheyDiffer) {
    const std::string shared(100, 'x');
    EXPECT_THAT(sideBySide(shared + "1", shared + "2", 20),
                ElementsAre("...xxxxxxxxxx1       | ...xxxxxxxxxx2"));
    EXPECT_THAT(sideBySide(shared, shared + "2", 20),
                ElementsAre("...xxxxxxxxxx        | ...xxxxxxxxxx2"));
}

TEST(TextToolsTest, OneRowHasNoLineEnds) {
    EXPECT_EQ(oneRow("a\nb\033"), "a b\\x1b");
}

TEST(TextToolsTest, SizesAreReadable) {
    EXPECT_EQ(sizeText(0), "0 B");
    EXPECT_EQ(sizeText(1023), "1023 B");
    EXPECT_EQ(sizeText(1024), "1.0 KiB");
    EXPECT_EQ(sizeText((1 << 20) - 1), "1.0 MiB");
    EXPECT_EQ(sizeText(64ull << 20), "64.0 MiB");
    EXPECT_EQ(sizeText(3ull << 40), "3.0 TiB");
    EXPECT_EQ(sizeText(5000ull << 40), "5000.0 TiB");
}

TEST(TextToolsTest, TimesAreReadable) {
    EXPECT_EQ(timeText(0), "0.00 ms");
    EXPECT_EQ(timeText(0.00123), "1.23 ms");
    EXPECT_EQ(timeText(0.0123), "12 ms");
    EXPECT_EQ(timeText(1.5), "1.50 s");
}

} // namespace
