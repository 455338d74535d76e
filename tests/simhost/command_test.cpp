// The command line itself: exit statuses, options, and where complaints go.
#include <gmock/gmock.h>

#include <filesystem>

#include "command.h"

namespace {

using kzfi_simhost::Json;
using kzfi_tests::CommandResult;
using kzfi_tests::readFile;
using kzfi_tests::writeFile;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class CommandTest : public testing::Test {
  protected:
    kzfi_tests::SimhostCommand simhost;
};

TEST_F(CommandTest, AllAsExpectedIsZero) {
    EXPECT_EQ(simhost.run("rogue", "steps: [postDeport]\n").status, 0);
}

TEST_F(CommandTest, AnotherAnswerIsOne) {
    EXPECT_EQ(simhost.run("rogue", "steps:\n  - make:\n").status, 1);
    EXPECT_EQ(simhost.run("rogue", "steps:\n  - make:\n    expect: {status: 4}\n").status, 0);
}

TEST_F(CommandTest, ABadScenarioIsTwoAndNamesThePlace) {
    const CommandResult result = simhost.run("rogue", "steps:\n  - frobnicate\n");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "kzfi-simhost: " + simhost.scenario() +
                              ":3: unknown operation 'frobnicate'; beside its operation a step "
                              "has: expect, deadline, title, watch\n");
}

TEST_F(CommandTest, AMissingScenarioIsTwo) {
    const CommandResult result = simhost({"run", simhost.path("none.yaml")});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "kzfi-simhost: " + simhost.path("none.yaml") +
                              ": the file cannot be read: No such file or directory\n");
}

TEST_F(CommandTest, MissingCataloguesAreTwoAndNameThePlace) {
    const CommandResult result = simhost.run("rogue", "catalogues: none\n");
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err,
                HasSubstr(simhost.scenario() + ":2: the catalogues in " + simhost.path("none") +
                          " cannot be placed in " + simhost.path("root/resources/librogue") +
                          ": No such file or directory\n"));
}

TEST_F(CommandTest, AProviderThatWouldBeHiddenIsRefused) {
    writeFile(simhost.scenario(), "name: x\nprovider: /usr/tarnex/lib/kzfi/x.so\n");
    const CommandResult result = simhost({"run", simhost.scenario(), "--root", simhost.path("r")});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr(simhost.scenario() +
                                      ":2: the provider /usr/tarnex/lib/kzfi/x.so lies below "
                                      "/usr/tarnex, which is hidden during a run; copy it "
                                      "elsewhere\n"));
}

TEST_F(CommandTest, WrongUseIsTwo) {
    EXPECT_EQ(simhost({}).status, 2);
    EXPECT_EQ(simhost({"walk"}).status, 2);
    EXPECT_EQ(simhost({"run"}).status, 2);
    EXPECT_EQ(simhost({"run", "x.yaml", "--nonsense"}).status, 2);
    EXPECT_EQ(simhost({"run", "x.yaml", "--color", "sometimes"}).status, 2);
    EXPECT_EQ(simhost({"describe", "x.so", "--deadline", "-1"}).status, 2);
}

