// The child process runner when system calls and allocations fail.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <numeric>

#include "host/exec_fixture.h"
#include "support/failing_calls.h"

namespace {

using kzfi_pdk_4_4::CFiExecPipePosix;
using namespace kzfi_tests;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

const std::string EXEC_ERROR = "CFiExecPipePosix::ExecPipe ERROR: ";

class ExecFailures : public ExecTest {
  protected:
    ExecFailures() : before(openDescriptors()) {}
    ~ExecFailures() override { EXPECT_EQ(openDescriptors(), before); }

    /// The end of a forked process: 0 when nothing failed in it.
    [[noreturn]] static void leave() { _exit(HasFailure() ? 1 : 0); }

    /// What is left to do with a command that was started while a call failed: reads its output
    /// and closes it.
    int finish() {
        for (std::string line = readLine(); got; line = readLine()) {
            output.push_back(line);
        }
        return runner.Close(10);
    }

  private:
    const std::size_t before;
};

// ---- In the host ----

TEST_F(ExecFailures, Pipe) {
    const Failing pipes(Call::PIPE2, EMFILE);
    output = {"old"};
    EXPECT_EQ(run("/bin/true"), 1);
    expectRecord("/bin/true", 1, EMFILE, L"errno=24");
    const Lines lines = trace.lines();
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_EQ(lines[0].level, 1);
    EXPECT_THAT(lines[0].text, MatchesRegex(EXEC_ERROR + "pipe\\(0x[0-9a-f]+\\) failed, errno 24"));
    EXPECT_THAT(output, ElementsAre("old"));
}

TEST_F(ExecFailures, APipeThatCannotBeReadWithoutBlocking) {
    const Failing control(Call::FCNTL, EINVAL, EVERY, F_SETFL);
    EXPECT_EQ(run("/bin/true"), 1);
    expectRecord("/bin/true", 1, EINVAL, L"errno=22");
}

TEST_F(ExecFailures, APipeThatCannotBeMovedOutOfTheWay) {
    const pid_t host = fork();
    if (host == 0) {
        close(STDIN_FILENO);
        const Failing control(Call::FCNTL, EMFILE, EVERY, F_DUPFD_CLOEXEC);
        EXPECT_EQ(run("/bin/true"), 1);
        expectRecord("/bin/true", 1, EMFILE, L"errno=24");
        EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1) << "nothing is left there";
        leave();
    }
    int status = -1;
    ASSERT_EQ(waitpid(host, &status, 0), host);
    EXPECT_EQ(status, 0);
}

TEST_F(ExecFailures, NoOutputOfAnEarlierCommandIsReadAfterwards) {
    ASSERT_EQ(start("/bin/echo old"), 0);
    {
        const Failing pipes(Call::PIPE2, EMFILE);
        EXPECT_EQ(start("/bin/true"), 1);
    }
    EXPECT_EQ(readLine(), "");
    EXPECT_FALSE(got);
    runner.Close(10);
}

TEST_F(ExecFailures, WithoutASecondPipeTheCommandRuns) {
    const Failing pipes(Call::PIPE2, EMFILE, 2);
    EXPECT_EQ(run("/bin/echo works"), 0);
    EXPECT_THAT(output, ElementsAre("works\n"));
    EXPECT_EQ(trace.lines(), (Lines{gotStatus(0)}));
}

TEST_F(ExecFailures, WithoutASecondPipeTheChildsFailureHasItsStatusOnly) {
    const Failing pipes(Call::PIPE2, EMFILE, 2);
    EXPECT_EQ(run(temp.path()), 11);
    EXPECT_EQ(trace.lines(), exited(1));
}

TEST_F(ExecFailures, Fork) {
    const Failing forks(Call::FORK, EAGAIN);
    for (const char* input : {"", "/dev/zero"}) { // both ways to start a child
        output = {"old"};
        EXPECT_EQ(run("/bin/true", 20, input), 4);
        expectRecord("/bin/true", 4, 0, L"");
        EXPECT_EQ(trace.lines(), (Lines{{1, EXEC_ERROR + "fork() failed, errno 11"}}));
        EXPECT_THAT(output, ElementsAre("old"));
        EXPECT_EQ(runner.Close(10), 0);
    }
}

TEST_F(ExecFailures, ForkAndClose) {
    const Failing forks(Call::FORK, ENOMEM);
    const Failing closes(Call::CLOSE, EIO);
    EXPECT_EQ(run("/bin/true"), 4);
    EXPECT_EQ(trace.lines(), (Lines{{1, EXEC_ERROR + "failed fork close(pipe[0]) failed, errno 5"},
                                    {1, EXEC_ERROR + "failed fork close(pipe[1]) failed, errno 5"},
                                    {1, EXEC_ERROR + "fork() failed, errno 12"}}));
}

