// kzfi-simhost check as its user sees it: verdicts, exit statuses, lists, files, the bar.
#include <gmock/gmock.h>

#include "check/check.h"
#include "moody.h"
#include "simhost/command.h"
#include "simhost/terminal.h"

namespace {

using namespace kzfi_simhost;
using kzfi_tests::CommandResult;
using kzfi_tests::readFile;
using kzfi_tests::writeFile;
using testing::AnyOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

const char* const MOODY = KZFI_PROVIDERS "/moody.so";

class CheckCommandTest : public testing::Test {
  protected:
    CommandResult check(const std::vector<std::string>& options, const std::string& mood = "good") {
        std::vector<std::string> arguments = {"check", "--root", simhost.path("root"), "--json",
                                              simhost.path("report.json")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return simhost(arguments, "MOOD=" + mood);
    }

    Json report() const { return Json::parse(readFile(simhost.path("report.json"))); }

    /// The report's entry of the only check.
    Json once(const std::string& mood) {
        result = check({MOODY, "--only", "operations.once", "--deadline", "1"}, mood);
        return report()["checks"][0];
    }

    kzfi_tests::SimhostCommand simhost;
    CommandResult result;
};

// ---- Verdicts

TEST_F(CheckCommandTest, PassesWithStatus0) {
    EXPECT_EQ(once("good")["verdict"], "pass");
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr("PASSED  1 checks: 1 pass"));
    EXPECT_EQ(report()["green"], true);
}

TEST_F(CheckCommandTest, WarnsWithStatus0) {
    EXPECT_THAT(once("leak")["verdict"], AnyOf("warn", "pass")); // pass: under a sanitizer
    EXPECT_EQ(result.status, 0);
}

TEST_F(CheckCommandTest, FailsWithStatus1) {
    EXPECT_EQ(once("overrun")["verdict"], "fail");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(report()["green"], false);
    EXPECT_THAT(result.out, HasSubstr("FAILED  1 checks: 1 fail"));
    EXPECT_THAT(result.out, HasSubstr("  to do:  Look at the operation named here"));
}

TEST_F(CheckCommandTest, NamesTheOperationThatCrashes) {
    const Json entry = once("crash");
    EXPECT_EQ(entry["verdict"], "crash");
    EXPECT_EQ(entry["doing"], "prePrepare");
    EXPECT_EQ(entry["detail"],
              "the provider's process was killed by SIGABRT (Aborted) in prePrepare");
    EXPECT_THAT(entry["lastTrace"].back().get<std::string>(),
                HasSubstr("Entering Function prePrepare"));
    EXPECT_EQ(result.status, 1);
}

TEST_F(CheckCommandTest, NamesTheOperationThatExits) {
    const Json entry = once("exit");
    EXPECT_EQ(entry["verdict"], "exit");
    EXPECT_EQ(entry["detail"], "the provider's process exited with status 3 in prePrepare");
    EXPECT_EQ(result.status, 1);
}

TEST_F(CheckCommandTest, NamesTheExceptionThatComesOut) {
    const Json entry = once("throw");
    EXPECT_EQ(entry["verdict"], "exception");
    EXPECT_EQ(entry["exception"]["type"], "std::out_of_range");
    EXPECT_EQ(entry["exception"]["text"], "too far");
    EXPECT_EQ(entry["detail"], "in prePrepare");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(once("throw a number")["exception"]["type"], "int");
}

TEST_F(CheckCommandTest, SkipsWhatAProviderThatCannotStartCannotShow) {
    check({MOODY}, "init");
    const Json all = report();
    EXPECT_EQ(all["checks"].size(), checks().size());
    for (const Json& entry : all["checks"]) {
        const std::string name = entry["name"].get<std::string>();
        if (name == "operations.once") {
            EXPECT_EQ(entry["verdict"], "fail");
            EXPECT_EQ(entry["findings"][0]["text"], "init answered 6");
        } else if (name.rfind("load.", 0) == 0) {
            EXPECT_EQ(entry["verdict"], "pass") << name;
        } else if (name.rfind("operations.", 0) == 0 || name.rfind("watch.", 0) == 0) {
            EXPECT_EQ(entry["verdict"], "skip") << name;
            EXPECT_EQ(entry["reason"], "provider unusable") << name;
            EXPECT_EQ(entry["detail"], "init answered 6") << name;
        }
    }
}

// ---- Hangs

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

/// Hides gdb while it lives.
class WithoutGdb {
  public:
    WithoutGdb() : path(std::getenv("PATH")) { setenv("PATH", "/nowhere", 1); }
    WithoutGdb(const WithoutGdb&) = delete;
    WithoutGdb& operator=(const WithoutGdb&) = delete;
    ~WithoutGdb() { setenv("PATH", path.c_str(), 1); }

  private:
    const std::string path;
};

TEST_F(CheckCommandTest, ShowsTheStacksOfAllThreadsOfAHang) {
    const Json entry = once("hang");
    EXPECT_EQ(entry["verdict"], "hang");
    EXPECT_EQ(entry["detail"],
              "the provider's process did not answer in time and was ended in prePrepare");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, HasSubstr("  stacks:\n    thread "));
}

