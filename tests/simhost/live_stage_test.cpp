#include "live_stage.h"

#include <gmock/gmock.h>

#include <csignal>
#include <regex>
#include <sstream>

#include "command.h"
#include "processes.h"
#include "terminal.h"
#include "text_tools.h"

namespace {

using namespace kzfi_simhost;
using kzfi_tests::onTerminal;
using kzfi_tests::Screen;
using kzfi_tests::TempDir;
using kzfi_tests::writeFile;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

namespace fs = std::filesystem;

class SizeBelowTest : public testing::Test {
  protected:
    void place(const std::string& name, std::size_t size) {
        writeFile(root.path() + "/" + name, std::string(size, 'x'));
    }

    TempDir folder;
    // The root's own name must not be taken for a pattern.
    const HostRoot root{folder.path("a[b]*")};
};

TEST_F(SizeBelowTest, SumsUpWhatThePatternNames) {
    place("enclosures/A/one", 100000);
    place("enclosures/B/two", 70000);
    place("enclosures/B/deep/three", 5000);
    EXPECT_EQ(sizeBelow(root, "enclosures/A/one"), 100000u);
    EXPECT_EQ(sizeBelow(root, "enclosures/B"), 75000u);
    EXPECT_EQ(sizeBelow(root, "enclosures/*"), 175000u);
    EXPECT_EQ(sizeBelow(root, "enclosures/B/t*"), 70000u);
    EXPECT_EQ(sizeBelow(root, "enclosures/C/*"), 0u);
}

TEST_F(SizeBelowTest, CountsWhatIsThereAndNotTheLength) {
    place("sparse", 70000);
    fs::resize_file(root.path() + "/sparse", 1 << 30);
    EXPECT_GE(sizeBelow(root, "sparse"), 65536u);
    EXPECT_LT(sizeBelow(root, "sparse"), 1u << 20);
}

TEST_F(SizeBelowTest, DoesNotFollowLinks) {
    place("seen/file", 1000);
    fs::create_symlink(root.path() + "/seen/file", root.path() + "/seen/link");
    fs::create_directory_symlink(root.path() + "/seen", root.path() + "/seen/loop");
    EXPECT_EQ(sizeBelow(root, "seen"), 1000u);
    EXPECT_EQ(sizeBelow(root, "seen/l*"), 0u);
}

class LiveStageTest : public testing::Test {
  protected:
    /// What stands on a terminal of the usual width, and what was written in all.
    std::string show(double seconds) {
        live.show(stage, seconds);
        Screen screen(80);
        screen.write(out.str());
        EXPECT_EQ(screen.wraps(), 0);
        return screen.rows().back();
    }

    TempDir folder;
    const HostRoot root{folder.path()};
    std::ostringstream out;
    // No terminal: the width is not known.
    LiveStage live{out, -1, root};
    Stage stage = [] {
        Stage made;
        made.title = "copy the disk";
        made.deadline = 30;
        return made;
    }();
};

TEST_F(LiveStageTest, ShortStagesAreNotSeen) {
    EXPECT_EQ(show(0.4), "");
    live.erase();
    EXPECT_EQ(out.str(), "");
}

TEST_F(LiveStageTest, ShowsTimeAndDeadline) {
    EXPECT_EQ(show(0.6), "  running  copy the disk  0.6 s of 30 s");
    stage.deadline = 2.5;
    EXPECT_EQ(show(1.24), "  running  copy the disk  1.2 s of 2.5 s");
}

TEST_F(LiveStageTest, ShowsTheSizeOfWhatIsWatched) {
    stage.watch = "target/*";
    EXPECT_EQ(show(1), "  running  copy the disk  1.0 s of 30 s  0 B");
    writeFile(folder.path("target/disk"), std::string(98304, 'x'));
    EXPECT_EQ(show(2), "  running  copy the disk  2.0 s of 30 s  96.0 KiB");
}

TEST_F(LiveStageTest, AShorterLineLeavesNothingOfALongerOne) {
    stage.deadline = 1234567;
    show(99999);
    stage.deadline = 3;
    EXPECT_EQ(show(1), "  running  copy the disk  1.0 s of 3 s");
    live.erase();
    Screen screen(80);
    screen.write(out.str());
    EXPECT_THAT(screen.rows(), testing::ElementsAre(""));
}

TEST_F(LiveStageTest, TheTitleGivesWayFirst) {
    stage.title = std::string(200, 'x');
    const std::string line = show(5);
    EXPECT_EQ(lengthOf(line), 79u);
    EXPECT_THAT(line, testing::EndsWith("x...  5.0 s of 30 s"));
}

TEST_F(LiveStageTest, TitlesCannotCommandTheTerminal) {
    stage.title = "a\033[2J\rb\nc";
    EXPECT_EQ(show(5), "  running  a\\x1b[2J\\x0db c  5.0 s of 30 s");
}

TEST_F(LiveStageTest, WideCharactersTakeTwoColumns) {
    for (int i = 0; i < 60; ++i) {
        stage.title += "快";
    }
    live.show(stage, 5);
    EXPECT_EQ(lengthOf(out.str().substr(1)), 79u);
}

TEST_F(LiveStageTest, TheEndErasesTheLine) {
    {
        LiveStage other(out, -1, root);
        other.show(stage, 5);
    }
    Screen screen(80);
    screen.write(out.str());
    EXPECT_THAT(screen.rows(), testing::ElementsAre(""));
}

/// The command with a provider whose step takes more than a second and writes 256 KiB meanwhile.
class LiveRunTest : public testing::Test {
  protected:
    static std::string steps() {
        return "steps:\n"
               "  - title: a slow one\n"
               "    objctl: {command: grow slowly}\n"
               "    watch: grown/*\n"
               "  - postDeport\n";
    }

