// The disk image sample with tools that fail, hang, are aborted or leave something behind.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "diskimage_fixture.h"

namespace kzfi_tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace fs = std::filesystem;

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

class DiskImageToolTest : public DiskImageTest {
  protected:
    /// A disk whose target is chosen, in a host that uses this tool.
    void startWith(const std::string& script, const std::string& seconds = "60") {
        useTool(script);
        disk("00A3.raw", noise(1048576, 1));
        startHost();
        choose(SOURCE, "00B7", "raw", seconds);
    }

    std::string tool() const { return folder.path("tool"); }

    /// Waits until the tool has begun, that is until it wrote its process id to the file "pid".
    int waitForTool() const {
        while (readFile(folder.path("pid")).find('\n') == std::string::npos) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return std::stoi(readFile(folder.path("pid")));
    }

    std::string tellPid() const { return "echo $$ >" + folder.path("pid") + "\n"; }

    void expectNothingLeft() {
        EXPECT_THAT(files(), ElementsAre("00A3.raw"));
        EXPECT_TRUE(holds("00A3.raw", noise(1048576, 1)));
    }
};

// The last argument of a copy is the file to write.
const std::string WRITE_HALF = "for last; do :; done\nprintf half >\"$last\"\n";

const std::string PROGRESS_FOR_EVER =
    "while :; do printf '    (50.00/100%%)\\r'; sleep 0.05; done\n";

TEST_F(DiskImageToolTest, WhatAFailingToolSaysIsInTheMessage) {
    startWith(WRITE_HALF + "printf '    (3.00/100%%)\\r' \necho 'no <more> disk' >&2\n"
                           "echo 'second line'\nexit 7");
    EXPECT_EQ(make(), CANNOT_MAKE);
    EXPECT_EQ(said(), "diskimage: " + tool() + " failed: no (more> disk; second line");
    expectNothingLeft();
    EXPECT_EQ(make(), CANNOT_MAKE);
    EXPECT_EQ(said("de"), "diskimage: " + tool() + " ist gescheitert: no (more> disk; second line");
}

TEST_F(DiskImageToolTest, ASilentFailureIsToldByItsEnd) {
    startWith("exit 3");
    EXPECT_EQ(prepare(), CANNOT_PREPARE);
    EXPECT_EQ(said(), "diskimage: " + tool() + " failed: Command exited with status 3");
    EXPECT_EQ(make(), CANNOT_MAKE);
    EXPECT_EQ(said(), "diskimage: " + tool() + " failed: Command exited with status 3");
    writeFile(tool(), "#!/bin/sh\nkill -9 $$\n");
    EXPECT_EQ(make(), CANNOT_MAKE);
    EXPECT_EQ(said(), "diskimage: " + tool() + " failed: Command terminated by signal 9");
    expectNothingLeft();
}

TEST_F(DiskImageToolTest, OnlyTheEndOfAFloodOfWordsIsInTheMessage) {
    startWith("yes words | head -n 20000\necho 'the last ones'\nexit 1");
    EXPECT_EQ(make(), CANNOT_MAKE);
    const std::string words = said();
    EXPECT_THAT(words, StartsWith("diskimage: " + tool() + " failed: ..."));
    EXPECT_THAT(words, HasSubstr("words; the last ones"));
    EXPECT_LT(words.size(), 600u);
}

TEST_F(DiskImageToolTest, AMeasureThatSaysNothingIsAFailure) {
    startWith("echo something else");
    EXPECT_EQ(prepare(), CANNOT_PREPARE);
    EXPECT_EQ(said(), "diskimage: " + tool() + " failed: something else");
}

TEST_F(DiskImageToolTest, AToolThatCannotBeStartedIsNamed) {
    startWith("exit 0");
    fs::permissions(tool(), fs::perms(0644));
    EXPECT_EQ(make(), CANNOT_MAKE);
    EXPECT_EQ(said(), "diskimage: " + tool() + " cannot be started.");
    fs::remove(tool());
    EXPECT_EQ(prepare(), CANNOT_PREPARE);
    EXPECT_EQ(said("de"), "diskimage: " + tool() + " lässt sich nicht starten.");
    expectNothingLeft();
}

TEST_F(DiskImageToolTest, ARestoreThatFailsLeavesTheDiskAsItIs) {
    startWith(WRITE_HALF + "echo broken\nexit 1");
    disk("00B7.raw", noise(1048576, 2));
    EXPECT_EQ(restore(), CANNOT_RESTORE);
    EXPECT_EQ(said(), "diskimage: " + tool() + " failed: broken");
    fs::remove(inEnclosure("00B7.raw"));
    expectNothingLeft();
}