TEST(CheckStacks, ComeFromAHandlerOfEachThread) {
    const WithoutGdb hidden;
    kzfi_tests::Moody moody;
    const CheckResult result = moody("hang", kzfi_tests::callOnce, 1);
    EXPECT_EQ(result.verdict, Verdict::HANG);
    const std::string stacks = joined(result.stacks);
    std::size_t threads = 0;
    for (const std::string& line : result.stacks) {
        threads += line.rfind("thread ", 0) == 0 ? 1 : 0;
    }
    EXPECT_EQ(threads, 2U) << stacks;
    EXPECT_THAT(stacks, HasSubstr("moody.so"));
    EXPECT_THAT(stacks, Not(HasSubstr("gives no answer")));
    EXPECT_THAT(stacks, Not(HasSubstr("gdb")));
}

TEST(CheckStacks, SayWhenAThreadGivesNoAnswer) {
    const WithoutGdb hidden;
    kzfi_tests::Moody moody;
    const CheckResult result = moody("hang deaf", kzfi_tests::callOnce, 1);
    EXPECT_THAT(result.stacks, Contains("  gives no answer"));
}

TEST(CheckStacks, HaveNamesFromGdb) {
    if (std::system("gdb -nx -batch -p $$ 2>/dev/null | grep -q '^\\[Inferior'") != 0) {
        GTEST_SKIP() << "no gdb here, or it may not look at processes";
    }
    kzfi_tests::Moody moody;
    const std::string stacks = joined(moody("hang deaf", kzfi_tests::callOnce, 1).stacks);
    EXPECT_THAT(stacks, HasSubstr("gdb:"));
    EXPECT_THAT(stacks, HasSubstr("hangForEver"));
}

// ---- Skips

TEST(CheckSkips, AnOperationThatAnswers4EveryTime) {
    kzfi_tests::Moody moody;
    const auto run = [](CheckContext& c) { c.skipUnlessImplemented("prePrepare"); };
    const CheckResult lazy = moody("lazy", run);
    EXPECT_EQ(lazy.verdict, Verdict::SKIP);
    EXPECT_EQ(lazy.skipped, SkipReason::NOT_IMPLEMENTED);
    EXPECT_EQ(lazy.detail, "prePrepare");
    EXPECT_EQ(moody("unstable", run).verdict, Verdict::FAIL);
    EXPECT_EQ(moody("good", run).verdict, Verdict::PASS);
}

TEST(CheckSkips, WhatIsNotConfigured) {
    kzfi_tests::Moody moody;
    const CheckResult result = moody("good", [](CheckContext& c) {
        if (c.config().claims.empty()) {
            c.skip(SkipReason::NOT_CONFIGURED, "claims");
        }
        c.fail("not skipped");
    });
    EXPECT_EQ(result.verdict, Verdict::SKIP);
    EXPECT_EQ(result.skipped, SkipReason::NOT_CONFIGURED);
}

TEST(CheckSkips, DoNotHideWhatWasFoundBefore) {
    kzfi_tests::Moody moody;
    const CheckResult result = moody("good", [](CheckContext& c) {
        c.warn("odd");
        c.skip(SkipReason::NEEDS_PLATFORM, "a full moon");
    });
    EXPECT_EQ(result.verdict, Verdict::WARN);
}

TEST(CheckContexts, KeepExceptionsOutOfTheVerdictOnRequest) {
    kzfi_tests::Moody moody;
    const CheckResult result = moody("throw", [](CheckContext& c) {
        c.keepExceptions(false);
        c.start();
        c.expect(!c.call("prePrepare").exception.empty(), "nothing was thrown");
    });
    EXPECT_EQ(result.verdict, Verdict::PASS);
}

TEST(CheckContexts, BlameNoProviderForAStepThatCannotBeDone) {
    kzfi_tests::Moody moody;
    const CheckResult result = moody("good", [](CheckContext& c) {
        c.start();
        const Outcome nobody = c.call("prePrepare", {{"node", "nobody"}});
        c.expect(nobody.notCalled.find("nobody") != std::string::npos, nobody.toJson().dump());
        const Outcome none = c.call("host compare", {{"path", "none"}, {"with", "nothing"}});
        c.expect(none.notCalled.find("none") != std::string::npos, none.toJson().dump());
    });
    EXPECT_EQ(result.verdict, Verdict::PASS);
    EXPECT_TRUE(result.findings.empty()) << result.findings.front().text;
}

TEST(CheckContexts, RunTwoProvidersAtOnce) {
    kzfi_tests::Moody moody;
    const CheckResult result = moody("good", [](CheckContext& c) {
        c.start();
        const std::unique_ptr<HostContext> second = c.another();
        c.expect(c.callOn(*second, "init").status == 0, "init of the second");
        c.expect(&second->provider() != &c.create().provider(), "the same object");
        c.callOn(*second, "fini");
    });
    EXPECT_EQ(result.verdict, Verdict::PASS);
}

// ---- The command line

