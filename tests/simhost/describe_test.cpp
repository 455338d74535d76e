#include "describe.h"

#include <gmock/gmock.h>

#include "command.h"

namespace {

using kzfi_simhost::Json;
using kzfi_tests::CommandResult;
using kzfi_tests::readFile;
using testing::ContainsRegex;
using testing::HasSubstr;

class DescribeTest : public testing::Test {
  protected:
    CommandResult describe(const std::string& provider, const std::string& setting = "",
                           const std::string& deadline = "60") {
        return simhost({"describe", KZFI_PROVIDERS "/" + provider + ".so", "--root",
                        simhost.path("root"), "--deadline", deadline, "--json",
                        simhost.path("description.json")},
                       setting);
    }

    Json description() { return Json::parse(readFile(simhost.path("description.json"))); }
    Json operation(std::size_t number) { return description()["operations"][number - 1]; }

    kzfi_tests::SimhostCommand simhost;
};

TEST_F(DescribeTest, AProviderWithoutNamesIsCalledAfterItsFile) {
    const CommandResult result = describe("rogue");
    EXPECT_EQ(result.status, 0) << result.out << result.err;
    EXPECT_THAT(result.out, HasSubstr("name      rogue\nFIM name  (none)\n"));
    EXPECT_THAT(result.out, Not(HasSubstr("parameters")));
    EXPECT_EQ(operation(54)["name"], "prePrepare");
    EXPECT_EQ(operation(54)["answer"]["status"], 0);
    EXPECT_EQ(description()["complete"], true);
}

TEST_F(DescribeTest, ACrashDoesNotEndTheTable) {
    const CommandResult result = describe("rogue", "ROGUE_CRASHES=1");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, ContainsRegex("\n +54  prePrepare +the provider's process was killed "
                                          "by SIGABRT .Aborted.\n"));
    EXPECT_EQ(description()["complete"], false);
    EXPECT_EQ(operation(54)["result"], "crashed");
    EXPECT_EQ(operation(53)["result"], "answered");
    EXPECT_EQ(operation(55)["result"], "answered");
    EXPECT_EQ(operation(83)["result"], "answered");
    EXPECT_EQ(operation(5)["name"], "fini");
    EXPECT_EQ(operation(5)["result"], "answered");
    EXPECT_EQ(operation(15)["name"], "deInitNode");
    EXPECT_EQ(operation(15)["result"], "answered");
}

TEST_F(DescribeTest, ACrashShowsItsLastTraceAndOutput) {
    const CommandResult result = describe("rogue", "ROGUE_CRASHES=1");
    const std::size_t place =
        result.out.find("\nprePrepare: the provider's process was killed by SIGABRT (Aborted)\n");
    ASSERT_NE(place, std::string::npos) << result.out;
    const std::string end = result.out.substr(place);
    EXPECT_THAT(end, HasSubstr("\nlast lines of the trace:\n"));
    EXPECT_THAT(end, HasSubstr("Entering Function getStatus ["));
    EXPECT_THAT(end, HasSubstr("\nlast lines of the provider's output:\n  about to crash\n"));
    const Json words = description()["lastWords"];
    ASSERT_EQ(words.size(), 1u);
    EXPECT_EQ(words[0]["title"], "prePrepare");
    EXPECT_EQ(words[0]["reason"], "the provider's process was killed by SIGABRT (Aborted)");
    EXPECT_EQ(words[0]["lastOutput"], Json({"about to crash"}));
    EXPECT_FALSE(words[0]["lastTrace"].empty());
}

TEST_F(DescribeTest, BothParameterListsAreAnswers) {
    const CommandResult result = describe("rogue");
    EXPECT_THAT(result.out, ContainsRegex("\n +3  globalConfigInfoList .*\n +list=1 "));
    EXPECT_THAT(result.out, ContainsRegex("\n +11  config .*\n +getparam list=1 "));
    for (const std::size_t number : {3, 11}) {
        ASSERT_EQ(operation(number)["further"].size(), 1u);
        EXPECT_EQ(operation(number)["further"][0]["result"], "answered");
    }
    EXPECT_EQ(operation(11)["further"][0]["title"], "config getparam list=1");
    EXPECT_FALSE(operation(10).contains("further"));
    EXPECT_FALSE(operation(4).contains("further"));
}

TEST_F(DescribeTest, ACrashOfAFurtherCallIsNotThatOfTheFirst) {
    EXPECT_EQ(describe("rogue", "ROGUE_HAS_ONE_LIST=1").status, 1);
    EXPECT_EQ(operation(3)["result"], "answered");
    const Json further = {{{"title", "globalConfigInfoList list=1"},
                           {"result", "crashed"},
                           {"reason", "the provider's process was killed by SIGABRT (Aborted)"}}};
    EXPECT_EQ(operation(3)["further"], further);
    EXPECT_EQ(operation(11)["further"][0]["result"], "answered");
    EXPECT_EQ(description()["complete"], false);
}

TEST_F(DescribeTest, AHangDoesNotEndTheTable) {
    EXPECT_EQ(describe("rogue", "ROGUE_HANGS=1", "3").status, 1);
    EXPECT_EQ(operation(54)["result"], "hung");
    EXPECT_EQ(operation(55)["result"], "answered");
}

TEST_F(DescribeTest, AfterAFailedInitNothingIsCalled) {
    const CommandResult result = describe("init_fails");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(operation(4)["answer"]["status"], 7);
    EXPECT_EQ(operation(6)["result"], "not called");
    EXPECT_EQ(operation(5)["result"], "not called");
}

TEST_F(DescribeTest, WhatCannotBeLoadedCannotBeDescribed) {
    const CommandResult result = describe("entry_null");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "kzfi-simhost: the provider " KZFI_PROVIDERS
                          "/entry_null.so cannot be loaded: its entry kzfi_create_provider gave "
                          "no provider\n");
}

} // namespace
