// What the random walk finds can be seen again.
#include <gmock/gmock.h>

#include <filesystem>

#include "simhost/command.h"

namespace {

using testing::HasSubstr;

class CheckWalkTest : public testing::Test {
  protected:
    kzfi_tests::CommandResult walk(const std::string& provider, const std::string& seed,
                                   const std::string& root) {
        return simhost({"check", KZFI_PROVIDERS "/twin_" + provider + ".so", "--config",
                        KZFI_CHECK_CONFIG, "--only", "walk.random", "--seed", seed, "--root",
                        simhost.path(root)});
    }

    std::string replayIn(const std::string& root) const {
        return simhost.path(root + "/walk.random/replay.yaml");
    }

    kzfi_tests::SimhostCommand simhost;
};

TEST_F(CheckWalkTest, WhatCrashesCrashesAgainInTheReplay) {
    const kzfi_tests::CommandResult checked = walk("walk_random", "1", "root");
    EXPECT_EQ(checked.status, 1);
    EXPECT_THAT(checked.out, HasSubstr("SIGABRT"));
    EXPECT_THAT(checked.out, HasSubstr("seed 1; replay: kzfi-simhost run " + replayIn("root")));
    const kzfi_tests::CommandResult again =
        simhost({"run", replayIn("root"), "--root", simhost.path("again")});
    EXPECT_EQ(again.status, 1);
    EXPECT_THAT(again.out, HasSubstr("SIGABRT"));
    EXPECT_THAT(again.out, HasSubstr("cacheFlush"));
}

TEST_F(CheckWalkTest, TheReplayOfAWalkWithoutFindingsPasses) {
    EXPECT_EQ(walk("sound", "7", "root").status, 0);
    const kzfi_tests::CommandResult again =
        simhost({"run", replayIn("root"), "--root", simhost.path("again")});
    EXPECT_EQ(again.status, 0) << again.out << again.err;
}

TEST_F(CheckWalkTest, TheSeedDecides) {
    for (const char* const root : {"one", "two", "other"}) {
        walk("sound", std::string(root) == "other" ? "8" : "7", root);
    }
    const auto stepsIn = [&](const std::string& root) {
        const std::string text = kzfi_tests::readFile(replayIn(root));
        return text.substr(text.find("steps:"));
    };
    EXPECT_GT(stepsIn("one").size(), 10000U);
    EXPECT_EQ(stepsIn("one"), stepsIn("two"));
    EXPECT_NE(stepsIn("one"), stepsIn("other"));
}

} // namespace
