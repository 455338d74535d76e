// The child process runner in a host: environment, descriptors, signals and threads.
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "host/exec_fixture.h"

namespace {

using kzfi_pdk_4_4::CFiExecPipePosix;
using namespace kzfi_tests;
using testing::AllOf;
using testing::ElementsAre;
using testing::Ge;
using testing::Le;
using testing::SizeIs;

// ---- Environment ----

// A variable of this process, put back at the end.
class Variable {
  public:
    Variable(const char* name, const char* value)
        : variable(name),
          existed(getenv(name) != nullptr) {
        if (existed) {
            before = getenv(name);
        }
        if (value != nullptr) {
            setenv(name, value, 1);
        } else {
            unsetenv(name);
        }
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable() {
        if (existed) {
            setenv(variable, before.c_str(), 1);
        } else {
            unsetenv(variable);
        }
    }

  private:
    const char* variable;
    const bool existed;
    std::string before;
};

Texts ownEnvironment() {
    Texts entries;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        entries.push_back(*entry);
    }
    return entries;
}

// What "env" prints in a forked child that makes the settings itself, one by one.
std::string environmentByPutenv() {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        static char settings[][16] = {
            "LANG=C",        "LC_ALL=C",     "LC_COLLATE=C", "LC_CTYPE=C", "LC_MESSAGES=C",
            "LC_MONETARY=C", "LC_NUMERIC=C", "LC_TIME=C",    "CDPATH=",    "EDITOR=",
            "ENV=",          "FPATH=",       "IFS="};
        for (char* setting : settings) {
            putenv(setting);
        }
        execl("/usr/bin/env", "/usr/bin/env", nullptr);
        _exit(127);
    }
    close(ends[1]);
    std::string text;
    char part[4096];
    for (ssize_t got = read(ends[0], part, sizeof part); got > 0;
         got = read(ends[0], part, sizeof part)) {
        text.append(part, static_cast<std::size_t>(got));
    }
    close(ends[0]);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
    return text;
}

TEST_F(ExecTest, TheChildHasTheSettingsInTheirOrder) {
    const Variable ifs("IFS", "x");
    const Variable collate("LC_COLLATE", "de_DE.UTF-8");
    const Variable address("LC_ADDRESS", "de_DE.UTF-8");
    const Variable prefix("LANGUAGE", "de");
    const Variable none("LC_TIME", nullptr);
    EXPECT_EQ(run("/usr/bin/env"), 0);
    EXPECT_EQ(joined(output), environmentByPutenv());
    for (const char* line :
         {"LC_COLLATE=C\n", "LC_TIME=C\n", "IFS=\n", "LC_ADDRESS=de_DE.UTF-8\n", "LANGUAGE=de\n"}) {
        EXPECT_EQ(std::count(output.begin(), output.end(), line), 1) << line;
    }
}

TEST_F(ExecTest, TheOwnEnvironmentStaysAsItIs) {
    const Variable editor("EDITOR", "ed");
    const Texts before = ownEnvironment();
    EXPECT_EQ(run("/usr/bin/env"), 0);
    EXPECT_EQ(ownEnvironment(), before);
}

TEST_F(ExecTest, TheEnvironmentMayBeEmpty) {
    char** const own = environ;
    for (char** empty : {static_cast<char**>(nullptr), own + ownEnvironment().size()}) {
        environ = empty;
        const int result = run("/usr/bin/env");
        environ = own;
        EXPECT_EQ(result, 0);
        EXPECT_EQ(joined(output), "LANG=C\nLC_ALL=C\nLC_COLLATE=C\nLC_CTYPE=C\nLC_MESSAGES=C\n"
                                  "LC_MONETARY=C\nLC_NUMERIC=C\nLC_TIME=C\nCDPATH=\nEDITOR=\nENV=\n"
                                  "FPATH=\nIFS=\n");
    }
}

TEST_F(ExecTest, OnlyTheFirstOfEqualNamesIsSet) {
    char first[] = "LANG=one";
    char other[] = "no equals sign";
    char second[] = "LANG=two";
    char* entries[] = {first, other, second, nullptr};
    char** const own = environ;
    environ = entries;
    const std::string expected = environmentByPutenv();
    const int result = run("/usr/bin/env");
    environ = own;
    EXPECT_EQ(result, 0);
    EXPECT_EQ(joined(output), expected);
    EXPECT_EQ(output[0], "LANG=C\n");
    EXPECT_EQ(output[2], "LANG=two\n");
}

// ---- Descriptors ----

// The descriptors that a child has, of those that "ls /proc/self/fd" printed, besides the standard
// ones and what this process was itself started with and lets through.
Texts additionalDescriptors(const Texts& printed) {
    Texts additional;
    for (const std::string& line : printed) {
        const int descriptor = std::stoi(line);
        const int flags = fcntl(descriptor, F_GETFD);
        if (descriptor > STDERR_FILENO && (flags < 0 || (flags & FD_CLOEXEC) != 0)) {
            additional.push_back(line);
        }
    }
    return additional;
}

