// How a command is run and its output collected, with runners that start nothing.
#include <algorithm>
#include <climits>
#include <type_traits>

#include "cfiexecpipe.h"
#include "host/exec_fixture.h"
#include "layout/virtual_slots.h"

namespace {

using kzfi_pdk_4_4::CFiExecPipeBase;
using kzfi_pdk_4_4::CFiTraceable;
using kzfi_pdk_4_4::EFiExecPipe;
using namespace kzfi_tests;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

static_assert(!std::is_copy_constructible<CFiExecPipeBase>::value, "two owners of one child");
static_assert(!std::is_copy_assignable<CFiExecPipeBase>::value, "two owners of one child");
static_assert(std::has_virtual_destructor<CFiExecPipeBase>::value, "runners derive from it");
static_assert(std::is_base_of<CFiTraceable, CFiExecPipeBase>::value, "runners trace");
static_assert(std::is_copy_assignable<EFiExecPipe>::value, "handed out by value");

// Plays a child by a script.
class ScriptedRunner : public CFiExecPipeBase {
  public:
    explicit ScriptedRunner(int runFlags = 0) : CFiExecPipeBase(runFlags) {}
    ScriptedRunner(const Texts& list, int runFlags) : CFiExecPipeBase(list, runFlags) {}

    int ExecPipe(std::string command, std::string second) override {
        calls.push_back("ExecPipe " + command + " " + second + " " + inputFilePath);
        return startResult;
    }
    int WaitPid(long) override { return 0; }
    int Close(long timeout) override {
        calls.push_back("Close " + std::to_string(timeout));
        return closeResult;
    }
    bool ReadLine(char* buffer, int size, unsigned char* timedOut, long timeout) override {
        calls.push_back("ReadLine " + std::to_string(size) + " " + std::to_string(timeout));
        *timedOut = nextLine == timesOutAt ? 1 : 0;
        if (nextLine == lines.size()) {
            return false;
        }
        lines[nextLine].copy(buffer, lines[nextLine].size());
        buffer[lines[nextLine].size()] = '\0';
        ++nextLine;
        if (nextLine == abortsBehind) {
            Abort();
        }
        return true;
    }
    bool IsChildContext() override { return childContext; }
    int ExecCommandInChildContext(std::string command, Texts& output) override {
        calls.push_back("ExecCommandInChildContext " + command);
        output.push_back("from the framework");
        return 77;
    }

    Texts lines;
    Texts calls;
    std::size_t nextLine = 0;
    std::size_t timesOutAt = 1000;
    std::size_t abortsBehind = 1000;
    bool childContext = false;
    int startResult = 0;
    int closeResult = 0;
};

class ExecProtocol : public testing::Test {
  protected:
    int runScript(unsigned long timeout = 7) {
        runner.registerTraceLog(trace.log());
        return runner.ExecMain("tool", output, "in", timeout, "fifth", "sixth", "seventh");
    }

