// Whatever a provider does, the command says what it was and ends in order.
#include <gmock/gmock.h>

#include "command.h"
#include "processes.h"
#include "support/fixed_paths.h"

namespace {

using kzfi_simhost::Json;
using kzfi_tests::CommandResult;
using kzfi_tests::readFile;
using testing::AnyOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class MisbehaviourTest : public testing::Test {
  protected:
    static std::string steps(const std::string& command) {
        return "steps:\n  - prePrepare\n  - objctl: {command: " + command + "}\n  - postDeport\n";
    }

    CommandResult run(const std::string& command) {
        return simhost.run("rogue", steps(command), {"--json", simhost.path("report.json")});
    }

    /// The report of a stage: 0 load, 1 init, then the steps.
    Json stage(std::size_t index) {
        return Json::parse(readFile(simhost.path("report.json")))["steps"][index];
    }

    /// That the third stage behind load and init, the bad one, has this result and the next none.
    void expectBadEnd(const CommandResult& result, const std::string& word,
                      const std::string& reason) {
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(stage(2)["result"], "passed");
        EXPECT_EQ(stage(3)["result"], word);
        EXPECT_EQ(stage(3)["reason"], "the provider's process " + reason);
        EXPECT_EQ(stage(4)["result"], "not run");
        EXPECT_THAT(result.out, HasSubstr("the provider's process " + reason));
        EXPECT_THAT(result.out, HasSubstr("scenario.yaml:4"));
        EXPECT_THAT(result.out, HasSubstr("last lines of the trace:"));
        EXPECT_THAT(result.out, HasSubstr("Entering Function objctl ["));
    }

    kzfi_tests::SimhostCommand simhost;
};

TEST_F(MisbehaviourTest, AnAbortIsACrash) {
    expectBadEnd(run("abort"), "crashed", "was killed by SIGABRT (Aborted)");
}

TEST_F(MisbehaviourTest, AKilledProviderIsACrash) {
    expectBadEnd(run("kill"), "crashed", "was killed by SIGKILL (Killed)");
}

TEST_F(MisbehaviourTest, ASegmentationFaultIsACrash) {
    EXPECT_EQ(run("segv").status, 1);
    // A sanitizer's own handler ends the process in another way.
    EXPECT_THAT(stage(3)["result"].get<std::string>(), AnyOf("crashed", "exited"));
}

TEST_F(MisbehaviourTest, AnExitIsNoSuccess) {
    expectBadEnd(run("exit"), "exited", "exited with status 3");
}

TEST_F(MisbehaviourTest, LastLinesOfAUsedRootAreThisRuns) {
    simhost.run("rogue", "steps: [{objctl: {command: nothing}}]\n");
    const CommandResult result =
        simhost.run("rogue", "steps: [{objctl: {command: print and exit}}]\n", {"--trace"});
    const std::string& out = result.out;
    EXPECT_THAT(out, HasSubstr("last lines of the provider's output:\n  so long\n"));
    const std::string whole = out.substr(out.find("\ntrace file "));
    // The first run's fini is not there; this one has none.
    EXPECT_THAT(whole, HasSubstr("Entering Function init ["));
    EXPECT_THAT(whole, Not(HasSubstr("Entering Function fini [")));
    EXPECT_THAT(readFile(simhost.tracePath("rogue")), HasSubstr("Entering Function fini ["));
}

TEST_F(MisbehaviourTest, AUsedRootWithoutNewLinesShowsNone) {
    simhost.run("rogue", "");
    const CommandResult result =
        simhost.run("rogue", "trace: {level: 0}\nsteps: [{objctl: {command: kill}}]\n");
    EXPECT_THAT(result.out, HasSubstr("was killed by SIGKILL"));
    EXPECT_THAT(result.out, Not(HasSubstr("last lines of the trace:")));
}

TEST_F(MisbehaviourTest, AHangEndsAtTheDeadline) {
    const CommandResult result =
        simhost.run("rogue",
                    "steps:\n  - prePrepare\n  - objctl: {command: hang}\n    deadline: 0.3\n"
                    "  - postDeport\n",
                    {"--json", simhost.path("report.json")});
    expectBadEnd(result, "hung", "did not answer in time and was ended");
    EXPECT_EQ(stage(3)["seconds"], 0.3);
}

TEST_F(MisbehaviourTest, ExceptionsAreAnswersAndTheRunGoesOn) {
    const std::vector<std::pair<std::string, std::string>> thrown = {
        {"throw", "std::out_of_range: too far"},
        {"throw a number", "int"},
        {"throw a kit error", "kzfi_pdk_4_4::CFiError: disk gone"}};
    for (const auto& deed : thrown) {
        const CommandResult result = run(deed.first);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(stage(3)["result"], "failed");
        EXPECT_EQ(stage(3)["answer"]["exception"], deed.second);
        EXPECT_EQ(stage(3)["mismatches"][0], Json({{"what", "answer"},
                                                   {"expected", "an answer"},
                                                   {"actual", "an exception: " + deed.second}}));
        EXPECT_EQ(stage(4)["result"], "passed");
    }
}

TEST_F(MisbehaviourTest, AWrongAnswerIsShownBesideTheExpectedOne) {
    const CommandResult result = run("unheard of");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(stage(3)["result"], "failed");
    EXPECT_EQ(stage(3)["mismatches"],
              Json({{{"what", "status"}, {"expected", "0"}, {"actual", "6"}}}));
    EXPECT_EQ(stage(4)["result"], "passed");
    EXPECT_THAT(result.out, testing::ContainsRegex("expected +actual\n +0 +[|] 6\n"));
}

TEST_F(MisbehaviourTest, AProcessLeftBehindDoesNotOutliveTheRun) {
    const CommandResult result = run("leave a process");
    EXPECT_EQ(result.status, 0);
    const std::string output = readFile(simhost.path("root/output.txt"));
    ASSERT_EQ(output.substr(0, 5), "left ");
    EXPECT_TRUE(kzfi_tests::diesSoon(output.substr(5, output.find('\n') - 5)));
}

TEST_F(MisbehaviourTest, NothingUnderTheProductsFolderChanges) {
    KZFI_NEEDS_PRIVATE_USR();
    const CommandResult result = run("litter");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(access("/usr/tarnex/stoneleaf", F_OK), -1);
    EXPECT_THAT(result.out, Not(HasSubstr("not private")));
    EXPECT_EQ(Json::parse(readFile(simhost.path("report.json")))["privateUsr"], true);
}

TEST_F(MisbehaviourTest, AProviderThatClosesTheHostsLineDoesNotPass) {
    expectBadEnd(run("close everything"), "exited", "exited with status 0");
}

TEST_F(MisbehaviourTest, RubbishOnTheLineIsPassedOver) {
    EXPECT_EQ(run("write everywhere").status, 0);
}

TEST_F(MisbehaviourTest, ForgedEventsChangeNothing) {
    EXPECT_EQ(run("forge events").status, 0);
    const Json report = Json::parse(readFile(simhost.path("report.json")));
    EXPECT_EQ(report["name"], "rogue");
    EXPECT_TRUE(report["tree"].is_array());
}

TEST_F(MisbehaviourTest, AForgedEndIsNoEnd) {
    expectBadEnd(run("forge events and exit"), "exited", "exited with status 0");
}

TEST_F(MisbehaviourTest, WhatAProviderPrintsIsKeptApart) {
    const CommandResult result = run("print");
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, Not(HasSubstr("printed by the provider")));
    EXPECT_THAT(result.out, HasSubstr("output    " + simhost.path("root/output.txt")));
    EXPECT_EQ(readFile(simhost.path("root/output.txt")), "printed by the provider\n");
}

