#include "outcome.h"

#include <gmock/gmock.h>

namespace {

using namespace kzfi_simhost;
using testing::ElementsAre;
using testing::IsEmpty;

Outcome answer(int status) {
    Outcome outcome;
    outcome.status = status;
    return outcome;
}

std::vector<std::string> inWords(const std::vector<Mismatch>& mismatches) {
    std::vector<std::string> words;
    for (const Mismatch& mismatch : mismatches) {
        words.push_back(mismatch.what + ": " + mismatch.expected + " / " + mismatch.actual);
    }
    return words;
}

std::vector<std::string> differences(const Expectation& expected, const Outcome& outcome) {
    return inWords(compare(expected, outcome));
}

TEST(OutcomeTest, WithoutAnExpectationTheStatusMustBeZero) {
    EXPECT_THAT(differences({}, answer(0)), IsEmpty());
    EXPECT_THAT(differences({}, answer(4)), ElementsAre("status: 0 / 4"));
    EXPECT_THAT(differences({}, Outcome()), IsEmpty());
}

TEST(OutcomeTest, AnExpectedStatusMustCome) {
    Expectation expected;
    expected.status = 3;
    EXPECT_THAT(differences(expected, answer(3)), IsEmpty());
    EXPECT_THAT(differences(expected, answer(0)), ElementsAre("status: 3 / 0"));
    EXPECT_THAT(differences(expected, Outcome()), ElementsAre("status: 3 / (nothing)"));
}

TEST(OutcomeTest, TheTextMustBeEqual) {
    Expectation expected;
    expected.text = Json("abc");
    Outcome outcome = answer(0);
    EXPECT_THAT(differences(expected, outcome), ElementsAre("text: abc / (nothing)"));
    outcome.text = Json("abcd");
    EXPECT_THAT(differences(expected, outcome), ElementsAre("text: abc / abcd"));
    outcome.text = Json();
    EXPECT_THAT(differences(expected, outcome), ElementsAre("text: abc / null"));
    outcome.text = Json("abc");
    EXPECT_THAT(differences(expected, outcome), IsEmpty());
}

TEST(OutcomeTest, ANullTextIsNotTheTextNull) {
    Expectation expected;
    expected.text = Json();
    Outcome outcome = answer(0);
    outcome.text = Json("null");
    EXPECT_THAT(differences(expected, outcome), ElementsAre("text: null / null"));
    outcome.text = Json("");
    EXPECT_THAT(differences(expected, outcome), ElementsAre("text: null / "));
    outcome.text = Json();
    EXPECT_THAT(differences(expected, outcome), IsEmpty());
}

TEST(OutcomeTest, EveryPieceMustBeInTheText) {
    Expectation expected;
    expected.contains = {"b", "x"};
    Outcome outcome = answer(0);
    EXPECT_THAT(differences(expected, outcome),
                ElementsAre("contains: b / (nothing)", "contains: x / (nothing)"));
    outcome.text = Json("abc");
    EXPECT_THAT(differences(expected, outcome), ElementsAre("contains: x / abc"));
    outcome.text = Json("xab");
    EXPECT_THAT(differences(expected, outcome), IsEmpty());
}

TEST(OutcomeTest, NamedValuesAreComparedAsTexts) {
    Expectation expected;
    expected.values = {{"count", "2"}, {"on", "true"}, {"id", nullptr}, {"names", {"a", nullptr}}};
    Outcome outcome = answer(0);
    outcome.values = {{"count", 2},
                      {"on", true},
                      {"id", nullptr},
                      {"names", {"a", nullptr}},
                      {"more", "not looked at"}};
    EXPECT_THAT(differences(expected, outcome), IsEmpty());
}

TEST(OutcomeTest, WrongAndMissingValuesAreNamed) {
    Expectation expected;
    expected.values = {{"count", "2"}, {"id", "null"}, {"names", {"a", "b"}}, {"gone", "x"}};
    Outcome outcome = answer(0);
    outcome.values = {{"count", 3}, {"id", nullptr}, {"names", {"b", "a"}}};
    EXPECT_THAT(differences(expected, outcome),
                ElementsAre("count: 2 / 3", "id: null / null", R"(names: ["a","b"] / ["b","a"])",
                            "gone: x / (nothing)"));
}

TEST(OutcomeTest, AnExceptionIsAlwaysADifference) {
    Outcome outcome;
    outcome.exception = "int";
    EXPECT_THAT(differences({}, outcome), ElementsAre("answer: an answer / an exception: int"));
}

TEST(OutcomeTest, TravelsAsJson) {
    Outcome outcome = answer(-2);
    outcome.text = Json();
    outcome.values = {{"a", {1, "x", nullptr}}};
    const Outcome back = Outcome::fromJson(Json::parse(oneLine(outcome.toJson())));
    EXPECT_EQ(back.status, -2);
    ASSERT_TRUE(back.text.has_value());
    EXPECT_TRUE(back.text->is_null());
    EXPECT_EQ(back.values, outcome.values);
    EXPECT_EQ(back.exception, "");

    Outcome thrown;
    thrown.exception = "bad";
    const Outcome backThrown = Outcome::fromJson(Json::parse(oneLine(thrown.toJson())));
    EXPECT_FALSE(backThrown.status.has_value());
    EXPECT_FALSE(backThrown.text.has_value());
    EXPECT_EQ(backThrown.exception, "bad");
}

TEST(OutcomeTest, WithoutACallThereIsOneDifference) {
    Outcome outcome;
    outcome.notCalled = "why";
    const Outcome told = Outcome::fromJson(outcome.toJson());
    EXPECT_EQ(told.notCalled, "why");
    const std::vector<Mismatch> found = compare({}, told);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].what, "call");
    EXPECT_EQ(found[0].expected, "a call");
    EXPECT_EQ(found[0].actual, "none");
}

} // namespace
