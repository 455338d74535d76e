// Device identifiers.
#include "cfiudid.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using kzfi_pdk_4_4::CFiUdid;
using kzfi_pdk_4_4::CFiUdidException;
using kzfi_pdk_4_4::tstring;

CFiUdid udid(const char* text) {
    return CFiUdid(tstring(text));
}

// The code that a text is refused with; 0 when it is taken.
int refusal(const std::string& text) {
    try {
        const CFiUdid taken{tstring(text.c_str())};
        return 0;
    } catch (const CFiUdidException& refused) {
        EXPECT_EQ(text, refused.udid);
        return refused.errorCode;
    }
}

void expectFields(const CFiUdid& id, const char* field1, const char* field2, const char* field3,
                  const char* field4) {
    EXPECT_EQ(field1, id.field1);
    EXPECT_EQ(field2, id.field2);
    EXPECT_EQ(field3, id.field3);
    EXPECT_EQ(field4, id.field4);
    EXPECT_EQ("", id.spareText);
    EXPECT_EQ("UDID##", id.prefix);
}

TEST(Udid, TakesThreeFields) {
    const CFiUdid id = udid("UDID##a##b##c");
    expectFields(id, "a", "b", "", "c");
    EXPECT_EQ(0, id.fourFieldFlag);
}

TEST(Udid, TakesFourFields) {
    const CFiUdid id = udid("UDID##a##b##c##d");
    expectFields(id, "a", "b", "c", "d");
    EXPECT_EQ(1, id.fourFieldFlag);
}

TEST(Udid, FindsThePrefixAnywhere) {
    expectFields(udid("node UDID##a##b##c"), "a", "b", "", "c");
    expectFields(udid("UDID#UDID##a##b##c"), "a", "b", "", "c");
}

TEST(Udid, StartsAtTheFirstPrefix) {
    expectFields(udid("UDID##UDID##b##c"), "UDID", "b", "", "c");
}

TEST(Udid, LeavesFurtherSeparatorsInTheLastField) {
    expectFields(udid("UDID##a##b##c##d##e"), "a", "b", "c", "d##e");
}

TEST(Udid, TakesEmptyFields) {
    expectFields(udid("UDID########d"), "", "", "", "d");
    expectFields(udid("UDID##a##b##c##"), "a", "b", "c", "");
    expectFields(udid("UDID##a##b####"), "a", "b", "", "");
}

TEST(Udid, CountsAnEmptyThirdFieldAsAField) {
    EXPECT_EQ(1, udid("UDID##a##b####d").fourFieldFlag);
}

TEST(Udid, KeepsSingleHashesInTheFields) {
    expectFields(udid("UDID##a#1##b##c#"), "a#1", "b", "", "c#");
}

TEST(Udid, RefusesOtherTexts) {
    struct {
        const char* text;
        int code;
    } const cases[] = {
        {"", 2},           {"a##b##c", 2},     {"UDID#a##b##c", 2}, {"udid##a##b##c", 2},
        {"UDID##", 3},     {"UDID##a", 3},     {"UDID##a#b", 3},    {"UDID##a##", 4},
        {"UDID##a##b", 4}, {"UDID##a##b#", 4}, {"UDID##a##b##", 1}, {"before UDID##a##b##", 1},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.code, refusal(c.text)) << c.text;
    }
}

TEST(Udid, NamesItsRefusals) {
    EXPECT_EQ(1, CFiUdidException::NO_DEVICE);
    EXPECT_EQ(2, CFiUdidException::NO_PREFIX);
    EXPECT_EQ(3, CFiUdidException::NO_SECOND_FIELD);
    EXPECT_EQ(4, CFiUdidException::NO_LAST_FIELD);
}

TEST(Udid, ParsesAgain) {
    CFiUdid id = udid("UDID##a##b##c##d");
    id.parse("UDID##e##f##g");
    expectFields(id, "e", "f", "", "g");
}

TEST(Udid, ParsesOneOfItsOwnFields) {
    CFiUdid id = udid("UDID##a##b##c##UDID##e##f##g");
    expectFields(id, "a", "b", "c", "UDID##e##f##g");
    id.parse(id.field4);
    expectFields(id, "e", "f", "", "g");
}

TEST(Udid, TellsTheTextOfARefusedFieldOfItsOwn) {
    CFiUdid id = udid("UDID##a##b##c##d");
    try {
        id.parse(id.field4);
        FAIL() << "taken";
    } catch (const CFiUdidException& refused) {
        EXPECT_EQ("d", refused.udid);
    }
}

TEST(Udid, SearchesThePrefixFieldAndPrintsTheFixedOne) {
    CFiUdid id = udid("UDID##a##b##c");
    id.prefix = "LUN##";
    id.parse("UDID##x LUN##e##f##g");
    EXPECT_EQ("e", id.field1);
    EXPECT_EQ("UDID##E##F####G", id.getUdidString());
}

TEST(Udid, KeepsTheFlagOnceSet) {
    CFiUdid id = udid("UDID##a##b##c##d");
    id.parse("UDID##a##b##c");
    EXPECT_EQ(1, id.fourFieldFlag);
    EXPECT_THROW(id.parse(""), CFiUdidException);
    EXPECT_EQ(1, id.fourFieldFlag);
}

TEST(Udid, KeepsTheFieldsFoundBeforeARefusal) {
    CFiUdid id = udid("UDID##1##2##3##4");
    EXPECT_THROW(id.parse("UDID##a##b"), CFiUdidException);
    expectFields(id, "a", "", "", "");
    EXPECT_THROW(id.parse("UDID##a##b##"), CFiUdidException);
    expectFields(id, "a", "b", "", "");
    EXPECT_THROW(id.parse("none"), CFiUdidException);
    expectFields(id, "", "", "", "");
}

TEST(Udid, PrintsInUpperCaseAndAlwaysFourFields) {
    EXPECT_EQ("UDID##A##B##C##D", udid("UDID##a##b##c##d").getUdidString());
    EXPECT_EQ("UDID##A##B####C", udid("UDID##a##b##c").getUdidString());
    EXPECT_EQ("UDID##A1-X##B##C##D##E", udid("x UDID##a1-x##b##c##d##e").getUdidString());
}

TEST(Udid, KeepsTheCaseOfItsFields) {
    CFiUdid id = udid("UDID##aB##cD##eF##gH");
    EXPECT_EQ("UDID##AB##CD##EF##GH", id.getUdidString());
    expectFields(id, "aB", "cD", "eF", "gH");
}

TEST(Udid, IsCopiedWithItsRefusal) {
    const CFiUdid original = udid("UDID##a##b##c##d");
    CFiUdid copy = udid("UDID##x##y##z");
    copy = original;
    expectFields(copy, "a", "b", "c", "d");
    EXPECT_EQ(1, copy.fourFieldFlag);

    const CFiUdidException refusal("text", 3);
    const CFiUdidException sameRefusal(refusal);
    EXPECT_EQ("text", sameRefusal.udid);
    EXPECT_EQ(3, sameRefusal.errorCode);
}

} // namespace
