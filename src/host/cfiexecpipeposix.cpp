#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <utility>

#include "diag/tracing.h"
#include "host/childprocess.h"
#include "host/execstate.h"
#include "host/hosttext.h"
#include "host/waiting.h"
#include "kzfi_framework.h"
#include "util/tokens.h"

namespace kzfi_pdk_4_4 {

namespace {

// Codes of EFiExecPipe.
enum Failure {
    PIPE_FAILED = 1,
    CLOSE_FAILED = 3,
    FORK_FAILED = 4,
    MALFORMED_COMMAND = 6,
    NOT_EXECUTABLE = 7,
    WAIT_FAILED = 8,
    EXITED = 11,
    KILLED = 12,
    UNEXPECTED_STATUS = 13
};

constexpr long DESTRUCTION_TIMEOUT = 10;
// The longest wait for the end of the child after a signal, in seconds.
constexpr long SIGNAL_TIMEOUT = 30;
constexpr int NO_STATUS = -1;

// Closes a pipe that no child came to use.
void abandon(const CFiTraceLogPtr& log, Pipe& output) {
    if (!output.readEnd.close()) {
        traceTo(log, TRACE_ERROR,
                "CFiExecPipePosix::ExecPipe ERROR: failed fork close(pipe[0]) failed, errno %d",
                errno);
    }
    if (!output.writeEnd.close()) {
        traceTo(log, TRACE_ERROR,
                "CFiExecPipePosix::ExecPipe ERROR: failed fork close(pipe[1]) failed, errno %d",
                errno);
    }
}

void traceFailure(const CFiTraceLogPtr& log, const ChildFailure& failure, const char* inputFile) {
    switch (failure.step) {
    case ChildStep::OPEN_INPUT:
        traceTo(log, TRACE_ERROR,
                "CFiExecPipePosix::ExecPipe ERROR: Could not open '%s' for reading, errno %d",
                inputFile, failure.error);
        break;
    case ChildStep::OPEN_NULL_DEVICE:
        traceTo(log, TRACE_ERROR,
                "CFiExecPipePosix::ExecPipe ERROR: Could not open /dev/null for reading, errno %d",
                failure.error);
        break;
    case ChildStep::DUP_INPUT:
        traceTo(log, TRACE_ERROR, "CFiExecPipePosix::ExecPipe ERROR: dup2(stdin) failed, errno %d",
                failure.error);
        break;
    case ChildStep::DUP_OUTPUT:
        traceTo(log, TRACE_ERROR, "CFiExecPipePosix::ExecPipe ERROR: dup2(stdout) failed, errno %d",
                failure.error);
        break;
    case ChildStep::DUP_ERROR:
        traceTo(log, TRACE_ERROR, "CFiExecPipePosix::ExecPipe ERROR: dup2(stderr) failed, errno %d",
                failure.error);
        break;
    case ChildStep::CLOSE_READ_END:
        traceTo(log, TRACE_ERROR,
                "CFiExecPipePosix::ExecPipe ERROR: child close(pipe[0]) failed, errno %d",
                failure.error);
        break;
    case ChildStep::CLOSE_WRITE_END:
        traceTo(log, TRACE_ERROR,
                "CFiExecPipePosix::ExecPipe ERROR: child close(pipe[1]) failed, errno %d",
                failure.error);
        break;
    case ChildStep::EXECUTE:
        traceTo(log, TRACE_ERROR, "CFiExecPipePosix::ExecPipe ERROR: execv() failed, errno %d",
                failure.error);
        break;
    }
}

} // namespace

CFiExecPipePosix::CFiExecPipePosix(int runFlags) : CFiExecPipeBase(runFlags) {
    CFiExecPipePosix::Init();
}

CFiExecPipePosix::CFiExecPipePosix(std::vector<std::string> list, int runFlags)
    : CFiExecPipeBase(std::move(list), runFlags) {
    CFiExecPipePosix::Init();
}

CFiExecPipePosix::~CFiExecPipePosix() {
    try {
        CFiExecPipePosix::Close(DESTRUCTION_TIMEOUT);
    } catch (...) {
        // What a trace handler throws, or missing memory, must not leave a destructor.
    }
}

void CFiExecPipePosix::Init() {
    state = std::make_unique<State>();
}

bool CFiExecPipePosix::IsChildContext() {
    return kzfi_is_child_context() != 0;
}

int CFiExecPipePosix::ExecCommandInChildContext(std::string command,
                                                std::vector<std::string>& output) {
    HostText answer;
    const int status =
        kzfi_exec_cmd_in_child_context(command.c_str(), &answer.text, &answer.length);
    if (answer.length == 0) {
        answer.text = nullptr; // nothing was handed out
    }
    const std::string text = answer.upToNul();
    Tokens lines(text.c_str(), "\n");
    for (std::string_view line; lines.next(line);) {
        output.emplace_back(line);
    }
    return status;
}

int CFiExecPipePosix::fail(int code, int detail, const std::wstring& message) {
    return recordFailure(state->command, code, detail, message);
}

// ---- Starting ----

int CFiExecPipePosix::ExecPipe(std::string command, std::string) {
    state->command = std::move(command);
    state->arguments.clear();
    if (!ParseCommand(state->command)) {
        traceTo(traceLog, TRACE_ERROR,
                "CFiExecPipePosix::ExecPipe ParseCommand operation has failed.");
        return fail(MALFORMED_COMMAND);
    }
    const char* const program = state->arguments.get()[0];
    if (access(program, X_OK) != 0) {
        traceTo(traceLog, TRACE_ERROR, "CFiExecPipePosix::ExecPipe command [%s] does not exists.",
                program);
        return fail(NOT_EXECUTABLE);
    }
    return startChild();
}

int CFiExecPipePosix::startChild() {
    state->output.prepare();
    Pipe output;
    if (!makePipe(output)) {
        const int error = errno;
        traceTo(traceLog, TRACE_ERROR,
                "CFiExecPipePosix::ExecPipe ERROR: pipe(%p) failed, errno %d",
                static_cast<void*>(&output), error);
        return fail(PIPE_FAILED, error, L"errno=" + std::to_wstring(error));
    }
    // Without a second pipe the command runs all the same; only its early failures are not told.
    Pipe status;
    makePipe(status);
    ChildEnvironment environment;
    if (!environment.build()) {
        traceTo(traceLog, TRACE_ERROR,
                "CFiExecPipePosix::ExecPipe locale modification failed, errno %d", errno);
    }
    const char* const input = inputFilePath.empty() ? nullptr : inputFilePath.c_str();
    const pid_t child =
        startChildProcess({state->arguments.get(), environment.entries(), input, output, status});
    if (child < 0) {
        const int error = errno;
        abandon(traceLog, output);
        traceTo(traceLog, TRACE_ERROR, "CFiExecPipePosix::ExecPipe ERROR: fork() failed, errno %d",
                error);
        return fail(FORK_FAILED);
    }
    state->child = child;
    state->childGone = false;
    state->output.open(std::move(output.readEnd));
    state->status = std::move(status.readEnd);
    if (!output.writeEnd.close()) {
        traceTo(traceLog, TRACE_ERROR,
                "CFiExecPipePosix::ExecPipe ERROR: parent close(pipe[1]) failed, errno %d", errno);
    }
    return 0;
}

// A child that traces could wait for ever for a lock that another thread held when it was started:
// it reports what failed, and this process writes the lines once they can be there.
void CFiExecPipePosix::traceChildFailures() {
    for (ChildFailure failure; readChildFailure(state->status, failure);) {
        traceFailure(traceLog, failure, inputFilePath.c_str());
    }
}

// ---- Reading ----

bool CFiExecPipePosix::ReadLine(char* buffer, int size, unsigned char* timedOut, long timeout) {
    *timedOut = 0;
    OutputReader& output = state->output;
    if (!output.isOpen() || size < 2) {
        return false;
    }
    char* free = buffer;
    const char* const last = buffer + size - 1;
    while (!output.take(free, last)) {
        const OutputReader::Refill refill = output.refill(timeout);
        if (refill == OutputReader::FAILED) {
            traceTo(traceLog, TRACE_ERROR,
                    "CFiExecPipePosix::ReadLine ERROR: read() failed, errno %d", errno);
        }
        if (refill != OutputReader::MORE) {
            *timedOut = refill == OutputReader::TIMED_OUT ? 1 : 0;
            endReading();
            break;
        }
    }
    *free = '\0';
    return free != buffer;
}

void CFiExecPipePosix::endReading() {
    traceChildFailures();
    const int descriptor = state->output.descriptor().get();
    if (!state->output.close()) {
        traceTo(traceLog, TRACE_ERROR,
                "CFiExecPipePosix::Readline ERROR: close(%d) failed, errno %d", descriptor, errno);
    }
}

// ---- Waiting ----

int CFiExecPipePosix::WaitPid(long timeout) {
    if (state->child <= 0) {
        traceTo(traceLog, TRACE_ERROR,
                "CFiExecPipePosix::WaitPid ERROR: invalid child process pid");
        return NO_STATUS;
    }
    int status = NO_STATUS;
    if (waitWithin(timeout, status)) {
        return status;
    }
    const long limit = std::min(timeout, SIGNAL_TIMEOUT);
    signalChild(SIGTERM, "SIGTERM");
    if (waitWithin(limit, status)) {
        return status;
    }
    signalChild(SIGKILL, "SIGKILL");
    if (waitWithin(limit, status)) {
        return status;
    }
    traceTo(traceLog, TRACE_ERROR,
            "CFiExecPipePosix::WaitPid ERROR: child process appears to be hung");
    return NO_STATUS;
}

// Polls until more than limit seconds are over. False when the child still runs; otherwise status
// is its wait status, or NO_STATUS when there is no such child.
bool CFiExecPipePosix::waitWithin(long limit, int& status) {
    GrowingPause pause;
    for (const long start = monotonicSeconds(); monotonicSeconds() - start <= limit;
         pause.sleep()) {
        const pid_t ended = state->childGone ? -1 : waitpid(state->child, &status, WNOHANG);
        if (ended == state->child) {
            state->childGone = true;
            traceTo(traceLog, TRACE_FUNCTION, "CFiExecPipePosix::WaitPid : waitpid got status %d",
                    status);
            return true;
        }
        if (state->childGone || (ended < 0 && errno == ECHILD)) {
            state->childGone = true;
            status = NO_STATUS;
            traceTo(traceLog, TRACE_ERROR, "CFiExecPipePosix::WaitPid ERROR: waitpid got ECHILD");
            return true;
        }
    }
    return false;
}

void CFiExecPipePosix::signalChild(int signal, const char* name) {
    int error = ESRCH;
    if (!state->childGone) {
        error = kill(state->child, signal) == 0 ? 0 : errno;
    }
    if (error != 0) {
        traceTo(traceLog, TRACE_ERROR,
                "CFiExecPipePosix::WaitPid ERROR: kill(%d, %s) failed, errno %d",
                static_cast<int>(state->child), name, error);
    }
}

// ---- Closing ----

int CFiExecPipePosix::Close(long timeout) {
    int result = 0;
    const int descriptor = state->output.descriptor().get();
    if (!state->output.close()) {
        const int error = errno;
        traceTo(traceLog, TRACE_WARNING, "CFiExecPipePosix::Close failed with error number [%d]",
                error);
        result = fail(CLOSE_FAILED, error,
                      L"close(" + std::to_wstring(descriptor) + L") failed, errno " +
                          std::to_wstring(error));
    }
    if (state->child <= 0) {
        return result;
    }
    const int status = WaitPid(timeout);
    traceChildFailures();
    state->status.close();
    result = judge(status, result);
    state->child = -1;
    return result;
}

// The result for a raw wait status; result is what it was so far.
int CFiExecPipePosix::judge(int status, int result) {
    constexpr int SIGNAL_BITS = 0x7f;
    constexpr int EXIT_SHIFT = 8;
    constexpr int EXIT_BITS = 0xff;
    const int signal = status & SIGNAL_BITS;
    const int exitStatus = (status >> EXIT_SHIFT) & EXIT_BITS;
    if (status == NO_STATUS) {
        traceTo(traceLog, TRACE_WARNING, "Unexpected error encountered.");
        return fail(WAIT_FAILED, 0, L"Error in WaitPid()");
    }
    if (signal == SIGNAL_BITS) {
        return failWith(UNEXPECTED_STATUS, 0,
                        "Command terminated with unexpected status: ", status);
    }
    if (signal != 0) {
        return failWith(KILLED, signal, "Command terminated by signal ", signal);
    }
    if (exitStatus != 0) {
        return failWith(EXITED, exitStatus, "Command exited with status ", exitStatus);
    }
    return result;
}

// Traces and records text with its number.
int CFiExecPipePosix::failWith(int code, int detail, const char* text, int number) {
    const std::string message = text + std::to_string(number);
    traceTo(traceLog, TRACE_WARNING, "%s", message.c_str());
    return fail(code, detail, std::wstring(message.begin(), message.end()));
}

} // namespace kzfi_pdk_4_4
