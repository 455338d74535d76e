// The forms of a report.
#include "check/report.h"

#include <gmock/gmock.h>

#include <sstream>

namespace {

using namespace kzfi_simhost;
using testing::HasSubstr;
using testing::Not;

const Check CHECK = {"load.<all>", "The rule.", "The advice.", Needs::NOTHING, nullptr};

CheckResult resultOf(Verdict verdict) {
    CheckResult result;
    result.check = &CHECK;
    result.verdict = verdict;
    result.seconds = 0.25;
    if (verdict == Verdict::SKIP) {
        result.skipped = SkipReason::NOT_CONFIGURED;
        result.detail = "claims";
    } else if (verdict == Verdict::EXCEPTION) {
        result.exceptionType = "std::bad_alloc";
        result.exceptionText = "no & more";
        result.detail = "in make";
    } else if (verdict == Verdict::FAIL || verdict == Verdict::WARN) {
        result.findings = {{verdict == Verdict::FAIL, "found <this>\033", {"trace of it"}}};
    } else if (verdict != Verdict::PASS) {
        result.detail = "the provider's process ended";
    }
    if (!isGreen(verdict)) {
        result.lastTrace = {"last line"};
    }
    return result;
}

CheckReport reportOf(const std::vector<Verdict>& verdicts) {
    CheckReport report;
    report.provider = "/p.so";
    report.root = "/r";
    for (const Verdict verdict : verdicts) {
        report.results.push_back(resultOf(verdict));
    }
    return report;
}

const std::vector<Verdict> ALL = {Verdict::PASS, Verdict::WARN, Verdict::FAIL,      Verdict::CRASH,
                                  Verdict::HANG, Verdict::EXIT, Verdict::EXCEPTION, Verdict::SKIP};

std::string console(const CheckReport& report, std::size_t columns = 0) {
    std::ostringstream out;
    CheckConsole console(out, false, columns);
    std::size_t index = 0;
    for (const CheckResult& result : report.results) {
        console.begin(*result.check, index++, report.results.size());
        console.end(result);
    }
    console.summary(report);
    return out.str();
}

TEST(CheckReportTest, HasAWordForEveryVerdict) {
    const char* const words[] = {"pass", "warn", "fail",      "crash",
                                 "hang", "exit", "exception", "skip"};
    const CheckReport report = reportOf(ALL);
    const Json json = toJson(report);
    for (std::size_t i = 0; i < ALL.size(); ++i) {
        EXPECT_EQ(json["checks"][i]["verdict"], words[i]);
        EXPECT_EQ(json["checks"][i]["name"], "load.<all>");
        EXPECT_EQ(isGreen(ALL[i]),
                  ALL[i] == Verdict::PASS || ALL[i] == Verdict::WARN || ALL[i] == Verdict::SKIP);
    }
    EXPECT_THAT(console(report), HasSubstr("FAILED  8 checks: 1 pass, 1 warn, 1 fail, 1 crash, "
                                           "1 hang, 1 exit, 1 exception, 1 skip; 2.00 s\n"));
}

TEST(CheckReportTest, TellsMachinesAll) {
    const Json json = toJson(reportOf({Verdict::FAIL, Verdict::EXCEPTION, Verdict::SKIP}));
    EXPECT_EQ(json["green"], false);
    const Json& failed = json["checks"][0];
    EXPECT_EQ(failed["findings"][0]["severity"], "fail");
    EXPECT_EQ(failed["findings"][0]["text"], "found <this>\033");
    EXPECT_EQ(failed["findings"][0]["trace"][0], "trace of it");
    EXPECT_EQ(failed["advice"], "The advice.");
    EXPECT_EQ(json["checks"][1]["exception"]["type"], "std::bad_alloc");
    EXPECT_EQ(json["checks"][2]["reason"], "not configured");
    EXPECT_EQ(json["checks"][2]["detail"], "claims");
}

TEST(CheckReportTest, IsAJunitFile) {
    const std::string junit = toJunit(reportOf(ALL));
    EXPECT_THAT(junit,
                HasSubstr("<testsuite name=\"/p.so\" tests=\"8\" failures=\"1\" errors=\"4\" "
                          "skipped=\"1\" time=\"2.000000\">"));
    EXPECT_THAT(junit, HasSubstr("<testcase classname=\"load\" name=\"load.&lt;all&gt;\" "
                                 "time=\"0.250000\"></testcase>"));
    EXPECT_THAT(junit, HasSubstr("<failure message=\"found &lt;this&gt;\\x1b\">"));
    EXPECT_THAT(junit, HasSubstr("<error type=\"exception\" message=\"std::bad_alloc: no &amp; "
                                 "more\">"));
    EXPECT_THAT(junit, HasSubstr("<skipped message=\"not configured: claims\"/>"));
    EXPECT_THAT(junit, Not(HasSubstr("\033")));
}

// A warning before it is not what the verdict comes from.
TEST(CheckReportTest, JunitsMessageIsOfWhatEndedOrFailed) {
    CheckReport report = reportOf({Verdict::FAIL, Verdict::CRASH});
    for (CheckResult& result : report.results) {
        result.findings.insert(result.findings.begin(), {false, "odd", {}});
    }
    const std::string junit = toJunit(report);
    EXPECT_THAT(junit, HasSubstr("<failure message=\"found &lt;this&gt;\\x1b\">odd\nfound "));
    EXPECT_THAT(junit, HasSubstr("<error type=\"crash\" message=\"the provider&#39;s process "
                                 "ended\">the provider&#39;s process ended\nodd\n"));
    report = reportOf({Verdict::FAIL});
    report.results.front().findings = {{false, "odd", {}}, {false, "and 3 more", {}}};
    EXPECT_THAT(toJunit(report), HasSubstr("<failure message=\"odd\">"));
}

TEST(CheckReportTest, SaysWhatToDoAboutEachFailure) {
    const std::string text = console(reportOf({Verdict::FAIL}));
    EXPECT_EQ(text, "  fail       load.<all>                             250 ms\n"
                    "             found <this>\\x1b\n"
                    "\n"
                    "load.<all>  fail\n"
                    "  rule:   The rule.\n"
                    "  to do:  The advice.\n"
                    "    trace of it\n"
                    "\n"
                    "FAILED  1 checks: 1 fail; 250 ms\n"
                    "root      /r\n"
                    "seed      1\n");
}

TEST(CheckReportTest, SaysNothingMoreAboutWhatIsGreen) {
    EXPECT_THAT(console(reportOf({Verdict::PASS, Verdict::WARN, Verdict::SKIP})),
                Not(HasSubstr("to do")));
}

TEST(CheckReportTest, IsNotGreenForAProviderThatCannotBeUsed) {
    CheckReport report = reportOf({Verdict::SKIP});
    report.unusable = "no entry";
    EXPECT_EQ(toJson(report)["green"], false);
    EXPECT_EQ(toJson(report)["unusable"], "no entry");
    EXPECT_THAT(console(report), HasSubstr("FAILED"));
}

TEST(CheckReportTest, HasABarThatKeepsToTheTerminal) {
    const std::string shown = console(reportOf({Verdict::PASS}), 20);
    EXPECT_THAT(shown, HasSubstr("[                  \r                   \r  pass"));
}

} // namespace