TEST_F(ExecTest, TheChildHasTheStandardDescriptorsOnly) {
    const int own = open("/dev/null", O_RDONLY | O_CLOEXEC);
    CFiExecPipePosix other(0);
    ASSERT_EQ(other.ExecPipe("/bin/sleep 60", ""), 0);
    EXPECT_EQ(run("/bin/ls /proc/self/fd"), 0);
    EXPECT_THAT(additionalDescriptors(output), SizeIs(1)) << "the folder that is listed";
    close(own);
    other.Close(0);
}

TEST_F(ExecTest, HandsOnWhatIsNotCloseOnExec) {
    const int own = dup(STDERR_FILENO);
    for (const char* input : {"", "/dev/zero"}) { // both ways to start a child
        EXPECT_EQ(run("/usr/bin/test -e /proc/self/fd/" + std::to_string(own), 20, input), 0);
    }
    close(own);
}

// Waits for the end of a pipe whose write end this process has closed.
bool isAtItsEnd(int readEnd) {
    struct pollfd request = {readEnd, POLLIN, 0};
    return poll(&request, 1, 10000) == 1 && (request.revents & POLLHUP) != 0;
}

TEST_F(ExecTest, AChildThatWaitsForItsInputHoldsNoOtherFile) {
    const std::string fifo = temp.path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    // More than the child is told of at once.
    int ends[100][2];
    for (auto& pipe : ends) {
        ASSERT_EQ(pipe2(pipe, O_CLOEXEC), 0);
    }
    EXPECT_EQ(run("/bin/cat", 0, fifo), 5);
    for (const auto& pipe : ends) {
        close(pipe[1]);
    }
    for (const auto& pipe : ends) {
        EXPECT_TRUE(isAtItsEnd(pipe[0])) << pipe[0];
        close(pipe[0]);
    }
    EXPECT_EQ(runner.Close(0), 12) << "it still waited";
}

TEST_F(ExecTest, WorksWithTwoThousandDescriptorsOpen) {
    struct rlimit before = {};
    getrlimit(RLIMIT_NOFILE, &before);
    if (before.rlim_max < 2100) {
        GTEST_SKIP() << "only " << before.rlim_max << " descriptors may be open";
    }
    struct rlimit raised = before;
    raised.rlim_cur = std::max<rlim_t>(before.rlim_cur, 2100);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &raised), 0);
    std::vector<int> descriptors;
    for (int i = 0; i < 2000; ++i) {
        descriptors.push_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
        ASSERT_GE(descriptors.back(), 0);
    }
    EXPECT_EQ(run(shell("echo one; sleep 0.3; echo two")), 0);
    EXPECT_THAT(output, ElementsAre("one\n", "two\n"));
    EXPECT_EQ(run("/bin/sleep 60", 0), 5);
    EXPECT_EQ(runner.Close(0), 12);
    for (const int descriptor : descriptors) {
        close(descriptor);
    }
    setrlimit(RLIMIT_NOFILE, &before);
}

TEST_F(ExecTest, LeavesNoDescriptorBehind) {
    const std::size_t before = openDescriptors();
    run("/bin/true");
    run(shell("exit 3"));
    run(temp.path());
    run("/bin/cat", 20, "/no/such/file");
    run("/no/such/tool");
    run("'");
    run("/bin/sleep 60", 0);
    runner.Close(0);
    EXPECT_EQ(openDescriptors(), before);
}

// Ends a forked process with 0 when a command runs as it should while the standard descriptors of
// mask are closed; else with the number of what went wrong.
void runWithClosedDescriptors(int mask, const std::string& inputFile) {
    for (int descriptor = 0; descriptor < 3; ++descriptor) {
        if ((mask & (1 << descriptor)) != 0) {
            close(descriptor);
        }
    }
    CFiExecPipePosix runner(0);
    Texts output;
    const int result =
        runner.Exec(shell("read line; echo out $line; echo err >&2; exec /bin/ls -v /proc/self/fd"),
                    output, inputFile, 20, "", "", "");
    if (result != 0) {
        _exit(result);
    }
    const std::size_t fixed = 5;
    output.resize(std::max(output.size(), fixed));
    const Texts first(output.begin(), output.begin() + fixed);
    const Texts others(output.begin() + fixed, output.end());
    const bool asExpected = first == Texts{"out given\n", "err\n", "0\n", "1\n", "2\n"} &&
                            additionalDescriptors(others).size() == 1;
    _exit(asExpected ? 0 : 100);
}