TEST_F(MisbehaviourTest, TextsCannotCommandTheTerminal) {
    const CommandResult result =
        simhost.run("rogue", "steps:\n  - getSnapshotSetId:\n    expect: {text: x}\n");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, HasSubstr("a \\x1b[31mred    set"));
    EXPECT_THAT(result.out, Not(HasSubstr("\033")));
}

TEST_F(MisbehaviourTest, AReferenceThatIsKeptIsFound) {
    const CommandResult result = run("leak");
    EXPECT_EQ(result.status, 1);
    const Json unload = stage(6);
    EXPECT_EQ(unload["operation"], "unload");
    EXPECT_EQ(unload["result"], "failed");
    EXPECT_EQ(unload["mismatches"],
              Json({{{"what", "references to the provider"}, {"expected", "0"}, {"actual", "1"}}}));
}

TEST_F(MisbehaviourTest, ACrashInTheDestructorBelongsToUnloading) {
    EXPECT_EQ(run("die at the end").status, 1);
    EXPECT_EQ(stage(5)["result"], "passed");
    EXPECT_EQ(stage(6)["operation"], "unload");
    EXPECT_EQ(stage(6)["result"], "crashed");
}

TEST_F(MisbehaviourTest, AProviderIsReallyUnloaded) {
    EXPECT_EQ(run("nothing").status, 1);
    EXPECT_EQ(stage(6)["answer"]["values"], Json({{"references", 0}, {"unloaded", true}}));
    EXPECT_FALSE(stage(6).contains("note"));
}