    std::string shownOn(unsigned short columns) {
        simhost.place("rogue", steps());
        return onTerminal({KZFI_SIMHOST, "run", simhost.scenario(), "--root", simhost.path("root"),
                           "--color", "never"},
                          columns);
    }

    /// The kibibytes that the live line told, in order.
    static std::vector<double> sizesIn(const std::string& written) {
        const std::regex pattern("running  a slow one  [0-9.]+ s of 30 s  ([0-9.]+) KiB");
        std::vector<double> sizes;
        for (std::sregex_iterator each(written.begin(), written.end(), pattern), none; each != none;
             ++each) {
            sizes.push_back(std::stod((*each)[1]));
        }
        return sizes;
    }

    kzfi_tests::SimhostCommand simhost;
};

TEST_F(LiveRunTest, ATerminalShowsTimeAndGrowingSize) {
    const std::string written = shownOn(80);
    const std::vector<double> sizes = sizesIn(written);
    ASSERT_GE(sizes.size(), 2u) << written;
    EXPECT_LT(sizes.front(), sizes.back());
    EXPECT_TRUE(std::is_sorted(sizes.begin(), sizes.end()));
}

TEST_F(LiveRunTest, NothingOfItStaysOnTheScreen) {
    Screen screen(80);
    screen.write(shownOn(80));
    EXPECT_EQ(screen.wraps(), 0);
    const std::vector<std::string> rows = screen.rows();
    EXPECT_THAT(rows, Contains(testing::MatchesRegex("  ok       a slow one +0 +[0-9.]+ s")));
    EXPECT_THAT(rows, Not(Contains(HasSubstr("running"))));
    EXPECT_THAT(rows, Not(Contains(HasSubstr("KiB"))));
}

TEST_F(LiveRunTest, ANarrowTerminalIsNotLeftByTheLine) {
    const std::string written = shownOn(32);
    // Only the report's own lines are longer than the terminal is wide.
    const std::regex live("\r(  running[^\r\n]*)");
    int found = 0;
    for (std::sregex_iterator each(written.begin(), written.end(), live), none; each != none;
         ++each, ++found) {
        EXPECT_LE((*each)[1].length(), 31) << (*each)[1];
    }
    EXPECT_GE(found, 2);
}

TEST_F(LiveRunTest, AnInterruptIsSaidInALineOfItsOwn) {
    simhost.place("rogue", "steps:\n  - objctl: {command: leave a process and hang}\n");
    int status = 0;
    Screen screen(80);
    screen.write(
        onTerminal({KZFI_SIMHOST, "run", simhost.scenario(), "--root", simhost.path("root")}, 80,
                   "running", &status));
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGINT);
    const std::vector<std::string> rows = screen.rows();
    EXPECT_THAT(rows, Contains("kzfi-simhost: ended by SIGINT (Interrupt), and the provider's "
                               "process with it"));
    EXPECT_THAT(rows, Not(Contains(HasSubstr("running"))));
    const std::string output = kzfi_tests::readFile(simhost.path("root/output.txt"));
    ASSERT_EQ(output.substr(0, 5), "left ");
    EXPECT_TRUE(kzfi_tests::diesSoon(output.substr(5, output.find('\n') - 5)));
}

TEST_F(LiveRunTest, APipeOrFileSeesNothingOfIt) {
    const kzfi_tests::CommandResult result = simhost.run("rogue", steps());
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, Not(HasSubstr("running")));
    EXPECT_THAT(result.out, Not(HasSubstr("\r")));
    EXPECT_EQ(result.err, "");
}

} // namespace
