// The portable C helpers.
#include "kzfi_portable.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace {

__attribute__((format(printf, 3, 4))) int throughVaList(char* buffer, size_t size,
                                                        const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = K_vsnprintf(buffer, size, format, arguments);
    va_end(arguments);
    return result;
}

TEST(Portable, FormatsText) {
    char buffer[32];
    EXPECT_EQ(8, K_snprintf(buffer, sizeof(buffer), "%s=%04d", "key", 42));
    EXPECT_STREQ("key=0042", buffer);
    EXPECT_EQ(8, throughVaList(buffer, sizeof(buffer), "%s-%04x", "abc", 0xbeu));
    EXPECT_STREQ("abc-00be", buffer);
}

TEST(Portable, CutsFormattedTextAndTellsItsWholeLength) {
    char buffer[6] = "-----";
    EXPECT_EQ(9, K_snprintf(buffer, 5, "%s", "too long!"));
    EXPECT_STREQ("too ", buffer);
    EXPECT_EQ('\0', buffer[5]);
    EXPECT_EQ(9, throughVaList(buffer, 3, "%s", "too long!"));
    EXPECT_STREQ("to", buffer);
}

TEST(Portable, MeasuresWithoutABuffer) {
    EXPECT_EQ(3, K_snprintf(nullptr, 0, "%d", 123));
    EXPECT_EQ(3, throughVaList(nullptr, 0, "%d", 123));
}

TEST(Portable, ScansText) {
    int number = 0;
    char word[8];
    EXPECT_EQ(2, K_sscanf("level 17", "%7s %d", word, &number));
    EXPECT_STREQ("level", word);
    EXPECT_EQ(17, number);
    EXPECT_EQ(0, K_sscanf("x", "%d", &number));
    EXPECT_EQ(EOF, K_sscanf("", "%d", &number));
}

TEST(Portable, CopiesAndTerminates) {
    struct {
        const char* source;
        size_t size;
        const char* expected;
    } const cases[] = {
        {"abc", 8, "abc"}, {"abc", 4, "abc"}, {"abc", 3, "ab"}, {"abc", 1, ""}, {"", 8, ""},
    };
    for (const auto& c : cases) {
        char target[8] = "xxxxxxx";
        EXPECT_EQ(target, K_strlncpy(target, c.source, c.size));
        EXPECT_STREQ(c.expected, target) << c.size;
    }
}

TEST(Portable, CopiesNothingIntoNoRoom) {
    char target[] = "kept";
    EXPECT_EQ(target, K_strlncpy(target, "abc", 0));
    EXPECT_STREQ("kept", target);
}

TEST(Portable, ReadsNoMoreOfTheSourceThanItCopies) {
    const char unterminated[] = {'a', 'b', 'c'};
    char target[4];
    EXPECT_STREQ("abc", K_strlncpy(target, unterminated, sizeof(target)));
}

class InTimeZone : public testing::Test {
  protected:
    InTimeZone() {
        if (const char* const value = std::getenv("TZ")) {
            before = value;
        }
        setenv("TZ", "TST-03:30", 1);
        tzset();
    }
    ~InTimeZone() override {
        if (before) {
            setenv("TZ", before->c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }

    std::optional<std::string> before;
};

TEST_F(InTimeZone, BreaksTimeDownLocally) {
    const time_t when = 951782400; // 2000-02-29 00:00:00 UTC
    struct tm local = {};
    ASSERT_EQ(&local, K_localtime(&when, &local));
    EXPECT_EQ(100, local.tm_year);
    EXPECT_EQ(1, local.tm_mon);
    EXPECT_EQ(29, local.tm_mday);
    EXPECT_EQ(3, local.tm_hour);
    EXPECT_EQ(30, local.tm_min);
    EXPECT_EQ(0, local.tm_sec);
}

} // namespace