TEST_F(DiskImageToolTest, AToolThatReplacesTheFileDoesNotGetPublished) {
    startWith("for last; do :; done\nrm \"$last\"\necho other >\"$last\"");
    EXPECT_EQ(make(), CANNOT_MAKE);
    EXPECT_EQ(said(),
              "diskimage: " + inEnclosure("00B7.raw") + " is being written by somebody else.");
    expectNothingLeft();
}

TEST_F(DiskImageToolTest, ATargetThatAppearsMeanwhileIsKept) {
    startWith(WRITE_HALF + "printf theirs >\"${last%.part}\"");
    EXPECT_EQ(make(), CANNOT_MAKE);
    EXPECT_EQ(said(), "diskimage: The target " + inEnclosure("00B7.raw") +
                          " is in use; dispose of what it holds first.");
    EXPECT_EQ(content("00B7.raw"), "theirs");
    EXPECT_THAT(files(), ElementsAre("00A3.raw", "00B7.raw"));
}

TEST_F(DiskImageToolTest, WhatIsBeingMadeIsForItsOwnerOnly) {
    startWith(WRITE_HALF + "stat -c %a \"$last\" >" + folder.path("mode"));
    fs::permissions(inEnclosure("00A3.raw"), fs::perms(0644));
    EXPECT_EQ(make(), 0) << said();
    EXPECT_EQ(readFile(folder.path("mode")), "600\n");
}

TEST_F(DiskImageToolTest, ALinkInTheWayIsNotFollowed) {
    startWith(WRITE_HALF);
    disk("victim", "kept");
    fs::create_symlink(inEnclosure("victim"), inEnclosure("00B7.raw.part"));
    EXPECT_EQ(make(), CANNOT_MAKE);
    EXPECT_THAT(said(), StartsWith("diskimage: A file cannot be used: "));
    EXPECT_EQ(content("victim"), "kept");
}

// ---- Limits ----

TEST_F(DiskImageToolTest, AHangingToolIsEndedAtItsLimit) {
    startWith(tellPid() + WRITE_HALF + "echo thinking\nexec sleep 600", "1");
    const auto start = Clock::now();
    EXPECT_EQ(make(), CANNOT_MAKE);
    EXPECT_LT(secondsSince(start), 8);
    EXPECT_EQ(said(), "diskimage: " + tool() + " did not end within 1 s: thinking");
    expectNothingLeft();
    EXPECT_EQ(kill(waitForTool(), 0), -1) << "it must be gone";
}

TEST_F(DiskImageToolTest, AToolThatIgnoresSigtermIsKilled) {
    startWith("trap '' TERM\n" + tellPid() + WRITE_HALF + "while :; do sleep 0.1; done", "1");
    const auto start = Clock::now();
    EXPECT_EQ(make(), CANNOT_MAKE);
    EXPECT_LT(secondsSince(start), 10);
    EXPECT_EQ(said(), "diskimage: " + tool() + " did not end within 1 s: -");
    expectNothingLeft();
    EXPECT_EQ(kill(waitForTool(), 0), -1) << "it must be gone";
}

TEST_F(DiskImageToolTest, TheLimitIsForAllOfTheRunNotForSilence) {
    startWith(WRITE_HALF + PROGRESS_FOR_EVER, "1");
    const auto start = Clock::now();
    EXPECT_EQ(make(), CANNOT_MAKE);
    EXPECT_LT(secondsSince(start), 8);
    EXPECT_THAT(said(), StartsWith("diskimage: " + tool() + " did not end within 1 s: "));
    expectNothingLeft();
}

TEST_F(DiskImageToolTest, TheLimitHoldsForMeasuringToo) {
    startWith("exec sleep 600", "1");
    EXPECT_EQ(prepare(), CANNOT_PREPARE);
    EXPECT_EQ(said("de"), "diskimage: " + tool() + " kam nicht innerhalb von 1 s zum Ende: -");
}

// ---- Abort ----