TEST_F(ExecTest, WorksWithClosedStandardDescriptors) {
    writeFile(temp.path("input"), "given\n");
    for (int mask = 0; mask < 8; ++mask) {
        const pid_t host = fork();
        ASSERT_GE(host, 0);
        if (host == 0) {
            runWithClosedDescriptors(mask, temp.path("input"));
        }
        int status = -1;
        ASSERT_EQ(waitpid(host, &status, 0), host);
        EXPECT_EQ(status, 0) << "closed: " << mask;
    }
}

// ---- Signals ----

// The handler of a signal, put back at the end.
class Handler {
  public:
    Handler(int number, void (*handler)(int)) : signal(number) {
        struct sigaction action = {};
        action.sa_handler = handler; // without SA_RESTART: calls are interrupted
        sigaction(signal, &action, &before);
    }
    Handler(const Handler&) = delete;
    Handler& operator=(const Handler&) = delete;
    ~Handler() { sigaction(signal, &before, nullptr); }

  private:
    const int signal;
    struct sigaction before = {};
};

std::atomic<pid_t> hostPid{0};
std::atomic<int> handled{0};
std::atomic<int> handledElsewhere{0};

void countSignal(int) {
    ++handled;
    if (getpid() != hostPid) {
        ++handledElsewhere;
    }
}

// Does something again and again in a thread of its own.
class Repeating {
  public:
    explicit Repeating(const std::function<void()>& work)
        : thread([this, work] {
              while (!stopped) {
                  work();
              }
          }) {}
    Repeating(const Repeating&) = delete;
    Repeating& operator=(const Repeating&) = delete;
    ~Repeating() {
        stopped = true;
        thread.join();
    }

  private:
    std::atomic<bool> stopped{false};
    std::thread thread;
};

class ExecUnderSignals : public ExecTest {
  protected:
    ExecUnderSignals() : handler(SIGUSR1, countSignal) {
        hostPid = getpid();
        handled = handledElsewhere = 0;
    }

    // The signals hit the calling thread only.
    Repeating storm() {
        return Repeating([self = pthread_self()] {
            pthread_kill(self, SIGUSR1);
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        });
    }

    Handler handler;
};

TEST_F(ExecUnderSignals, CommandsGiveTheSameResults) {
    {
        const Repeating signals = storm();
        writeFile(temp.path("input"), std::string(200000, 'x') + "\n");
        for (int i = 0; i < 50; ++i) {
            ASSERT_EQ(run("/bin/cat", 20, temp.path("input")), 0);
            ASSERT_EQ(joined(output).size(), 200001u);
            ASSERT_EQ(run(shell("sleep 0.01; exit 3")), 11);
            ASSERT_EQ(run(temp.path()), 11);
        }
    }
    EXPECT_GT(handled, 0);
}

// Runs commands while signals hit the whole process group, of which the children are part.
void runWhileTheGroupIsSignalled() {
    setpgid(0, 0);
    hostPid = getpid();
    const Handler handling(SIGWINCH, countSignal); // a program ignores it unless it handles it
    const Repeating signals([] { kill(0, SIGWINCH); });
    CFiExecPipePosix runner(0);
    Texts output;
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(runner.Exec("/bin/echo works", output, "", 20, "", "", ""), 0);
        EXPECT_THAT(output, ElementsAre("works\n"));
    }
    EXPECT_GT(handled, 0);
    EXPECT_EQ(handledElsewhere, 0) << "a child ran a handler of its host";
}

TEST_F(ExecUnderSignals, ChildrenRunNoHandlersOfTheirHost) {
    const pid_t host = fork();
    ASSERT_GE(host, 0);
    if (host == 0) {
        runWhileTheGroupIsSignalled();
        _exit(HasFailure() ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(host, &status, 0), host);
    EXPECT_EQ(status, 0);
}

TEST_F(ExecUnderSignals, TimeLimitsAreKept) {
    const Repeating signals = storm();
    for (int part = 0; part < 3; ++part) {
        // Silent for some time less than the limit, at different parts of the clock's second.
        pauseFor(300);
        EXPECT_EQ(run(shell("sleep 1.4; echo late"), 2), 0) << part;
        EXPECT_THAT(output, ElementsAre("late\n"));
    }
    const auto begin = Clock::now();
    EXPECT_EQ(run("/bin/sleep 60", 1), 5);
    EXPECT_THAT(secondsSince(begin), AllOf(Ge(0.99), Le(15)));
    EXPECT_EQ(runner.Close(1), 12);
}

// The number behind a name in a process's status, as the kernel prints sets of signals.
unsigned long long signalSet(const Texts& status, const std::string& name) {
    for (const std::string& line : status) {
        if (line.compare(0, name.size(), name) == 0) {
            return std::stoull(line.substr(name.size()), nullptr, 16);
        }
    }
    ADD_FAILURE() << "no " << name;
    return 0;
}

unsigned long long bitOf(int signal) {
    return 1ULL << (signal - 1);
}

TEST_F(ExecTest, TheChildHasTheSignalMaskOfItsHost) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR2);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const Handler ignoring(SIGHUP, SIG_IGN);
    const Handler handling(SIGUSR1, countSignal);
    for (const char* input : {"", "/dev/zero"}) { // both ways to start a child
        EXPECT_EQ(run("/bin/cat /proc/self/status", 20, input), 0);
        EXPECT_EQ(signalSet(output, "SigBlk:"), bitOf(SIGUSR2));
        EXPECT_EQ(signalSet(output, "SigCgt:"), 0u);
        EXPECT_EQ(signalSet(output, "SigIgn:") & (bitOf(SIGHUP) | bitOf(SIGUSR1)), bitOf(SIGHUP));
    }
    sigset_t after;
    pthread_sigmask(SIG_SETMASK, &before, &after);
    EXPECT_EQ(sigismember(&after, SIGUSR2), 1);
    EXPECT_EQ(sigismember(&after, SIGTERM), 0);
}