TEST_F(CheckCommandTest, ListsTheChecksWithoutAProvider) {
    const CommandResult listed = simhost({"check", "--list"});
    EXPECT_EQ(listed.status, 0);
    for (const Check& each : checks()) {
        EXPECT_THAT(listed.out, HasSubstr(each.name));
        EXPECT_THAT(listed.out, HasSubstr(each.rule));
    }
}

bool isOneSentence(const std::string& text) {
    return !text.empty() && text.back() == '.' && text.find(". ") == std::string::npos;
}

TEST(CheckList, HasOneSentenceForTheRuleAndOneForWhatToDo) {
    for (const Check& each : checks()) {
        EXPECT_TRUE(isOneSentence(each.rule)) << each.name;
        EXPECT_TRUE(isOneSentence(each.advice)) << each.name;
    }
}

TEST_F(CheckCommandTest, RunsOnlyWhatMatches) {
    check({MOODY, "--only", "load.[sq]*"});
    const Json all = report();
    ASSERT_EQ(all["checks"].size(), 2U);
    EXPECT_EQ(all["checks"][0]["name"], "load.symbols");
    EXPECT_EQ(all["checks"][1]["name"], "load.quiet");
    EXPECT_THAT(simhost({"check", "--list", "--only", "load.*"}).out, Not(HasSubstr("watch.")));
}

struct BadUse {
    std::vector<std::string> options;
    const char* complaint;
};

TEST_F(CheckCommandTest, ComplainsWithStatus2) {
    writeFile(simhost.path("unknown.yaml"), "nodes: [{name: a}]\nsteps: []\n");
    writeFile(simhost.path("nodeless.yaml"), "claims: a\n");
    writeFile(simhost.path("empty.yaml"), "");
    const BadUse uses[] = {
        {{MOODY, "--only", "nothing.*"}, "--only: no check is called like 'nothing.*'"},
        {{}, "check: no provider is named"},
        {{MOODY, "--config", simhost.path("none.yaml")}, "none.yaml: the file cannot be read"},
        {{MOODY, "--config", simhost.path("unknown.yaml")}, "unknown.yaml:2: unknown key 'steps'"},
        {{MOODY, "--config", simhost.path("nodeless.yaml")}, "the configuration has no nodes"},
        {{MOODY, "--config", simhost.path("empty.yaml")}, "the configuration is empty"},
        {{MOODY, "--deadline", "0"}, "--deadline"},
    };
    for (const BadUse& use : uses) {
        const CommandResult refused = check(use.options);
        EXPECT_EQ(refused.status, 2) << use.complaint;
        EXPECT_THAT(refused.err, HasSubstr(use.complaint));
    }
}

TEST_F(CheckCommandTest, CannotCheckWhatCannotBeLoaded) {
    const CommandResult refused = check({KZFI_PROVIDERS "/none.so"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.out, HasSubstr("cannot be used: the provider cannot be loaded: "));
    EXPECT_EQ(report()["checks"][0]["verdict"], "fail");
    EXPECT_EQ(report()["checks"][1]["reason"], "provider unusable");
    EXPECT_EQ(report()["green"], false);
}

TEST_F(CheckCommandTest, LetsTheConfigurationSayTheDeadline) {
    writeFile(simhost.path("config.yaml"), "nodes: [{name: a}]\ndeadline: 0.3\n");
    const auto started = std::chrono::steady_clock::now();
    check({MOODY, "--only", "operations.once", "--config", simhost.path("config.yaml")}, "hang");
    EXPECT_EQ(report()["checks"][0]["verdict"], "hang");
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(60));
}

TEST_F(CheckCommandTest, WritesAJunitFile) {
    check({MOODY, "--only", "operations.once", "--junit", simhost.path("junit.xml")}, "crash");
    const std::string junit = readFile(simhost.path("junit.xml"));
    EXPECT_THAT(junit, HasSubstr("tests=\"1\" failures=\"0\" errors=\"1\" skipped=\"0\""));
    EXPECT_THAT(junit, HasSubstr("<error type=\"crash\""));
}

TEST_F(CheckCommandTest, SaysWhichWalkItTook) {
    result = check({MOODY, "--only", "load.symbols", "--seed", "7"});
    EXPECT_THAT(result.out, HasSubstr("PASSED  1 checks: 1 pass; "));
    EXPECT_THAT(result.out, HasSubstr("\nseed      7\n"));
    EXPECT_EQ(report()["seed"], 7);
}

// ---- The bar

TEST_F(CheckCommandTest, ShowsABarOnATerminal) {
    const std::string shown = kzfi_tests::onTerminal(
        {KZFI_SIMHOST, "check", MOODY, "--only", "load.*", "--root", simhost.path("root")}, 60);
    EXPECT_THAT(shown, HasSubstr("[                        ] 1/4  load.symbols"));
    EXPECT_THAT(shown, HasSubstr("[##################      ] 4/4  load.repeat"));
    kzfi_tests::Screen screen(60);
    screen.write(shown);
    EXPECT_THAT(screen.rows(), Not(Contains(HasSubstr("[#"))));
}

TEST_F(CheckCommandTest, ShowsNoBarInAFile) {
    EXPECT_THAT(check({MOODY, "--only", "load.*"}).out, Not(HasSubstr("[")));
}

} // namespace
