// Steps of the host's own, and the credentials that it gives, as a scenario has them.
#include <gmock/gmock.h>

#include <filesystem>

#include "command.h"

namespace {

using kzfi_simhost::Json;
using kzfi_tests::readFile;
using kzfi_tests::writeFile;
using testing::HasSubstr;

namespace fs = std::filesystem;

class HostStepsTest : public testing::Test {
  protected:
    /// Runs one step behind fill and load; its entry in the report.
    Json step(const std::string& text) {
        const Json report = simhost.report("rogue", "steps:\n  - " + text + "\n");
        return report["steps"].at(2);
    }

    Json values(const std::string& text) { return step(text)["answer"]["values"]; }

    /// Why the step was not done; it must have failed.
    std::string refusal(const std::string& text) {
        const Json entry = step(text);
        EXPECT_EQ(entry["result"], "failed") << text;
        return entry["reason"].get<std::string>();
    }

    void write(const std::string& name, const std::string& content) {
        writeFile(simhost.path("root/" + name), content);
    }

    std::string content(const std::string& name) { return readFile(simhost.path("root/" + name)); }

    kzfi_tests::SimhostCommand simhost;
};

TEST_F(HostStepsTest, FillingMakesTheSameContentOfTheSameSeed) {
    EXPECT_EQ(step("host fill: {path: a/b/c, size: 1500001, seed: 7}")["result"], "passed");
    EXPECT_EQ(step("host fill: {path: d, size: 1500001, seed: 7}")["result"], "passed");
    EXPECT_EQ(content("d").size(), 1500001u);
    EXPECT_TRUE(content("a/b/c") == content("d"));
    step("host fill: {path: d, size: 1500001, seed: 8}");
    EXPECT_FALSE(content("a/b/c") == content("d"));
    EXPECT_FALSE(content("d").substr(0, 500000) == content("d").substr(1000000, 500000));
}

TEST_F(HostStepsTest, FillingWritesInPlace) {
    write("file", "a longer content");
    fs::create_hard_link(simhost.path("root/file"), simhost.path("root/same"));
    step("host fill: {path: file, size: 3}");
    EXPECT_EQ(content("same").size(), 3u);
    EXPECT_EQ(content("same"), content("file"));
    step("host fill: {path: file}");
    EXPECT_EQ(content("same"), "");
    EXPECT_TRUE(fs::exists(simhost.path("root/file")));
}

TEST_F(HostStepsTest, ComparingTellsTheFirstDifference) {
    const std::string large(2500000, 'x');
    std::string changed = large;
    changed[2200000] = 'y';
    write("large", large);
    write("copy", large);
    write("changed", changed);
    write("short", large.substr(1, 1048576));
    write("empty", "");
    const auto compare = [this](const std::string& path, const std::string& with) {
        return values("host compare: {path: " + path + ", with: " + with + "}");
    };
    const Json same = {{"same", true}, {"firstDifference", Json()}};
    EXPECT_EQ(compare("large", "copy"), same);
    EXPECT_EQ(compare("empty", "empty"), same);
    EXPECT_EQ(compare("large", "changed"), Json({{"same", false}, {"firstDifference", 2200000}}));
    EXPECT_EQ(compare("large", "short"), Json({{"same", false}, {"firstDifference", 1048576}}));
    EXPECT_EQ(compare("short", "large"), Json({{"same", false}, {"firstDifference", 1048576}}));
    EXPECT_EQ(compare("empty", "large"), Json({{"same", false}, {"firstDifference", 0}}));
}

TEST_F(HostStepsTest, ListingNamesWhatIsInAFolder) {
    write("folder/b", "");
    write("folder/.a", "");
    write("folder/c/d", "");
    EXPECT_EQ(values("host list: {folder: folder}")["files"], Json({".a", "b", "c"}));
    EXPECT_EQ(values("host list: {folder: none}")["files"], Json::array());
}

TEST_F(HostStepsTest, WhatCannotBeDoneFailsTheStepAndTheRunGoesOn) {
    write("file", "");
    const std::string root = fs::canonical(simhost.path("root")).string();
    EXPECT_EQ(refusal("host compare: {path: file, with: none}"),
              "cannot read " + root + "/none: No such file or directory");
    EXPECT_THAT(refusal("host compare: {path: trace, with: file}"), HasSubstr("/trace: "));
    EXPECT_THAT(refusal("host fill: {path: file/x, size: 1}"),
                HasSubstr("cannot write " + root + "/file/x: "));
    EXPECT_EQ(refusal("host fill: {path: file, size: -1}"), "a file of -1 bytes cannot be filled");
    const Json report =
        simhost.report("rogue", "steps:\n  - host compare: {path: a, with: b}\n  - postDeport\n");
    EXPECT_EQ(report["steps"].at(3)["result"], "passed");
}

TEST_F(HostStepsTest, LinksLeadNowhereOutOfTheRoot) {
    write("file", "");
    fs::create_symlink("/etc", simhost.path("root/out"));
    fs::create_symlink("/etc/passwd", simhost.path("root/link"));
    for (const char* const text :
         {"host fill: {path: out/x, size: 1}", "host fill: {path: link, size: 1}",
          "host compare: {path: file, with: link}", "host compare: {path: out/passwd, with: file}",
          "host list: {folder: out}"}) {
        EXPECT_THAT(refusal(text), HasSubstr("does not lie below the root")) << text;
    }
}

TEST_F(HostStepsTest, TheCommandListsThem) {
    const std::string all = simhost({"operations"}).out;
    EXPECT_THAT(all, HasSubstr("postDeport\n  node: node\n  alternate: node\n"
                               "host fill\n  path: path below the root\n  size: long number\n"
                               "  seed: long number\n"
                               "host compare\n  path: path below the root\n"
                               "  with: path below the root\n"
                               "host list\n  folder: path below the root\n"));
}

} // namespace