TEST_F(ExecFailures, CloseOfTheWriteEnd) {
    {
        const Failing closes(Call::CLOSE, EIO, 1);
        EXPECT_EQ(start("/bin/echo works"), 0);
    }
    EXPECT_EQ(finish(), 0);
    EXPECT_THAT(output, ElementsAre("works\n"));
    EXPECT_EQ(trace.lines(),
              (Lines{{1, EXEC_ERROR + "parent close(pipe[1]) failed, errno 5"}, gotStatus(0)}));
}

TEST_F(ExecFailures, Environment) {
    // The first allocation is that of the only argument.
    const Failing allocations(Call::NEW_ARRAY, ENOMEM, 2);
    setenv("LC_ALL", "C.UTF-8", 1);
    EXPECT_EQ(run("/usr/bin/env"), 0);
    EXPECT_THAT(output, testing::Contains("LC_ALL=C.UTF-8\n"));
    EXPECT_EQ(trace.lines(),
              (Lines{{1, "CFiExecPipePosix::ExecPipe locale modification failed, errno 12"},
                     gotStatus(0)}));
}

// ---- Arguments ----

TEST_F(ExecFailures, RoomForArguments) {
    const struct {
        int nth;
        std::string size;
    } cases[] = {{1, "80"}, {2, "160"}, {3, "240"}};
    for (const auto& c : cases) {
        const Failing allocations(Call::REALLOC, ENOMEM, c.nth);
        const std::string command = "/bin/echo 1 2 3 4 5 6 7 8 9 0 1 2 3 4 5 6 7 8 9";
        EXPECT_EQ(run(command), 6);
        expectRecord(command, 6, 0, L"");
        EXPECT_EQ(trace.lines(),
                  (Lines{{1, "CFiExecPipePosix::AddArgument ERROR: realloc(" + c.size +
                                 ") failed, errno 12"},
                         {1, "CFiExecPipePosix::ExecPipe ParseCommand operation has failed."}}));
    }
}

TEST_F(ExecFailures, Argument) {
    const Failing allocations(Call::NEW_ARRAY, ENOMEM, 2);
    EXPECT_EQ(run("/bin/echo abcd"), 6);
    EXPECT_EQ(trace.lines(),
              (Lines{{1, "CFiExecPipePosix::AddArgument() ERROR: new[5] failed, errno 12"},
                     {1, "CFiExecPipePosix::ExecPipe ParseCommand operation has failed."}}));
}

// ---- In the child ----

TEST_F(ExecFailures, NullDevice) {
    const Failing opens(Call::OPEN, ENFILE);
    EXPECT_EQ(run("/bin/true"), 11);
    expectRecord("/bin/true", 11, 1, L"Command exited with status 1");
    EXPECT_EQ(trace.lines(), failedInChild("Could not open /dev/null for reading, errno 23"));
}

TEST_F(ExecFailures, StandardDescriptors) {
    const char* const names[] = {"stdin", "stdout", "stderr"};
    for (int descriptor = 0; descriptor < 3; ++descriptor) {
        const Failing dups(Call::DUP2, EBUSY, EVERY, descriptor);
        EXPECT_EQ(run("/bin/true"), 11);
        EXPECT_EQ(trace.lines(),
                  failedInChild("dup2(" + std::string(names[descriptor]) + ") failed, errno 16"));
    }
}

TEST_F(ExecFailures, CloseInTheChild) {
    for (const int end : {0, 1}) {
        {
            // The first descriptor that the child closes is its input's.
            const Failing closes(Call::CLOSE, EIO, 2 + end);
            EXPECT_EQ(start("/bin/echo works"), 0);
        }
        EXPECT_EQ(finish(), 0);
        EXPECT_EQ(trace.lines(), (Lines{{1, EXEC_ERROR + "child close(pipe[" + std::to_string(end) +
                                                "]) failed, errno 5"},
                                        gotStatus(0)}));
    }
    EXPECT_THAT(output, ElementsAre("works\n", "works\n"));
}

TEST_F(ExecFailures, SeveralInTheChild) {
    {
        const Failing closes(Call::CLOSE, EIO);
        EXPECT_EQ(start(temp.path()), 0);
    }
    EXPECT_EQ(finish(), 11);
    EXPECT_EQ(trace.lines(), (Lines{{1, EXEC_ERROR + "parent close(pipe[1]) failed, errno 5"},
                                    {1, EXEC_ERROR + "child close(pipe[0]) failed, errno 5"},
                                    {1, EXEC_ERROR + "child close(pipe[1]) failed, errno 5"},
                                    {1, EXEC_ERROR + "execv() failed, errno 13"},
                                    gotStatus(0x0100),
                                    {2, "Command exited with status 1"}}));
}