    TraceCapture trace;
    ScriptedRunner runner;
    Texts output{"old"};
};

TEST_F(ExecProtocol, StartsReadsLinesAndCloses) {
    runner.lines = {"one\n", "two"};
    runner.closeResult = 11;
    EXPECT_EQ(runScript(), 11);
    EXPECT_THAT(output, ElementsAre("one\n", "two"));
    EXPECT_THAT(runner.calls, ElementsAre("ExecPipe tool fifth in", "ReadLine 8191 7",
                                          "ReadLine 8191 7", "ReadLine 8191 7", "Close 10"));
    EXPECT_THAT(trace.lines(), IsEmpty());
}

TEST_F(ExecProtocol, KeepsTheOutputOfACommandThatDidNotStart) {
    runner.startResult = 4;
    EXPECT_EQ(runScript(), 4);
    EXPECT_THAT(output, ElementsAre("old"));
    EXPECT_THAT(runner.calls, ElementsAre("ExecPipe tool fifth in"));
}

TEST_F(ExecProtocol, TestsTheTimeLimitBeforeTheLine) {
    runner.lines = {"one\n", "cut"};
    runner.timesOutAt = 1;
    EXPECT_EQ(runScript(), 5);
    EXPECT_THAT(output, ElementsAre("one\n"));
    EXPECT_THAT(runner.calls, Not(Contains("Close 10")));
    EXPECT_EQ(trace.lines(), (Lines{{1, "Process has timmedout (7 sec)"}}));
    EXPECT_EQ(runner.getLastError().code, 5);
    EXPECT_EQ(runner.getLastError().command, "tool");
    EXPECT_EQ(runner.getLastError().message, L"");
    EXPECT_EQ(runner.getLastError().detail, 0);
}

TEST_F(ExecProtocol, TracesTheLimitAsAnInt) {
    runner.timesOutAt = 0;
    EXPECT_EQ(runScript(ULONG_MAX), 5);
    EXPECT_THAT(runner.calls, Contains("ReadLine 8191 -1"));
    EXPECT_EQ(trace.lines(), (Lines{{1, "Process has timmedout (-1 sec)"}}));
}

TEST_F(ExecProtocol, AsksForAnAbortBeforeEveryLine) {
    runner.lines = {"one\n", "two\n", "three\n"};
    runner.abortsBehind = 2;
    runner.closeResult = 12;
    EXPECT_EQ(runScript(), 12);
    EXPECT_THAT(output, ElementsAre("one\n", "two\n"));
    EXPECT_TRUE(runner.IsAbortRequested());
}

TEST_F(ExecProtocol, StaysAborted) {
    runner.lines = {"one\n"};
    runner.Abort();
    for (int time = 0; time < 2; ++time) {
        runner.calls.clear();
        EXPECT_EQ(runScript(), 0);
        EXPECT_THAT(runner.calls, ElementsAre("ExecPipe tool fifth in", "Close 10"));
    }
    EXPECT_THAT(output, IsEmpty());
}

TEST_F(ExecProtocol, HandsTheCommandOverInTheChildContext) {
    runner.childContext = true;
    EXPECT_EQ(runScript(), 77);
    EXPECT_THAT(output, ElementsAre("old", "from the framework"));
    EXPECT_THAT(runner.calls, ElementsAre("ExecCommandInChildContext tool"));
    EXPECT_EQ(trace.lines(), (Lines{{6, "Executing command in child context."}}));
    EXPECT_EQ(runner.getLastError().code, 0);
}

TEST_F(ExecProtocol, ClosesAgainOnlyWithBitZero) {
    for (const int flags : {0, 1, 2, 3}) {
        ScriptedRunner other(flags);
        other.registerTraceLog(trace.log());
        other.closeResult = 8;
        EXPECT_EQ(other.Exec("tool", output, "in", 7, "fifth", "sixth", "seventh"), 8);
        const bool again = (flags & 1) != 0;
        EXPECT_EQ(std::count(other.calls.begin(), other.calls.end(), "Close 10"), again ? 2 : 1);
        EXPECT_EQ(trace.lines(), again ? Lines({{2, "Close of the process returned 8"}}) : Lines());
    }
}

TEST_F(ExecProtocol, SaysNothingOfASecondCloseThatSucceeds) {
    ScriptedRunner other(1);
    other.registerTraceLog(trace.log());
    EXPECT_EQ(other.Exec("tool", output, "in", 7, "", "", ""), 0);
    EXPECT_THAT(other.calls,
                ElementsAre("ExecPipe tool  in", "ReadLine 8191 7", "Close 10", "Close 10"));
    EXPECT_THAT(trace.lines(), IsEmpty());
}

TEST_F(ExecProtocol, StartsWithoutAFailure) {
    ScriptedRunner other(Texts{"kept", "unused"}, 0);
    const EFiExecPipe record = other.getLastError();
    EXPECT_EQ(record.command, "");
    EXPECT_EQ(record.message, L"");
    EXPECT_EQ(record.code, 0);
    EXPECT_EQ(record.detail, 0);
    EXPECT_FALSE(other.IsAbortRequested());
}

// What the base does where nothing overrides it.
class BareRunner : public CFiExecPipeBase {
  public:
    BareRunner() : CFiExecPipeBase(0) {}
    int ExecPipe(std::string, std::string) override { return 0; }
    int WaitPid(long) override { return 0; }
    int Close(long) override { return 0; }
    bool ReadLine(char*, int, unsigned char*, long) override { return false; }
};

TEST(ExecBase, KnowsNoChildContext) {
    BareRunner runner;
    Texts output{"old"};
    runner.Init();
    EXPECT_FALSE(runner.IsChildContext());
    EXPECT_EQ(runner.ExecCommandInChildContext("tool", output), 0);
    EXPECT_THAT(output, ElementsAre("old"));
}

TEST(ExecLayout, OperationsStandInTheirOrder) {
    long slot = 2; // behind the destructor pair
    EXPECT_EQ(slotOf(&CFiExecPipeBase::registerTraceLog), slot++);
    EXPECT_EQ(slotOf(&CFiExecPipeBase::ExecPipe), slot++);
    EXPECT_EQ(slotOf(&CFiExecPipeBase::WaitPid), slot++);
    EXPECT_EQ(slotOf(&CFiExecPipeBase::Close), slot++);
    EXPECT_EQ(slotOf(&CFiExecPipeBase::ReadLine), slot++);
    EXPECT_EQ(slotOf(&CFiExecPipeBase::IsAbortRequested), slot++);
    EXPECT_EQ(slotOf(&CFiExecPipeBase::IsChildContext), slot++);
    EXPECT_EQ(slotOf(&CFiExecPipeBase::ExecCommandInChildContext), slot++);
    EXPECT_EQ(slotOf(&CFiExecPipeBase::ExecMain), slot++);
    EXPECT_EQ(slotOf(&CFiExecPipeBase::Exec), slot++);
    EXPECT_EQ(slotOf(&CFiExecPipeBase::Abort), slot++);
    EXPECT_EQ(slotOf(&CFiExecPipeBase::Init), slot++);
    EXPECT_EQ(slotOf(&CFiExecPipeBase::getLastError), slot++);
}

} // namespace