TEST_F(DiskImageToolTest, AnAbortEndsACopyAtItsNextStep) {
    startWith(tellPid() + WRITE_HALF + PROGRESS_FOR_EVER);
    const auto start = Clock::now();
    std::string words;
    std::thread copy([&] {
        EXPECT_EQ(make(), CANNOT_MAKE);
        words = said();
    });
    const int pid = waitForTool();
    EXPECT_EQ(snapshotStatus(), 1) << "it is under way";
    EXPECT_EQ(status("objctl", {{"command", "abort"}}), 0);
    copy.join();
    EXPECT_LT(secondsSince(start), 10);
    EXPECT_EQ(words, "diskimage: " + tool() + " was aborted.");
    EXPECT_EQ(kill(pid, 0), -1) << "it must be gone";
    EXPECT_EQ(snapshotStatus(), 2);
    expectNothingLeft();
}

TEST_F(DiskImageToolTest, WhatBeginsAfterAnAbortIsNotAborted) {
    startWith(WRITE_HALF);
    EXPECT_EQ(status("objctl", {{"command", "abort"}}), 0);
    EXPECT_EQ(make(), 0) << said();
    EXPECT_EQ(content("00B7.raw"), "half");
}

TEST_F(DiskImageToolTest, ASilentCopyIsAbortedAtItsLimit) {
    startWith(tellPid() + WRITE_HALF + "exec sleep 600", "2");
    std::string words;
    std::thread copy([&] {
        EXPECT_EQ(make(), CANNOT_MAKE);
        words = said();
    });
    waitForTool();
    EXPECT_EQ(status("objctl", {{"command", "abort"}}), 0);
    copy.join();
    EXPECT_EQ(words, "diskimage: " + tool() + " was aborted.");
    expectNothingLeft();
}

TEST_F(DiskImageToolTest, NothingRunsOnWhenTheProcessShutsDown) {
    startWith(tellPid() + WRITE_HALF + PROGRESS_FOR_EVER);
    // Nothing takes the mark back, so it is set in a process of its own.
    const auto shutDown = [this] {
        std::thread([this] {
            waitForTool();
            kzfi_pdk_4_4::CFiPluginBase::isShuttingDown(true);
        }).detach();
        const bool ended = make() == CANNOT_MAKE;
        fs::remove(folder.path("pid"));
        const bool refused = prepare() == CANNOT_PREPARE && !fs::exists(folder.path("pid"));
        _exit(ended && refused ? 0 : 1);
    };
    EXPECT_EXIT(shutDown(), testing::ExitedWithCode(0), "");
    expectNothingLeft();
}

// ---- Leftovers, and two at once ----

/// Whoever makes a target holds this lock on its file.
class Maker {
  public:
    explicit Maker(const std::string& path)
        : descriptor(open(path.c_str(), O_RDWR | O_CREAT, 0600)) {
        struct flock lock = {};
        lock.l_type = F_WRLCK;
        lock.l_whence = SEEK_SET;
        lock.l_len = 1;
        EXPECT_EQ(fcntl(descriptor, F_OFD_SETLK, &lock), 0);
    }
    Maker(const Maker&) = delete;
    Maker& operator=(const Maker&) = delete;
    ~Maker() { close(descriptor); }

  private:
    int descriptor;
};

TEST_F(DiskImageToolTest, LeftoversOfAKilledProcessGoAwayWithTheNextInit) {
    disk("00B7.raw.part", "half");
    disk("00A3.raw.part", "half");
    disk("00B8.raw", "a snapshot");
    const Maker maker(inEnclosure("00B9.raw.part"));
    startHost();
    EXPECT_THAT(files(), ElementsAre("00B8.raw", "00B9.raw.part"));
}

TEST_F(DiskImageToolTest, ALeftoverIsUsedAnewByTheNextCopy) {
    disk("00A3.raw", noise(1048576, 1));
    startHost();
    choose();
    disk("00B7.raw.part", noise(3000000, 7));
    EXPECT_EQ(snapshotStatus(), 2) << "nobody makes it";
    EXPECT_EQ(make(), 0) << said();
    EXPECT_TRUE(holds("00B7.raw", noise(1048576, 1)));
    EXPECT_THAT(files(), ElementsAre("00A3.raw", "00B7.raw"));
}

TEST_F(DiskImageToolTest, ATargetThatSomebodyElseMakesIsLeftAlone) {
    disk("00A3.raw", noise(1048576, 1));
    startHost();
    choose();
    const Maker maker(inEnclosure("00B7.raw.part"));
    EXPECT_EQ(snapshotStatus(), 1);
    EXPECT_EQ(make(), CANNOT_MAKE);
    EXPECT_EQ(said(),
              "diskimage: " + inEnclosure("00B7.raw") + " is being written by somebody else.");
    EXPECT_THAT(files(), ElementsAre("00A3.raw", "00B7.raw.part"));
}