// ---- Reading ----

TEST_F(ExecFailures, Read) {
    const Failing reads(Call::READ, EIO, 1);
    EXPECT_EQ(run("/bin/true"), 0);
    EXPECT_THAT(output, IsEmpty());
    EXPECT_EQ(trace.lines(), (Lines{{1, "CFiExecPipePosix::ReadLine ERROR: read() failed, errno 5"},
                                    gotStatus(0)}));
}

TEST_F(ExecFailures, AnInterruptedReadIsRepeated) {
    const Failing reads(Call::READ, EINTR, 1);
    EXPECT_EQ(run("/bin/echo works"), 0);
    EXPECT_THAT(output, ElementsAre("works\n"));
}

TEST_F(ExecFailures, PollIsTakenForTheTimeLimit) {
    const Failing polls(Call::POLL, EBADF);
    EXPECT_EQ(run(shell("sleep 1; echo late")), 5);
    EXPECT_EQ(trace.lines(), (Lines{{1, "Process has timmedout (20 sec)"}}));
    EXPECT_EQ(runner.Close(10), 12) << "the writer met a closed pipe";
}

TEST_F(ExecFailures, AnInterruptedPollIsRepeated) {
    const Failing polls(Call::POLL, EINTR, 1);
    EXPECT_EQ(run(shell("sleep 0.2; echo works")), 0);
    EXPECT_THAT(output, ElementsAre("works\n"));
    EXPECT_GE(callsOf(Call::POLL), 2);
}

TEST_F(ExecFailures, CloseAtTheEndOfTheOutput) {
    ASSERT_EQ(start("/bin/echo works"), 0);
    EXPECT_EQ(readLine(), "works\n");
    {
        const Failing closes(Call::CLOSE, EIO, 1);
        EXPECT_EQ(readLine(), "");
    }
    EXPECT_EQ(runner.Close(10), 0) << "the read end is closed all the same";
    const Lines lines = trace.lines();
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_EQ(lines[0].level, 1);
    EXPECT_THAT(lines[0].text, MatchesRegex("CFiExecPipePosix::Readline ERROR: close\\([0-9]+\\) "
                                            "failed, errno 5"));
    EXPECT_EQ(lines[1], gotStatus(0));
}

// ---- Closing ----

TEST_F(ExecFailures, CloseOfTheReadEnd) {
    ASSERT_EQ(start("/bin/true"), 0);
    {
        const Failing closes(Call::CLOSE, EIO, 1);
        EXPECT_EQ(runner.Close(10), 3) << "a clean child does not change that";
    }
    EXPECT_EQ(trace.lines(),
              (Lines{{2, "CFiExecPipePosix::Close failed with error number [5]"}, gotStatus(0)}));
    const std::wstring message = runner.getLastError().message;
    EXPECT_THAT(std::string(message.begin(), message.end()),
                MatchesRegex("close\\([0-9]+\\) failed, errno 5"));
    expectRecord("/bin/true", 3, EIO, message);
    EXPECT_EQ(runner.Close(10), 0);
}

TEST_F(ExecFailures, TheChildsEndOverridesThatOfTheReadEnd) {
    ASSERT_EQ(start(shell("exit 3")), 0);
    const Failing closes(Call::CLOSE, EIO, 1);
    EXPECT_EQ(runner.Close(10), 11);
    expectRecord(shell("exit 3"), 11, 3, L"Command exited with status 3");
    Lines expected = {{2, "CFiExecPipePosix::Close failed with error number [5]"}};
    for (const TracedLine& line : exited(3)) {
        expected.push_back(line);
    }
    EXPECT_EQ(trace.lines(), expected);
}

// ---- Waiting ----

TEST_F(ExecFailures, Kill) {
    ASSERT_EQ(start("/bin/sleep 60"), 0);
    {
        const Failing kills(Call::KILL, EPERM);
        EXPECT_EQ(runner.Close(0), 8);
    }
    const Lines lines = trace.lines();
    ASSERT_THAT(lines, SizeIs(4));
    const std::string opening = "CFiExecPipePosix::WaitPid ERROR: kill(";
    const std::string pid = std::to_string(std::stoi(lines[0].text.substr(opening.size())));
    EXPECT_EQ(lines[0], (TracedLine{1, opening + pid + ", SIGTERM) failed, errno 1"}));
    EXPECT_EQ(lines[1], (TracedLine{1, opening + pid + ", SIGKILL) failed, errno 1"}));
    EXPECT_EQ(lines[2],
              (TracedLine{1, "CFiExecPipePosix::WaitPid ERROR: child process appears to be hung"}));
    EXPECT_EQ(lines[3], (TracedLine{2, "Unexpected error encountered."}));
    expectRecord("/bin/sleep 60", 8, 0, L"Error in WaitPid()");
    EXPECT_EQ(runner.Close(0), 0) << "the child is given up";
    ASSERT_EQ(kill(std::stoi(pid), SIGKILL), 0);
    EXPECT_EQ(waitpid(std::stoi(pid), nullptr, 0), std::stoi(pid));
}

