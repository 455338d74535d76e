// The child process runner: command lines, output, time limits and results with real children.
#include "cfiexecpipe.h"

#include <sys/wait.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <future>
#include <new>
#include <stdexcept>
#include <type_traits>

#include "host/exec_fixture.h"
#include "kzfi_platform_control.h"
#include "support/failing_memory.h"

namespace {

using kzfi_pdk_4_4::CFiExecPipePosix;
using kzfi_pdk_4_4::CFiTraceLog;
using kzfi_pdk_4_4::CFiTraceLogPtr;
using namespace kzfi_tests;
using testing::AllOf;
using testing::ElementsAre;
using testing::Ge;
using testing::IsEmpty;
using testing::Le;
using testing::SizeIs;

static_assert(!std::is_copy_constructible<CFiExecPipePosix>::value, "two owners of one child");
static_assert(!std::is_copy_assignable<CFiExecPipePosix>::value, "two owners of one child");

// ---- Command lines ----

class ParsingRunner : public CFiExecPipePosix {
  public:
    ParsingRunner() : CFiExecPipePosix(0) {}
    using CFiExecPipePosix::AddArgument;
    using CFiExecPipePosix::argumentCount;
    using CFiExecPipePosix::arguments;
    using CFiExecPipePosix::ParseCommand;