TEST_F(ExecTest, AnswersEightWhenSigchldIsIgnored) {
    const Handler ignoring(SIGCHLD, SIG_IGN);
    EXPECT_EQ(run(shell("echo done; exit 3")), 8);
    EXPECT_THAT(output, ElementsAre("done\n"));
    EXPECT_EQ(trace.lines(), (Lines{{1, "CFiExecPipePosix::WaitPid ERROR: waitpid got ECHILD"},
                                    {2, "Unexpected error encountered."}}));
    expectRecord(shell("echo done; exit 3"), 8, 0, L"Error in WaitPid()");
}

TEST_F(ExecTest, AnIgnoredSigpipeStaysIgnoredInTheChild) {
    const Handler ignoring(SIGPIPE, SIG_IGN);
    runner.Abort();
    // The writer meets a closed pipe, and no signal.
    EXPECT_EQ(run(shell("sleep 0.2; echo x; exit 7")), 11);
    expectRecord(shell("sleep 0.2; echo x; exit 7"), 11, 7, L"Command exited with status 7");
}

// ---- The way to start ----

std::atomic<int> forks{0};

TEST_F(ExecTest, CopiesTheHostOnlyForAnInputThatMayBlock) {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the thread sanitizer makes every vfork() a fork()";
#endif
    ASSERT_EQ(pthread_atfork([] { ++forks; }, nullptr, nullptr), 0);
    writeFile(temp.path("input"), "text\n");
    for (const std::string& regular : {std::string(), temp.path("input")}) {
        EXPECT_EQ(run("/bin/cat", 20, regular), 0);
        EXPECT_EQ(forks, 0);
    }
    int expected = 0;
    for (const char* other : {"/dev/null", "/no/such/file"}) {
        run("/bin/cat", 20, other);
        EXPECT_EQ(forks, ++expected) << other;
    }
}

// ---- Threads ----

// Runs commands until one of them does not answer as it should; the number of those that did.
int commandsThatWorked(int thread, int commands) {
    CFiExecPipePosix runner(1);
    for (int i = 0; i < commands; ++i) {
        const std::string word = std::to_string(thread) + "-" + std::to_string(i);
        Texts output;
        const int status = i % 3;
        const std::string command =
            shell("echo " + word + "; echo $LC_ALL $KZFI_SIDE; exit " + std::to_string(status));
        const int result = runner.Exec(command, output, "", 60, "", "", "");
        const bool asExpected =
            output == Texts{word + "\n", "C left\n"} || output == Texts{word + "\n", "C right\n"};
        if (result != (status == 0 ? 0 : 11) || !asExpected ||
            (status != 0 && runner.getLastError().detail != status)) {
            return i;
        }
    }
    return commands;
}

TEST(ExecThreads, EightRunnersAtOnceDoNotDisturbEachOther) {
    constexpr int RUNNERS = 8;
    constexpr int COMMANDS = 40;
    const Variable variable("LC_ALL", "C.UTF-8");
    setenv("LC_ALL", "C", 1);
    const Variable side("KZFI_SIDE", "left");
    setenv("KZFI_SIDE", "right", 1);
    int worked[RUNNERS] = {};
    {
        // Both values were there before, so that the environment does not grow or move.
        const Repeating switching([] {
            setenv("LC_ALL", "C.UTF-8", 1);
            setenv("LC_ALL", "C", 1);
            setenv("KZFI_SIDE", "left", 1);
            setenv("KZFI_SIDE", "right", 1);
            std::this_thread::yield();
        });
        std::vector<std::thread> threads;
        for (int i = 0; i < RUNNERS; ++i) {
            threads.emplace_back([&worked, i] { worked[i] = commandsThatWorked(i, COMMANDS); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    EXPECT_THAT(worked, testing::Each(COMMANDS));
}

} // namespace