// Seconds that a child was waited for which no signal reached.
double secondsWaitedInVain(CFiExecPipePosix& runner, long timeout) {
    const FastClock clock;
    const Failing kills(Call::KILL, EPERM);
    EXPECT_EQ(runner.WaitPid(timeout), -1);
    return std::accumulate(clock.sleeps().begin(), clock.sleeps().end(), 0.0) / 1e9;
}

TEST_F(ExecFailures, SignalsAreGivenTheTimeLimitButHalfAMinuteAtMost) {
    const struct {
        long timeout;
        double afterASignal;
    } cases[] = {{0, 0}, {2, 2}, {29, 29}, {30, 30}, {31, 30}, {100, 30}};
    ASSERT_EQ(start("/bin/sleep 600"), 0);
    for (const auto& c : cases) {
        const double least = static_cast<double>(c.timeout) + 2 * c.afterASignal;
        // Each of the three periods lasts up to a second longer, and one more pause.
        EXPECT_THAT(secondsWaitedInVain(runner, c.timeout),
                    testing::AllOf(testing::Ge(least), testing::Le(least + 3.4)))
            << c.timeout;
    }
    EXPECT_EQ(runner.Close(0), 12);
}

TEST_F(ExecFailures, PausesGrowToATenthOfASecond) {
    ASSERT_EQ(start("/bin/sleep 600"), 0);
    std::vector<long> pauses;
    {
        const FastClock clock;
        const Failing kills(Call::KILL, EPERM);
        EXPECT_EQ(runner.WaitPid(5), -1);
        pauses = clock.sleeps();
    }
    EXPECT_LT(pauses.front(), 1'000'000);
    EXPECT_EQ(*std::max_element(pauses.begin(), pauses.end()), 100'000'000);
    // Each period begins with short pauses.
    EXPECT_EQ(std::count(pauses.begin(), pauses.end(), pauses.front()), 3);
    EXPECT_EQ(runner.Close(0), 12);
}

TEST_F(ExecFailures, APidThatMayBeSomebodyElsesIsLeftAlone) {
    ASSERT_EQ(start("/bin/true"), 0);
    EXPECT_EQ(runner.WaitPid(10), 0);
    const int waits = callsOf(Call::WAITPID);
    const int kills = callsOf(Call::KILL);
    EXPECT_EQ(runner.WaitPid(1), -1);
    EXPECT_EQ(runner.WaitPid(-1), -1);
    EXPECT_EQ(runner.Close(1), 8);
    EXPECT_EQ(callsOf(Call::WAITPID), waits);
    EXPECT_EQ(callsOf(Call::KILL), kills);
}

TEST_F(ExecFailures, WaitpidIsRepeated) {
    const Failing waits(Call::WAITPID, EINVAL, 1);
    EXPECT_EQ(run("/bin/true"), 0);
    EXPECT_EQ(trace.lines(), (Lines{gotStatus(0)}));
}

TEST_F(ExecFailures, WithoutNanosleepWholeSecondsAreSlept) {
    // In a process of its own, as the runners of a process do not try nanosleep() again.
    const pid_t host = fork();
    if (host == 0) {
        EXPECT_EQ(start("/bin/sleep 0.5"), 0);
        const Failing pauses(Call::NANOSLEEP, ENOSYS, 1);
        const int pausesBefore = callsOf(Call::NANOSLEEP);
        const int sleepsBefore = callsOf(Call::SLEEP);
        EXPECT_EQ(runner.Close(10), 0);
        EXPECT_EQ(callsOf(Call::SLEEP), sleepsBefore + 1);
        CFiExecPipePosix another(0);
        EXPECT_EQ(another.ExecPipe("/bin/sleep 0.5", ""), 0);
        EXPECT_EQ(another.Close(10), 0);
        EXPECT_EQ(callsOf(Call::SLEEP), sleepsBefore + 2);
        EXPECT_EQ(callsOf(Call::NANOSLEEP), pausesBefore + 1);
        leave();
    }
    int status = -1;
    ASSERT_EQ(waitpid(host, &status, 0), host);
    EXPECT_EQ(status, 0);
}

} // namespace