    /// The arguments up to the null that ends them.
    Texts list() const {
        Texts all;
        for (char* const* argument = arguments(); *argument != nullptr; ++argument) {
            all.push_back(*argument);
        }
        return all;
    }
};

Texts parsed(const std::string& command) {
    ParsingRunner runner;
    EXPECT_TRUE(runner.ParseCommand(command)) << command;
    EXPECT_EQ(static_cast<std::size_t>(runner.argumentCount()), runner.list().size());
    return runner.list();
}

TEST(ExecCommandLine, SplitsLikeAShell) {
    const struct {
        std::string command;
        Texts arguments;
    } cases[] = {
        {"/bin/echo", {"/bin/echo"}},
        {" \t/bin/echo \t a\tb ", {"/bin/echo", "a", "b"}},
        {"/bin/echo 'a b'", {"/bin/echo", "a b"}},
        {"/bin/echo \"a b\"", {"/bin/echo", "a b"}},
        {"/bin/echo a\\ b", {"/bin/echo", "a b"}},
        {"/bin/echo a\\\tb", {"/bin/echo", "a\tb"}},
        {"a' b 'c\" d \"e", {"a b c d e"}},
        {"''", {""}},
        {"a '' \"\"", {"a", "", ""}},
        {"\"it's\" 'say \"x\"'", {"it's", "say \"x\""}},
        {"'a\\b' \"c\\\\d\"", {"a\\b", "c\\\\d"}},
        {"'a\\' b", {"a\\", "b"}},
        {"a\\'b \\\"c \\\\", {"a'b", "\"c", "\\"}},
        {"\\a", {"a"}},
        {"a\nb $HOME * | ; #", {"a\nb", "$HOME", "*", "|", ";", "#"}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(parsed(c.command), c.arguments) << c.command;
    }
}

TEST(ExecCommandLine, RefusesWhatIsNotWellQuoted) {
    for (const char* command : {"", " ", " \t ", "a 'b", "a \"b", "'", "a\\", "\\", "'a'\"",
                                "\"a\\\"b\"", "a 'b\"c\" "}) {
        ParsingRunner runner;
        EXPECT_FALSE(runner.ParseCommand(command)) << command;
    }
}

TEST(ExecCommandLine, HoldsAnyNumberOfArguments) {
    for (const int count : {1, 9, 10, 11, 19, 20, 21, 1000}) {
        std::string command;
        for (int i = 0; i < count; ++i) {
            command += std::to_string(i) + " ";
        }
        const Texts arguments = parsed(command);
        ASSERT_THAT(arguments, SizeIs(count));
        EXPECT_EQ(arguments.back(), std::to_string(count - 1));
    }
}

TEST(ExecCommandLine, AddsArgumentsBehindThoseThereAre) {
    ParsingRunner runner;
    EXPECT_EQ(runner.arguments(), nullptr);
    EXPECT_EQ(runner.argumentCount(), 0);
    EXPECT_TRUE(runner.AddArgument("a'b c'defg", 6));
    EXPECT_TRUE(runner.AddArgument("", 0));
    EXPECT_EQ(runner.argumentCount(), 1);
    EXPECT_TRUE(runner.AddArgument("x", 1));
    EXPECT_TRUE(runner.AddArgument(nullptr, 0));
    EXPECT_THAT(runner.list(), ElementsAre("ab c", "x"));
}

TEST(ExecCommandLine, AddsNoBackslashThatProtectsNothing) {
    ParsingRunner runner;
    EXPECT_FALSE(runner.AddArgument("a\\", 2));
    EXPECT_TRUE(runner.AddArgument("'a\\'", 4));
}

TEST_F(ExecTest, AnswersSixForAMalformedCommand) {
    for (const char* command : {"", "  \t", "/bin/echo 'open", "/bin/echo end\\"}) {
        output = {"old"};
        EXPECT_EQ(run(command), 6);
        expectRecord(command, 6, 0, L"");
        EXPECT_THAT(output, ElementsAre("old"));
        EXPECT_EQ(trace.lines(),
                  (Lines{{1, "CFiExecPipePosix::ExecPipe ParseCommand operation has failed."}}));
    }
}

TEST_F(ExecTest, AnswersSevenForWhatIsNotExecutable) {
    writeFile(temp.path("plain"), "#!/bin/sh\n");
    const std::pair<std::string, std::string> cases[] = {
        {"echo hello", "echo"}, // no search in PATH
        {"/no/such/tool -x", "/no/such/tool"},
        {temp.path("plain"), temp.path("plain")},
        {"''", ""},
        {"'/bin/no echo'", "/bin/no echo"},
    };
    for (const auto& [command, program] : cases) {
        output = {"old"};
        EXPECT_EQ(run(command), 7);
        expectRecord(command, 7, 0, L"");
        EXPECT_THAT(output, ElementsAre("old"));
        EXPECT_EQ(trace.lines(), (Lines{{1, "CFiExecPipePosix::ExecPipe command [" + program +
                                                "] does not exists."}}));
    }
}

TEST_F(ExecTest, RunsTheArgumentsOfTheLastCommandOnly) {
    EXPECT_EQ(run("/bin/echo a b c"), 0);
    EXPECT_EQ(run("/bin/echo d"), 0);
    EXPECT_THAT(output, ElementsAre("d\n"));
}

// ---- Output ----

TEST_F(ExecTest, ReturnsTheLinesWithTheirNewlines) {
    output = {"old"};
    EXPECT_EQ(run("/bin/echo 'a b'  c"), 0);
    EXPECT_THAT(output, ElementsAre("a b c\n"));
    EXPECT_EQ(trace.lines(), (Lines{gotStatus(0)}));
    EXPECT_EQ(runner.getLastError().code, 0);
}

TEST_F(ExecTest, MixesBothStreamsInTheirOrder) {
    EXPECT_EQ(run(shell("echo one; echo two >&2; echo three; printf four >&2")), 0);
    EXPECT_THAT(output, ElementsAre("one\n", "two\n", "three\n", "four"));
}

TEST_F(ExecTest, ReturnsNothingForASilentCommand) {
    output = {"old"};
    EXPECT_EQ(run("/bin/true"), 0);
    EXPECT_THAT(output, IsEmpty());
}

TEST_F(ExecTest, ReturnsLongLinesInPieces) {
    const struct {
        std::size_t length; // of the line without its newline
        std::vector<std::size_t> pieces;
    } cases[] = {{8188, {8189}},
                 {8189, {8190}},
                 {8190, {8190, 1}},
                 {8191, {8190, 2}},
                 {16379, {8190, 8190}},
                 {16380, {8190, 8190, 1}},
                 {100000, std::vector<std::size_t>(13, 8190)}};
    for (const auto& c : cases) {
        const std::string line = std::string(c.length, 'x') + "\n";
        EXPECT_EQ(runOnFile("/bin/cat", line), 0);
        EXPECT_EQ(joined(output), line);
        std::vector<std::size_t> sizes;
        for (const std::string& piece : output) {
            sizes.push_back(piece.size());
        }
        if (c.length == 100000) {
            EXPECT_EQ(sizes.back(), 100001 - 12 * 8190u);
            sizes.back() = 8190;
        }
        EXPECT_EQ(sizes, c.pieces) << c.length;
    }
}

TEST_F(ExecTest, EndsALineAtItsFirstNul) {
    using namespace std::string_literals;
    EXPECT_EQ(runOnFile("/bin/cat", "ab\0cd\n\0x\nef\n\0"s), 0);
    EXPECT_THAT(output, ElementsAre("ab", "", "ef\n", ""));
}

TEST_F(ExecTest, ReadsTheInputFileOrNothing) {
    EXPECT_EQ(runOnFile("/bin/cat", "from\nfile"), 0);
    EXPECT_THAT(output, ElementsAre("from\n", "file"));
    EXPECT_EQ(run("/bin/cat"), 0);
    EXPECT_THAT(output, IsEmpty());
    EXPECT_EQ(run("/usr/bin/readlink /proc/self/fd/0"), 0);
    EXPECT_THAT(output, ElementsAre("/dev/null\n"));
}

TEST_F(ExecTest, ReadsSixtyFourMegabytes) {
    EXPECT_EQ(run(shell("yes 0123456789012345678901234567890123456789 | head -c 67108864")), 0);
    const std::size_t line = 41;
    ASSERT_THAT(output, SizeIs(67108864 / line + 1));
    EXPECT_THAT(joined(output), SizeIs(67108864));
    EXPECT_EQ(output[1000000], "0123456789012345678901234567890123456789\n");
}

TEST_F(ExecTest, ReadLineNeedsAnOpenPipeAndRoom) {
    EXPECT_EQ(readLine(), "");
    EXPECT_FALSE(got);
    ASSERT_EQ(start("/bin/echo abc"), 0);
    for (const int size : {1, 0, -1}) {
        char buffer[2] = {'z', '\0'};
        timedOut = 9;
        EXPECT_FALSE(runner.ReadLine(buffer, size, &timedOut, 10));
        EXPECT_EQ(timedOut, 0);
        EXPECT_STREQ(buffer, "z");
    }
    EXPECT_EQ(readLine(10, 2), "a");
    EXPECT_EQ(readLine(10, 3), "bc");
    EXPECT_EQ(readLine(10, 3), "\n");
    EXPECT_EQ(readLine(10, 3), "");
    EXPECT_EQ(timedOut, 0);
    EXPECT_EQ(runner.Close(10), 0);
}

TEST_F(ExecTest, DropsWhatAnEarlierCommandLeft) {
    ASSERT_EQ(start("/usr/bin/printf 'one\\ntwo\\n'"), 0);
    EXPECT_EQ(readLine(), "one\n");
    EXPECT_EQ(runner.Close(10), 0);
    ASSERT_EQ(start("/bin/echo three"), 0);
    EXPECT_EQ(readLine(), "three\n");
    EXPECT_EQ(runner.Close(10), 0);
}

// ---- Time limits ----

TEST_F(ExecTest, GivesUpOnASilentCommand) {
    const auto begin = Clock::now();
    EXPECT_EQ(run(shell("echo one; printf part; exec sleep 60"), 2), 5);
    EXPECT_THAT(secondsSince(begin), AllOf(Ge(1.99), Le(20)));
    EXPECT_THAT(output, ElementsAre("one\n"));
    expectRecord(shell("echo one; printf part; exec sleep 60"), 5, 0, L"");
    EXPECT_EQ(trace.lines(), (Lines{{1, "Process has timmedout (2 sec)"}}));
    // Neither ended nor reaped; what is left to do is a Close().
    EXPECT_EQ(readLine(), "");
    EXPECT_EQ(runner.Close(0), 12);
    EXPECT_EQ(trace.lines(), killed(SIGTERM));
}

TEST_F(ExecTest, TellsOfAnUnfinishedLineBesideTheTimeLimit) {
    ASSERT_EQ(start(shell("printf abc; exec sleep 60")), 0);
    EXPECT_EQ(readLine(2), "abc");
    EXPECT_TRUE(got);
    EXPECT_EQ(timedOut, 1);
    EXPECT_EQ(readLine(2), "");
    EXPECT_FALSE(got);
    EXPECT_EQ(timedOut, 0);
    EXPECT_EQ(runner.Close(0), 12);
}

TEST_F(ExecTest, CountsSilenceNotTime) {
    EXPECT_EQ(run(shell("for i in 1 2 3 4; do printf x; sleep 0.6; done"), 2), 0);
    EXPECT_THAT(output, ElementsAre("xxxx"));
}

TEST_F(ExecTest, DoesNotWaitWithALimitOfZero) {
    const auto begin = Clock::now();
    EXPECT_EQ(run("/bin/sleep 60", 0), 5);
    EXPECT_LT(secondsSince(begin), 5);
    EXPECT_EQ(trace.lines(), (Lines{{1, "Process has timmedout (0 sec)"}}));
    EXPECT_EQ(runner.Close(0), 12);

    ASSERT_EQ(start("/bin/echo there"), 0);
    EXPECT_EQ(runner.WaitPid(10), 0) << "the output is there now";
    EXPECT_EQ(readLine(0), "there\n");
    EXPECT_EQ(readLine(0), "");
    EXPECT_EQ(timedOut, 0) << "the end is no time limit";
}

TEST_F(ExecTest, IsOverAtOnceWithANegativeLimit) {
    EXPECT_EQ(run("/bin/echo there", ULONG_MAX), 5);
    EXPECT_THAT(output, IsEmpty());
    EXPECT_EQ(trace.lines(), (Lines{{1, "Process has timmedout (-1 sec)"}}));
    runner.Close(10);

    ASSERT_EQ(start("/bin/echo there"), 0);
    EXPECT_EQ(runner.WaitPid(10), 0) << "the output is there now";
    EXPECT_EQ(readLine(-5), "");
    EXPECT_EQ(timedOut, 1);
}

TEST_F(ExecTest, WaitsWithAnyLimit) {
    EXPECT_EQ(run(shell("sleep 0.2; echo late"), LONG_MAX), 0);
    EXPECT_THAT(output, ElementsAre("late\n"));
}

TEST_F(ExecTest, BitZeroEndsTheChildThatTheTimeLimitLeft) {
    CFiExecPipePosix closing(Texts{"kept"}, 1);
    closing.registerTraceLog(trace.log());
    const std::string command = shell("trap \"exit 4\" TERM; while :; do sleep 0.1; done");
    EXPECT_EQ(closing.Exec(command, output, "", 1, "", "", ""), 5);
    EXPECT_EQ(closing.getLastError().code, 11);
    EXPECT_EQ(closing.getLastError().detail, 4);
    Lines expected = {{1, "Process has timmedout (1 sec)"}};
    for (const TracedLine& line : exited(4)) {
        expected.push_back(line);
    }
    expected.push_back({2, "Close of the process returned 11"});
    EXPECT_EQ(trace.lines(), expected);
}

// ---- Results ----

TEST_F(ExecTest, TellsTheExitStatus) {
    for (const int status : {1, 3, 255}) {
        const std::string command = shell("exit " + std::to_string(status));
        EXPECT_EQ(run(command), 11);
        expectRecord(command, 11, status, L"Command exited with status " + std::to_wstring(status));
        EXPECT_EQ(trace.lines(), exited(status));
    }
}

TEST_F(ExecTest, TellsTheSignal) {
    for (const int signal : {SIGKILL, SIGTERM, SIGUSR1}) {
        const std::string command = shell("kill -" + std::to_string(signal) + " $$");
        EXPECT_EQ(run(command), 12);
        expectRecord(command, 12, signal,
                     L"Command terminated by signal " + std::to_wstring(signal));
        EXPECT_EQ(trace.lines(), killed(signal));
    }
}

TEST_F(ExecTest, KeepsTheRecordWhenALaterCommandSucceeds) {
    EXPECT_EQ(run(shell("exit 3")), 11);
    EXPECT_EQ(run("/bin/true"), 0);
    expectRecord(shell("exit 3"), 11, 3, L"Command exited with status 3");
}

TEST_F(ExecTest, WorksWithoutATraceLog) {
    CFiExecPipePosix silent(1);
    EXPECT_EQ(silent.Exec(shell("exit 3"), output, "", 10, "", "", ""), 11);
    EXPECT_EQ(silent.Exec("echo", output, "", 10, "", "", ""), 7);
    EXPECT_EQ(silent.Exec("'", output, "", 10, "", "", ""), 6);
    EXPECT_EQ(silent.Exec("/bin/sleep 1", output, "", 0, "", "", ""), 5);
}

// A runner that answers a wait status of the test's choice for a child that has ended.
class StatusRunner : public CFiExecPipePosix {
  public:
    explicit StatusRunner(int status) : CFiExecPipePosix(0), answer(status) {}
    int WaitPid(long timeout) override {
        limits.push_back(timeout);
        CFiExecPipePosix::WaitPid(timeout);
        return answer;
    }
    std::vector<long> limits;

  private:
    const int answer;
};

TEST(ExecStatus, IsJudgedByTheRawNumber) {
    const struct {
        int status;
        int code;
        int detail;
        std::string text;
        std::wstring message;
    } cases[] = {
        {0x0000, 0, 0, "", L""},
        {0x0300, 11, 3, "Command exited with status 3", L"Command exited with status 3"},
        {0x0009, 12, 9, "Command terminated by signal 9", L"Command terminated by signal 9"},
        {0x0086, 12, 6, "Command terminated by signal 6", L"Command terminated by signal 6"},
        {0x137f, 13, 0, "Command terminated with unexpected status: 4991",
         L"Command terminated with unexpected status: 4991"},
        {0x00ff, 13, 0, "Command terminated with unexpected status: 255",
         L"Command terminated with unexpected status: 255"},
        {0x0080, 0, 0, "", L""},
        {-1, 8, 0, "Unexpected error encountered.", L"Error in WaitPid()"},
    };
    for (const auto& c : cases) {
        StatusRunner runner(c.status);
        ASSERT_EQ(runner.ExecPipe("/bin/true", ""), 0);
        TraceCapture trace(2);
        runner.registerTraceLog(trace.log());
        EXPECT_EQ(runner.Close(17), c.code);
        EXPECT_THAT(runner.limits, ElementsAre(17));
        EXPECT_EQ(trace.lines(), c.text.empty() ? Lines() : Lines({{2, c.text}}));
        EXPECT_EQ(runner.getLastError().code, c.code);
        EXPECT_EQ(runner.getLastError().detail, c.detail);
        EXPECT_EQ(runner.getLastError().message, c.message);
        EXPECT_EQ(runner.getLastError().command, c.code == 0 ? "" : "/bin/true");
        EXPECT_EQ(runner.Close(17), 0) << "the child is gone";
    }
}

// ---- Waiting for the end ----

TEST_F(ExecTest, HasNobodyToWaitForAtFirst) {
    EXPECT_EQ(runner.WaitPid(0), -1);
    EXPECT_EQ(trace.lines(),
              (Lines{{1, "CFiExecPipePosix::WaitPid ERROR: invalid child process pid"}}));
    EXPECT_EQ(runner.Close(0), 0);
    EXPECT_THAT(trace.lines(), IsEmpty());
}

TEST_F(ExecTest, WaitPidGivesTheRawStatusOnce) {
    const std::string command = shell("exit 3");
    ASSERT_EQ(start(command), 0);
    EXPECT_EQ(runner.WaitPid(10), 0x0300);
    EXPECT_EQ(trace.lines(), (Lines{gotStatus(0x0300)}));
    EXPECT_EQ(runner.Close(10), 8);
    EXPECT_EQ(trace.lines(), (Lines{{1, "CFiExecPipePosix::WaitPid ERROR: waitpid got ECHILD"},
                                    {2, "Unexpected error encountered."}}));
    expectRecord(command, 8, 0, L"Error in WaitPid()");
    EXPECT_EQ(runner.WaitPid(10), -1);
    EXPECT_EQ(trace.lines(),
              (Lines{{1, "CFiExecPipePosix::WaitPid ERROR: invalid child process pid"}}));
}

TEST_F(ExecTest, SignalsNobodyAfterTheChildWasReaped) {
    ASSERT_EQ(start("/bin/true"), 0);
    EXPECT_EQ(runner.WaitPid(10), 0);
    trace.lines();
    EXPECT_EQ(runner.WaitPid(-1), -1);
    const Lines lines = trace.lines();
    ASSERT_THAT(lines, SizeIs(3));
    EXPECT_THAT(lines[0].text, testing::MatchesRegex("CFiExecPipePosix::WaitPid ERROR: "
                                                     "kill\\([0-9]+, SIGTERM\\) failed, errno 3"));
}

TEST_F(ExecTest, EndsAChildThatIgnoresSigterm) {
    ASSERT_EQ(start(shell("trap \"\" TERM; echo ready; while :; do sleep 0.1; done")), 0);
    EXPECT_EQ(readLine(), "ready\n");
    const auto begin = Clock::now();
    EXPECT_EQ(runner.Close(1), 12);
    // Two periods of more than one second, up to two.
    EXPECT_THAT(secondsSince(begin), AllOf(Ge(2.0), Le(10)));
    EXPECT_EQ(trace.lines(), killed(SIGKILL));
}

TEST_F(ExecTest, WaitsLongerThanTheLimitOnlyUntilTheNextSecond) {
    ASSERT_EQ(start("/bin/sleep 60"), 0);
    const auto begin = Clock::now();
    EXPECT_EQ(runner.WaitPid(1), SIGTERM);
    EXPECT_THAT(secondsSince(begin), AllOf(Ge(1.0), Le(10)));
    runner.Close(0);
}

TEST_F(ExecTest, EndsAStoppedChild) {
    EXPECT_EQ(run(shell("kill -STOP $$"), 1), 5);
    trace.lines();
    EXPECT_EQ(runner.Close(0), 12);
    EXPECT_EQ(trace.lines(), killed(SIGKILL));
    expectRecord(shell("kill -STOP $$"), 12, SIGKILL, L"Command terminated by signal 9");
}

TEST_F(ExecTest, SkipsThePeriodsOfANegativeLimit) {
    ASSERT_EQ(start(shell("trap \"\" TERM; echo ready; while :; do sleep 0.1; done")), 0);
    EXPECT_EQ(readLine(), "ready\n");
    EXPECT_EQ(runner.WaitPid(-1), -1);
    EXPECT_EQ(trace.lines(),
              (Lines{{1, "CFiExecPipePosix::WaitPid ERROR: child process appears to be hung"}}));
    EXPECT_EQ(runner.WaitPid(10), SIGKILL) << "but both signals were sent";
}

TEST_F(ExecTest, AGrandchildMayKeepThePipeOpen) {
    const std::string command = shell("sleep 6 & echo started");
    EXPECT_EQ(run(command, 2), 5);
    EXPECT_THAT(output, ElementsAre("started\n"));
    trace.lines();
    EXPECT_EQ(runner.Close(0), 0);
    EXPECT_EQ(trace.lines(), (Lines{gotStatus(0)}));
}

TEST_F(ExecTest, ShortCommandsAreReapedSoon) {
    double fastest = 60;
    for (int i = 0; i < 20; ++i) {
        const auto begin = Clock::now();
        // Still there when its output has ended.
        EXPECT_EQ(run(shell("exec >&- 2>&-; exec sleep 0.005")), 0);
        fastest = std::min(fastest, secondsSince(begin));
    }
    EXPECT_LT(fastest, 0.09) << "pauses of a tenth of a second each cost more";
}

TEST_F(ExecTest, TheDestructorLeavesNoChildAndNoDescriptor) {
    const std::size_t before = openDescriptors();
    {
        CFiExecPipePosix other(0);
        EXPECT_EQ(other.Exec("/bin/sleep 1", output, "", 0, "", "", ""), 5);
    }
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
    EXPECT_EQ(openDescriptors(), before);
}

void throwAtTheEndOfAChild(const char* line, int) {
    if (std::string(line).find("waitpid got") != std::string::npos) {
        throw std::runtime_error("handler");
    }
}

TEST_F(ExecTest, TheDestructorLetsNoExceptionOut) {
    const CFiTraceLogPtr log(new CFiTraceLog);
    log->registerLogHandler(throwAtTheEndOfAChild, 6);
    {
        CFiExecPipePosix other(0);
        other.registerTraceLog(log);
        ASSERT_EQ(other.ExecPipe("/bin/true", ""), 0);
    }
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(ExecTest, WithoutMemoryNothingIsLeftBehind) {
    if (!controlsAllocations()) {
        GTEST_SKIP() << "a sanitizer has the allocator to itself";
    }
    const std::size_t before = openDescriptors();
    int failures = 0;
    for (bool failed = true; failed; failures += failed ? 1 : 0) {
        {
            CFiExecPipePosix other(0);
            failAllocation(failures + 1);
            try {
                other.ExecMain("/bin/echo a", output, "", 20, "", "", "");
            } catch (const std::bad_alloc&) {
            }
            failed = allocationFailed();
        }
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << failures;
        EXPECT_EQ(openDescriptors(), before) << failures;
    }
    EXPECT_GT(failures, 3);
    EXPECT_THAT(output, ElementsAre("a\n"));
}

// Counts the children that were started.
class CountingRunner : public CFiExecPipePosix {
  public:
    CountingRunner() : CFiExecPipePosix(0) {}
    int WaitPid(long timeout) override {
        ++children;
        return CFiExecPipePosix::WaitPid(timeout);
    }
    int children = 0;
};

TEST_F(ExecTest, ACommandIsStartedOnlyWithTheMemoryToReadIt) {
    if (!controlsAllocations()) {
        GTEST_SKIP() << "a sanitizer has the allocator to itself";
    }
    int failures = 0;
    for (bool failed = true; failed; failures += failed ? 1 : 0) {
        CountingRunner other;
        const std::string command = "/bin/true";
        int result = -1;
        failAllocation(failures + 1);
        try {
            result = other.ExecPipe(command, "");
        } catch (const std::bad_alloc&) {
        }
        failed = allocationFailed();
        other.Close(10);
        EXPECT_EQ(other.children, result == 0 ? 1 : 0) << failures;
    }
    EXPECT_GT(failures, 0);
}

TEST_F(ExecTest, ForgetsTheChildOnInit) {
    ASSERT_EQ(start("/bin/true"), 0);
    runner.Init();
    EXPECT_EQ(readLine(), "");
    EXPECT_EQ(runner.Close(10), 0);
    EXPECT_GT(waitpid(-1, nullptr, 0), 0);
}

TEST_F(ExecTest, ClosesTheOldPipeWhenStartingAnew) {
    const std::size_t before = openDescriptors();
    ASSERT_EQ(start("/bin/echo one"), 0);
    ASSERT_EQ(start("/bin/echo two"), 0);
    EXPECT_EQ(readLine(), "two\n");
    EXPECT_EQ(runner.Close(10), 0);
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_GT(waitpid(-1, nullptr, 0), 0) << "the first child was forgotten";
}

// ---- Failures in the child ----

TEST_F(ExecTest, TracesAnInputFileThatCannotBeOpened) {
    const std::string missing = temp.path("missing");
    EXPECT_EQ(run("/bin/cat", 10, missing), 11);
    expectRecord("/bin/cat", 11, 1, L"Command exited with status 1");
    EXPECT_EQ(trace.lines(),
              failedInChild("Could not open '" + missing + "' for reading, errno 2"));
    EXPECT_THAT(output, IsEmpty());
}

TEST_F(ExecTest, TracesAProgramThatCannotBeExecuted) {
    const std::string text = temp.path("text");
    writeFile(text, "no interpreter is named here\n");
    chmod(text.c_str(), 0755);
    EXPECT_EQ(run(text), 11);
    EXPECT_EQ(trace.lines(), failedInChild("execv() failed, errno 8"));

    EXPECT_EQ(run(temp.path()), 11);
    expectRecord(temp.path(), 11, 1, L"Command exited with status 1");
    EXPECT_EQ(trace.lines(), failedInChild("execv() failed, errno 13"));
}

TEST_F(ExecTest, TracesAFailureOfAChildWhoseOutputIsNotRead) {
    ASSERT_EQ(start(temp.path()), 0);
    EXPECT_EQ(runner.Close(10), 11);
    EXPECT_EQ(trace.lines(), (Lines{gotStatus(0x0100),
                                    {1, "CFiExecPipePosix::ExecPipe ERROR: execv() failed, "
                                        "errno 13"},
                                    {2, "Command exited with status 1"}}));
}

TEST_F(ExecTest, ForgetsFailuresOfEarlierChildren) {
    ASSERT_EQ(start(temp.path()), 0);
    runner.Init();
    EXPECT_GT(waitpid(-1, nullptr, 0), 0);
    EXPECT_EQ(run("/bin/true"), 0);
    EXPECT_EQ(trace.lines(), (Lines{gotStatus(0)}));
}

TEST_F(ExecTest, AFifoAsInputHoldsNobody) {
    const std::string fifo = temp.path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(run("/bin/cat", 0, fifo), 5);
    trace.lines();
    EXPECT_EQ(runner.Close(0), 12);
    EXPECT_EQ(trace.lines(), killed(SIGTERM));

    std::thread writer([&] { writeFile(fifo, "through the pipe\n"); });
    EXPECT_EQ(run("/bin/cat", 20, fifo), 0);
    EXPECT_THAT(output, ElementsAre("through the pipe\n"));
    writer.join();
}

// ---- Abort ----

// Tells when it waits for its second line.
class TellingRunner : public CFiExecPipePosix {
  public:
    TellingRunner() : CFiExecPipePosix(0) {}
    bool ReadLine(char* buffer, int size, unsigned char* timedOut, long timeout) override {
        if (++reads == 2) {
            waits.set_value();
        }
        return CFiExecPipePosix::ReadLine(buffer, size, timedOut, timeout);
    }
    std::promise<void> waits;

  private:
    int reads = 0;
};

TEST_F(ExecTest, AnAbortFromAnotherThreadEndsTheReading) {
    TellingRunner telling;
    const std::string aborted = temp.path("aborted");
    const std::string command = shell("echo one; while [ ! -e " + aborted +
                                      " ]; do sleep 0.01; "
                                      "done; echo two; while sleep 0.05; do echo more; done");
    std::thread other([&] {
        telling.waits.get_future().wait();
        telling.Abort();
        writeFile(aborted, "");
    });
    EXPECT_EQ(telling.ExecMain(command, output, "", 60, "", "", ""), 12);
    other.join();
    // The line that was being waited for still came; the next one met a closed pipe.
    EXPECT_THAT(output, ElementsAre("one\n", "two\n"));
    EXPECT_EQ(telling.getLastError().detail, SIGPIPE);
    EXPECT_EQ(telling.getLastError().message, L"Command terminated by signal 13");
    EXPECT_TRUE(telling.IsAbortRequested());
}

TEST_F(ExecTest, AfterAnAbortNothingIsRead) {
    runner.Abort();
    output = {"old"};
    EXPECT_EQ(run(shell("exit 3")), 11);
    EXPECT_THAT(output, IsEmpty());
}

// ---- The child context ----

class ExecInChildContext : public ExecTest {
  protected:
    ExecInChildContext() {
        kzfi_platform_reset();
        kzfi_platform_set_child_context(1);
        kzfi_platform_set_command_runner(&ExecInChildContext::answerCommand, this);
    }
    ~ExecInChildContext() override { kzfi_platform_reset(); }

    static int answerCommand(const char* command, char** text, size_t* length, void* context) {
        ExecInChildContext& self = *static_cast<ExecInChildContext*>(context);
        self.commands.push_back(command);
        *length = self.length;
        if (self.length != 0) {
            *text = static_cast<char*>(kzfi_alloc_buf(self.length));
            self.text.copy(*text, self.length);
        }
        return self.status;
    }

    void answerWith(const std::string& answer) {
        text = answer;
        length = answer.size();
    }

    void expectAllGivenBack() {
        const kzfi_platform_counts counts = kzfi_platform_get_counts();
        EXPECT_EQ(counts.taken, counts.given_back);
        EXPECT_EQ(counts.wrong_size, 0u);
    }

    std::string text;
    size_t length = 0;
    int status = 0;
    Texts commands;
};

TEST_F(ExecInChildContext, TheFrameworkRunsTheCommand) {
    answerWith("one\n\ntwo\n\n\nthree");
    output = {"old"};
    EXPECT_TRUE(runner.IsChildContext());
    EXPECT_EQ(run("no such tool, 'not even quoted"), 0);
    EXPECT_THAT(commands, ElementsAre("no such tool, 'not even quoted"));
    EXPECT_THAT(output, ElementsAre("old", "one", "two", "three"));
    EXPECT_EQ(trace.lines(), (Lines{{6, "Executing command in child context."}}));
    expectAllGivenBack();
}

TEST_F(ExecInChildContext, ReturnsTheFrameworksStatusOnly) {
    status = 42;
    EXPECT_EQ(run("tool"), 42);
    EXPECT_THAT(output, IsEmpty());
    expectRecord("", 0, 0, L"");
    EXPECT_EQ(trace.lines(), (Lines{{6, "Executing command in child context."}}));
    expectAllGivenBack();
}

TEST_F(ExecInChildContext, UsesTheTextUpToItsLengthOrItsNul) {
    using namespace std::string_literals;
    answerWith("one\ntwo\0three\n"s);
    EXPECT_EQ(run("tool"), 0);
    EXPECT_THAT(output, ElementsAre("one", "two"));
    expectAllGivenBack();
}

TEST_F(ExecInChildContext, KeepsTheTextOfACommandThatFailed) {
    answerWith("one\ntwo\n");
    status = 42;
    EXPECT_EQ(run("tool"), 42);
    EXPECT_THAT(output, ElementsAre("one", "two"));
    expectAllGivenBack();
}

TEST_F(ExecInChildContext, ATextWithoutALengthIsNeitherUsedNorGivenBack) {
    const auto answer = [](const char*, char** given, size_t*, void* own) {
        *given = static_cast<char*>(own);
        return 0;
    };
    char own[] = "not the runner's\n";
    kzfi_platform_set_command_runner(answer, own);
    EXPECT_EQ(run("tool"), 0);
    EXPECT_THAT(output, IsEmpty());
    EXPECT_EQ(kzfi_platform_get_counts().given_back, 0u);
}

TEST_F(ExecInChildContext, ALengthWithoutATextIsNoText) {
    const auto answer = [](const char*, char**, size_t* given, void*) {
        *given = 7;
        return 0;
    };
    kzfi_platform_set_command_runner(answer, nullptr);
    EXPECT_EQ(run("tool"), 0);
    EXPECT_THAT(output, IsEmpty());
}

TEST_F(ExecInChildContext, EndsWithTheContext) {
    kzfi_platform_set_child_context(0);
    EXPECT_FALSE(runner.IsChildContext());
    EXPECT_EQ(run("/bin/echo here"), 0);
    EXPECT_THAT(output, ElementsAre("here\n"));
    EXPECT_THAT(commands, IsEmpty());
}

} // namespace