TEST_F(CommandTest, HelpIsZero) {
    const CommandResult result = simhost({"--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr("run"));
    EXPECT_THAT(result.out, HasSubstr("describe"));
}

TEST_F(CommandTest, ListsTheOperationsOfAStep) {
    const CommandResult result = simhost({"operations"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, StartsWith("delayedInit\nglobalConfigInfoList\n  list: 0 | 1\n"
                                       "  second: true or false\ninit\nfini\nclaim\n"
                                       "  object: text\n"));
    EXPECT_THAT(result.out, HasSubstr("config\n  mode: get | set | clear | getparam | set-again\n"
                                      "  node: node\n  list: 0 | 1 | none\n  session: text\n"
                                      "  text: text\n  parameters: parameters\n"));
    EXPECT_THAT(result.out, HasSubstr("prepare\n  nodes: nodes\n  second: nodes\n  session: text\n"
                                      "  options: number\n"));
    EXPECT_THAT(result.out, HasSubstr("unformat\n  resources: texts\n"));
}

TEST_F(CommandTest, WithoutARootAFreshOneIsMadeNamedAndKept) {
    writeFile(simhost.scenario(), "provider: " KZFI_PROVIDERS "/rogue.so\n");
    const CommandResult result = simhost({"run", simhost.scenario()}, "TMPDIR=" + simhost.path(""));
    ASSERT_EQ(result.status, 0) << result.err;
    const std::size_t start = result.out.find("root      ") + 10;
    const std::string root = result.out.substr(start, result.out.find('\n', start) - start);
    EXPECT_THAT(root, StartsWith(simhost.path("kzfi-simhost-")));
    EXPECT_TRUE(std::filesystem::is_directory(root + "/trace"));
}

TEST_F(CommandTest, FilesAreLaidIntoTheRootBeforeTheRun) {
    const CommandResult result = simhost.run("rogue", "files: {a/b: text, c: ''}\n");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(readFile(simhost.path("root/a/b")), "text");
    EXPECT_TRUE(std::filesystem::is_regular_file(simhost.path("root/c")));
}

TEST_F(CommandTest, AFileThatALinkLeadsOutOfTheRootIsRefused) {
    std::filesystem::create_directories(simhost.path("root"));
    std::filesystem::create_directory(simhost.path("elsewhere"));
    std::filesystem::create_symlink(simhost.path("elsewhere"), simhost.path("root/a"));
    std::filesystem::create_symlink(simhost.path("new"), simhost.path("root/b"));
    for (const std::string name : {"a/x", "b"}) {
        const CommandResult result = simhost.run("rogue", "files:\n  " + name + ": text\n");
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.err, "kzfi-simhost: " + simhost.scenario() + ":3: the file " +
                                  simhost.path("root/" + name) + " does not lie below the root " +
                                  simhost.path("root") + "\n");
    }
    EXPECT_TRUE(std::filesystem::is_empty(simhost.path("elsewhere")));
    EXPECT_FALSE(std::filesystem::exists(simhost.path("new")));
}

TEST_F(CommandTest, AFileThatCannotBeWrittenIsRefused) {
    std::filesystem::create_directories(simhost.path("root/a"));
    const CommandResult result = simhost.run("rogue", "files: {a: text}\n");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "kzfi-simhost: " + simhost.scenario() + ":2: cannot write " +
                              simhost.path("root/a") + ": Is a directory\n");
}

TEST_F(CommandTest, ANodeThatNoStepBroughtIsReportedAndTheRunGoesOn) {
    const CommandResult result = simhost.run("rogue",
                                             "nodes: [{name: a}]\n"
                                             "steps:\n"
                                             "  - interpose\n"
                                             "  - supportsFiType: {node: b}\n"
                                             "  - postDeport\n",
                                             {"--junit", simhost.path("r.xml")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, ContainsRegex("failed +supportsFiType b +- .*" + simhost.scenario() +
                                          ":5\n +node: there is no node 'b'; known: a\n"));
    EXPECT_THAT(result.out, HasSubstr("6 passed, 1 failed"));
    EXPECT_THAT(readFile(simhost.path("r.xml")),
                HasSubstr("node: there is no node &#39;b&#39;; known: a\ncall\n"));
}

TEST_F(CommandTest, TheTreeIsPrintedOnDemand) {
    const std::string nodes = "nodes: [{name: a, type: 3}, {name: b}]\n";
    EXPECT_THAT(simhost.run("rogue", nodes).out, Not(HasSubstr("\nnodes\n")));
    EXPECT_THAT(simhost.run("rogue", nodes, {"--tree"}).out,
                HasSubstr("\nnodes\n  a  type 3, flags 0x0, support level 0\n"
                          "  b  type 0, flags 0x0, support level 0\n"));
    EXPECT_EQ(simhost.report("rogue", nodes)["tree"][1]["name"], "b");
    EXPECT_THAT(simhost.run("rogue", nodes + "steps: [objctl: {command: abort}]\n", {"--tree"}).out,
                HasSubstr("\nnodes\n  not known: the run did not come to the end of its steps\n"));
}

TEST_F(CommandTest, ColoursAreForTerminals) {
    EXPECT_THAT(simhost.run("rogue", "").out, Not(HasSubstr("\033")));
    EXPECT_THAT(simhost.run("rogue", "", {"--color", "always"}).out,
                HasSubstr("\033[32mPASSED\033[0m"));
}

TEST_F(CommandTest, TraceSettingsAreKept) {
    const CommandResult off = simhost.run("rogue", "trace: {level: 0}\nsteps: [postDeport]\n");
    EXPECT_THAT(off.out, HasSubstr("\ntrace     none\n"));
    const CommandResult named =
        simhost.run("rogue", "trace: {file: my.log}\nsteps: [postDeport]\n");
    EXPECT_THAT(named.out, HasSubstr("\ntrace     " + simhost.path("root/trace/my.log.")));
}

TEST_F(CommandTest, NamesAreTheScenarios) {
    const Json report = simhost.report("rogue", "name: other\nfimName: fim\n");
    EXPECT_EQ(report["name"], "other");
    EXPECT_EQ(report["fimName"], "fim");
    EXPECT_EQ(simhost.report("rogue", "")["name"], "rogue");
}

TEST_F(CommandTest, ReportsAreWritten) {
    const CommandResult result =
        simhost.run("rogue", "steps: [postDeport]\n",
                    {"--json", simhost.path("r.json"), "--junit", simhost.path("r.xml")});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(Json::parse(readFile(simhost.path("r.json")))["passed"], true);
    EXPECT_THAT(readFile(simhost.path("r.xml")),
                HasSubstr("tests=\"5\" failures=\"0\" errors=\"0\" skipped=\"0\""));
}

TEST_F(CommandTest, AReportThatCannotBeWrittenIsTwo) {
    const CommandResult result = simhost.run("rogue", "", {"--json", simhost.path("none/r.json")});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "kzfi-simhost: cannot write " + simhost.path("none/r.json") +
                              ": No such file or directory\n");
}

} // namespace
