// The first sample, the way a user runs it.
#include <gmock/gmock.h>

#include <filesystem>

#include "command.h"
#include "support/fixed_paths.h"

namespace {

using kzfi_simhost::Json;
using kzfi_tests::CommandResult;
using kzfi_tests::readFile;
using testing::HasSubstr;

class HelloTest : public testing::Test {
  protected:
    CommandResult run(const std::vector<std::string>& options = {},
                      const std::string& setting = "") {
        std::vector<std::string> arguments = {"run",    KZFI_HELLO_FOLDER "/hello.yaml",
                                              "--root", simhost.path("root"),
                                              "--json", simhost.path("report.json")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return simhost(arguments, setting);
    }

    Json report() { return Json::parse(readFile(simhost.path("report.json"))); }

    kzfi_tests::SimhostCommand simhost;
};

TEST_F(HelloTest, TheScenarioPasses) {
    const CommandResult result = run();
    EXPECT_EQ(result.status, 0) << result.out << result.err;
    EXPECT_THAT(result.out, HasSubstr("\nPASSED  26 steps: 26 passed; "));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(report()["passed"], true);
    EXPECT_EQ(report()["name"], "hello");
    EXPECT_EQ(report()["fimName"], "hello");
}

TEST_F(HelloTest, PassesInAHostThatRunsInGerman) {
    EXPECT_EQ(run({}, "LC_ALL=de_DE.UTF-8").status, 0);
}

TEST_F(HelloTest, PassesTwiceOnTheSameRoot) {
    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(run().status, 0);
}

TEST_F(HelloTest, TracesUnderTheRoot) {
    const CommandResult result = run({"--trace"});
    const std::string file = report()["traceFile"];
    EXPECT_THAT(file, testing::StartsWith(simhost.path("root/trace/hello.log.")));
    const std::string trace = readFile(file);
    EXPECT_THAT(trace, HasSubstr("Entering Function init ["));
    EXPECT_THAT(trace, HasSubstr("ERROR: no room for a snapshot of /dev/disk1"));
    EXPECT_THAT(trace, HasSubstr("GET: Mode[0]: "));
    EXPECT_THAT(result.out, HasSubstr("\ntrace file " + file + "\n"));
    EXPECT_THAT(result.out, HasSubstr("ERROR: no room for a snapshot of /dev/disk1\n"));
    EXPECT_THAT(result.out, HasSubstr("trace     " + file + "\n"));
}

TEST_F(HelloTest, PrintsNothingAndIsUnloaded) {
    run();
    EXPECT_EQ(report()["outputFile"], "");
    const Json unload = report()["steps"].back();
    EXPECT_EQ(unload["operation"], "unload");
    EXPECT_EQ(unload["answer"]["values"], Json({{"references", 0}, {"unloaded", true}}));
}

TEST_F(HelloTest, LeavesTheProductsFolderAlone) {
    KZFI_NEEDS_PRIVATE_USR();
    EXPECT_EQ(run().status, 0);
    EXPECT_TRUE(std::filesystem::is_empty("/usr/tarnex"));
}

TEST_F(HelloTest, TheRootHoldsCataloguesAndConfiguration) {
    run();
    for (const char* const name : {"root", "en", "de"}) {
        const std::string bundle = std::string("resources/libhello/") + name + ".res";
        EXPECT_EQ(readFile(simhost.path("root/" + bundle)),
                  readFile(std::string(KZFI_HELLO_FOLDER "/") + bundle));
        EXPECT_NE(readFile(simhost.path("root/" + bundle)), "");
    }
    EXPECT_THAT(readFile(simhost.path("root/lib/kzfi/configfiles/hello.conf")),
                HasSubstr("DEBUG_TRACE_INFO"));
}

TEST_F(HelloTest, DescribesItself) {
    const CommandResult result =
        simhost({"describe", KZFI_HELLO_FOLDER "/hello.so", "--root", simhost.path("root"),
                 "--json", simhost.path("description.json")});
    EXPECT_EQ(result.status, 0) << result.out << result.err;
    EXPECT_THAT(result.out, HasSubstr("name      hello\nFIM name  hello\n"));
    EXPECT_THAT(result.out, testing::ContainsRegex("retries +int +SELECT +3 +1..5\n"));
    EXPECT_THAT(result.out, testing::ContainsRegex(
                                "speed +string_list +SELECT +normal +slow . normal . fast\n"));
    EXPECT_THAT(result.out, testing::ContainsRegex("\n +1  ~CFiPluginBase +not called\n"));
    EXPECT_THAT(result.out, testing::ContainsRegex("\n +51  restore +4 .not implemented."));
    EXPECT_THAT(result.out, testing::ContainsRegex("\n +83  postDeport +0\n"));

    const Json description = Json::parse(readFile(simhost.path("description.json")));
    EXPECT_EQ(description["parameters"][0][0], Json({{"name", "retries"},
                                                     {"type", "int"},
                                                     {"usage", "SELECT"},
                                                     {"default", "3"},
                                                     {"messageId", ""},
                                                     {"shared", false},
                                                     {"range", {1, 5}}}));
    EXPECT_EQ(description["parameters"][1], Json::array());
    EXPECT_EQ(description["operations"].size(), 83u);
    EXPECT_EQ(description["operations"][0]["result"], "not called");
    for (std::size_t i = 1; i < 83; ++i) {
        EXPECT_EQ(description["operations"][i]["result"], "answered") << i;
    }
}

} // namespace