TEST_F(MisbehaviourTest, AProviderThatCannotBeUnloadedIsNoted) {
    const CommandResult result = simhost.run("pinned", "", {"--json", simhost.path("report.json")});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(stage(3)["operation"], "unload");
    EXPECT_EQ(stage(3)["result"], "passed");
    EXPECT_EQ(stage(3)["answer"]["values"]["unloaded"], false);
    EXPECT_THAT(result.out, HasSubstr("the dynamic linker keeps the library; built with "
                                      "-fno-gnu-unique and without other users it can be "
                                      "unloaded"));
}

TEST_F(MisbehaviourTest, AFailedInitEndsTheRun) {
    const CommandResult result =
        simhost.run("init_fails", "steps: [postDeport]\n", {"--json", simhost.path("report.json")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(stage(1)["result"], "failed");
    EXPECT_EQ(stage(1)["mismatches"],
              Json({{{"what", "status"}, {"expected", "0"}, {"actual", "7"}}}));
    EXPECT_EQ(stage(2)["result"], "not run");
    EXPECT_EQ(stage(3)["operation"], "fini");
    EXPECT_EQ(stage(3)["result"], "not run");
    EXPECT_EQ(stage(4)["operation"], "unload");
    EXPECT_EQ(stage(4)["result"], "passed");
}

TEST_F(MisbehaviourTest, ACrashWhileLoadingShowsTheLastOutput) {
    const CommandResult result = simhost.run("entry_crash", "");
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, EndsWith("its process was killed by SIGABRT (Aborted)\n"
                                     "last lines of the provider's output:\n  no licence\n"));
}

TEST_F(MisbehaviourTest, ACrashBehindTheTracesStartShowsTheLastTrace) {
    const CommandResult result = simhost.run("trace_crash", "");
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr("its process was killed by SIGABRT (Aborted)\n"
                                      "last lines of the trace:\n"));
    EXPECT_THAT(result.err, EndsWith(" registered, and now to crash\n"));
}

struct BadProvider {
    const char* name;
    const char* reason;
};

class BadProviderTest : public MisbehaviourTest, public testing::WithParamInterface<BadProvider> {};

TEST_P(BadProviderTest, CannotBeLoaded) {
    const CommandResult result = simhost.run(GetParam().name, "");
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr("kzfi-simhost: " + simhost.scenario() +
                                      ":1: the provider " KZFI_PROVIDERS "/" + GetParam().name +
                                      ".so cannot be loaded: "));
    EXPECT_THAT(result.err, HasSubstr(GetParam().reason));
}

INSTANTIATE_TEST_SUITE_P(
    All, BadProviderTest,
    testing::Values(BadProvider{"entry_null", "its entry kzfi_create_provider gave no provider\n"},
                    BadProvider{
                        "entry_throws",
                        "its entry kzfi_create_provider threw std::runtime_error: no licence\n"},
                    BadProvider{"entry_missing", "it has no entry kzfi_create_provider\n"},
                    BadProvider{"entry_crash", "its process was killed by SIGABRT (Aborted)\n"},
                    BadProvider{"unresolved", "undefined symbol: _Z14definedNowherev\n"},
                    BadProvider{"not_there", "No such file or directory\n"}),
    [](const auto& test) { return std::string(test.param.name); });

} // namespace