TEST_F(DiskImageToolTest, AProcessThatIsKilledLeavesNoSnapshot) {
    startWith(tellPid() + WRITE_HALF + PROGRESS_FOR_EVER);
    const auto die = [this] {
        std::thread([this] {
            waitForTool();
            kill(getpid(), SIGKILL);
        }).detach();
        make();
    };
    EXPECT_EXIT(die(), testing::KilledBySignal(SIGKILL), "");
    EXPECT_THAT(files(), ElementsAre("00A3.raw", "00B7.raw.part"));
    EXPECT_FALSE(exists(TARGET));
    useTool(WRITE_HALF);
    stopHost();
    startHost();
    expectNothingLeft();
}

TEST_F(DiskImageToolTest, TwoNodesAreCopiedAtOnce) {
    // Each waits for the other, so that both pass only together.
    startWith("for last; do :; done\ntouch " + folder.path("begun.$$") + "\n" + "while [ $(ls " +
              folder.path() +
              " | grep -c begun) -lt 2 ]; do sleep 0.02; done\nprintf copy >\"$last\"");
    disk("00A4.raw", noise(512, 2));
    choose(OTHER, "00B8");
    int first = -1;
    int second = -1;
    std::thread one([&] { first = make({SOURCE}); });
    std::thread other([&] { second = make({OTHER}); });
    one.join();
    other.join();
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 0);
    EXPECT_THAT(files(), ElementsAre("00A3.raw", "00A4.raw", "00B7.raw", "00B8.raw"));
}

TEST_F(DiskImageToolTest, OfTwoCopiesToOneTargetOneIsRefused) {
    startWith("for last; do :; done\nsleep 0.3\nprintf copy >\"$last\"");
    disk("00A4.raw", noise(512, 2));
    choose(OTHER, "00B7");
    int first = -1;
    int second = -1;
    std::thread one([&] { first = make({SOURCE}); });
    std::thread other([&] { second = make({OTHER}); });
    one.join();
    other.join();
    EXPECT_EQ(std::min(first, second), 0);
    EXPECT_EQ(std::max(first, second), CANNOT_MAKE);
    EXPECT_THAT(files(), ElementsAre("00A3.raw", "00A4.raw", "00B7.raw"));
}

// ---- In a child of the host ----

/// Runs what the framework is asked to run.
int runThroughShell(const char* command, char** text, size_t* length, void* context) {
    *static_cast<std::string*>(context) = command;
    FILE* const output = popen(command, "r");
    std::string all;
    for (int c = 0; (c = std::fgetc(output)) != EOF;) {
        all += static_cast<char>(c);
    }
    *length = all.size() + 1;
    *text = static_cast<char*>(kzfi_alloc_buf(*length));
    std::copy(all.c_str(), all.c_str() + *length, *text);
    return pclose(output);
}

TEST_F(DiskImageToolTest, InAChildContextTheFrameworkRunsTheTool) {
    startWith("for last; do :; done\n[ \"$1\" = measure ] && echo 'x' && echo 'required size: 5' "
              "&& exit\nprintf copy >\"$last\"");
    std::string command;
    kzfi_platform_set_child_context(1);
    kzfi_platform_set_command_runner(runThroughShell, &command);
    EXPECT_EQ(prepare(), 0) << said();
    EXPECT_EQ(command,
              "'" + tool() + "' 'measure' '-f' 'raw' '-O' 'raw' '" + inEnclosure("00A3.raw") + "'");
    EXPECT_EQ(make(), 0) << said();
    EXPECT_EQ(command, "'" + tool() + "' 'convert' '-p' '-f' 'raw' '-O' 'raw' '" +
                           inEnclosure("00A3.raw") + "' '" + inEnclosure("00B7.raw.part") + "'");
    EXPECT_EQ(content("00B7.raw"), "copy");
    writeFile(tool(), "#!/bin/sh\necho one\necho two\nexit 1\n");
    EXPECT_EQ(dispose(), 0);
    EXPECT_EQ(make(), CANNOT_MAKE);
    EXPECT_EQ(said(), "diskimage: " + tool() + " failed: one; two");
    EXPECT_THAT(files(), ElementsAre("00A3.raw"));
}

} // namespace
} // namespace kzfi_tests
