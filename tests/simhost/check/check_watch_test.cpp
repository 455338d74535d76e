// What the host sees during every check.
#include <gmock/gmock.h>

#include "check/free_hook.h"
#include "moody.h"

namespace {

using namespace kzfi_simhost;
using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;

auto failing(const std::string& text) {
    return AllOf(Field(&FoundLine::fails, true), Field(&FoundLine::text, HasSubstr(text)));
}

auto warning(const std::string& text) {
    return AllOf(Field(&FoundLine::fails, false), Field(&FoundLine::text, HasSubstr(text)));
}

class CheckWatchTest : public testing::Test {
  protected:
    kzfi_tests::Moody moody;
};

TEST_F(CheckWatchTest, FindsNothingInAGoodMood) {
    const CheckResult result = moody("good");
    EXPECT_EQ(result.verdict, Verdict::PASS);
    EXPECT_THAT(result.findings, IsEmpty());
    EXPECT_EQ(result.outputFile, "");
}

struct Case {
    const char* mood;
    const char* text;
};

class Faults : public testing::TestWithParam<Case> {
  protected:
    kzfi_tests::Moody moody;
};

TEST_P(Faults, FailTheCheckWithALine) {
    if (std::string(GetParam().mood) == "free" && !canWatchFree()) {
        GTEST_SKIP() << "a sanitizer has the free() of this program";
    }
    const CheckResult result = moody(GetParam().mood);
    EXPECT_EQ(result.verdict, Verdict::FAIL);
    EXPECT_THAT(result.findings, ElementsAre(failing(GetParam().text)));
}

const Case FAULTS[] = {
    {"wrong size", "a buffer of 20 bytes was given back as one of 21 bytes"},
    {"free twice", "kzfi_free_buf was given a buffer (19 bytes) that was given back before"},
    {"overrun", "a buffer of 21 bytes was written to beyond its end"},
    {"free", "a buffer of 18 bytes was given to free() instead of kzfi_free_buf"},
    {"environment", "the environment now has MOODY_WAS_HERE=1"},
    {"folder", "the working directory was "},
    {"descriptor", "a descriptor was left open: "},
    {"thread", "a thread was left running: "},
    {"locale", "the locale was "},
    {"signal", "the treatment of a signal was PIPE: handler "},
};

INSTANTIATE_TEST_SUITE_P(All, Faults, testing::ValuesIn(FAULTS), [](const auto& fault) {
    std::string name = fault.param.mood;
    name.erase(std::remove(name.begin(), name.end(), ' '), name.end());
    return name;
});

TEST_F(CheckWatchTest, OnlyWarnsOfABufferThatIsLeft) {
    if (!canWatchFree()) {
        GTEST_SKIP() << "a sanitizer has the free() of this program";
    }
    const CheckResult result = moody("leak");
    EXPECT_EQ(result.verdict, Verdict::WARN);
    EXPECT_THAT(result.findings, ElementsAre(warning("a buffer of 17 bytes was never given back")));
}

TEST_F(CheckWatchTest, ShowsTheFirstOfManyLines) {
    if (!canWatchFree()) {
        GTEST_SKIP() << "a sanitizer has the free() of this program";
    }
    const CheckResult result = moody("leak a lot");
    ASSERT_EQ(result.findings.size(), 21U);
    EXPECT_EQ(result.findings.back().text, "and 10 more");
}

TEST_F(CheckWatchTest, ShowsAFailureBehindManyWarnings) {
    const CheckResult result = moody("good", [](CheckContext& c) {
        for (int i = 0; i < 25; ++i) {
            c.warn("odd " + std::to_string(i));
        }
        c.fail("wrong");
    });
    EXPECT_EQ(result.verdict, Verdict::FAIL);
    ASSERT_EQ(result.findings.size(), 22U);
    EXPECT_EQ(result.findings[20].text, "wrong");
    EXPECT_EQ(result.findings[21].text, "and 5 more");
}

TEST_F(CheckWatchTest, KnowsWhatTheKitItselfFrees) {
    EXPECT_EQ(moody("free a list").verdict, Verdict::PASS);
    EXPECT_EQ(moody("free a host text").verdict, Verdict::PASS);
}

TEST_F(CheckWatchTest, ShowsTheTraceBeforeALine) {
    const CheckResult result = moody("thread", [](CheckContext& c) {
        c.start();
        c.call("prePrepare");
        c.fail("a failure");
    });
    ASSERT_FALSE(result.findings.empty());
    ASSERT_FALSE(result.findings.front().trace.empty());
    EXPECT_THAT(result.findings.front().trace.back(), HasSubstr("Exiting Function prePrepare"));
}

// ---- Answers

/// What was found when prePrepare was called twice in this mood.
std::vector<FoundLine> foundTwice(const std::string& mood) {
    kzfi_tests::Moody moody;
    const auto twice = [](CheckContext& c) {
        c.start();
        c.call("prePrepare");
        c.call("prePrepare");
    };
    return moody(mood, twice).findings;
}

TEST_F(CheckWatchTest, LooksAtEachStatusOnce) {
    EXPECT_THAT(foundTwice("negative"),
                ElementsAre(failing("prePrepare answered -1: no status is negative")));
    EXPECT_THAT(foundTwice("unknown"),
                ElementsAre(warning(
                    "prePrepare answered 999, which is neither one of the framework's statuses nor "
                    "one of the provider's own (above its message index offset 1000)")));
    EXPECT_THAT(foundTwice("own"), IsEmpty());
    EXPECT_THAT(foundTwice("error"), IsEmpty());
}

TEST_F(CheckWatchTest, LooksAtOutputsOfStepsThatFail) {
    const auto run = [](CheckContext& c) {
        c.start();
        c.call("isParentPgn");
    };
    EXPECT_THAT(moody("output", run).findings,
                ElementsAre(failing("isParentPgn answered 6 and wrote to its output 'answer'")));
    EXPECT_THAT(moody("good", run).findings, IsEmpty());
}

TEST_F(CheckWatchTest, LooksAtOutputsOfProbesThatFail) {
    const auto run = [](CheckContext& c) {
        c.start();
        for (const Probe& probe : probes()) {
            if (probe.operation == "isParentPgn") {
                c.ask(probe, {});
            }
        }
    };
    EXPECT_THAT(moody("output", run).findings,
                ElementsAre(failing("isParentPgn answered 6 and wrote to its output 'answer'")));
    EXPECT_THAT(moody("good", run).findings, IsEmpty());
}

// ---- References

void giveAReferenceBackTwice(CheckContext& c) {
    kzfi_pdk_4_4::CFiPluginBase& provider = c.start().provider();
    struct Peek : kzfi_pdk_4_4::CFiPluginBase {
        static void drop(kzfi_pdk_4_4::CFiPluginBase& p) {
            static_cast<void>((p.*(&Peek::sessionManager))->decrement());
        }
    };
    Peek::drop(provider);
}

TEST_F(CheckWatchTest, FindsAReferenceThatIsGivenBackTwice) {
    const CheckResult result = moody("good", giveAReferenceBackTwice);
    EXPECT_EQ(result.verdict, Verdict::FAIL);
    EXPECT_THAT(
        result.findings,
        ElementsAre(failing("a reference to the session manager was given back once too often")));
}

void keepTheProvider(CheckContext& c) {
    c.start().provider().increment();
}

TEST_F(CheckWatchTest, FindsAReferenceToTheProviderItself) {
    const CheckResult result = moody("good", keepTheProvider);
    ASSERT_FALSE(result.findings.empty());
    EXPECT_THAT(result.findings.front(),
                failing("1 reference to the provider itself never given back"));
}

} // namespace
