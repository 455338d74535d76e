#include <utility>

#include "cfiexecpipe.h"
#include "diag/tracing.h"

namespace kzfi_pdk_4_4 {

namespace {

constexpr std::size_t LINE_BUFFER = 8192;
constexpr int CLOSE_AFTER_EXEC = 1;
constexpr long CLOSE_TIMEOUT = 10;
constexpr int TIMED_OUT = 5;

} // namespace

CFiExecPipeBase::CFiExecPipeBase(int runFlags) : abortRequested(false), execFlags(runFlags) {}

CFiExecPipeBase::CFiExecPipeBase(std::vector<std::string> list, int runFlags)
    : abortRequested(false),
      stringList(std::move(list)),
      execFlags(runFlags) {}

CFiExecPipeBase::~CFiExecPipeBase() = default;

void CFiExecPipeBase::registerTraceLog(const CFiTraceLogPtr& log) {
    CFiTraceable::registerTraceLog(log);
}

bool CFiExecPipeBase::IsAbortRequested() {
    return abortRequested.load(std::memory_order_relaxed);
}

bool CFiExecPipeBase::IsChildContext() {
    return false;
}

int CFiExecPipeBase::ExecCommandInChildContext(std::string, std::vector<std::string>&) {
    return 0;
}

int CFiExecPipeBase::ExecMain(std::string command, std::vector<std::string>& output,
                              std::string inputFile, unsigned long timeout, std::string fifth,
                              std::string sixth, std::string seventh) {
    std::vector<char> line(LINE_BUFFER);
    sixthArgument = std::move(sixth);
    seventhArgument = std::move(seventh);
    inputFilePath = std::move(inputFile);
    if (IsChildContext()) {
        traceTo(traceLog, TRACE_FUNCTION, "Executing command in child context.");
        return ExecCommandInChildContext(std::move(command), output);
    }
    const int started = ExecPipe(command, std::move(fifth));
    if (started != 0) {
        return started;
    }
    output.clear();
    while (!IsAbortRequested()) {
        unsigned char timedOut = 0;
        const bool got = ReadLine(line.data(), static_cast<int>(line.size()) - 1, &timedOut,
                                  static_cast<long>(timeout));
        // Tested before the line: what came just before the time limit is dropped.
        if (timedOut != 0) {
            recordFailure(command, TIMED_OUT);
            traceTo(traceLog, TRACE_ERROR, "Process has timmedout (%d sec)",
                    static_cast<int>(timeout));
            return TIMED_OUT;
        }
        if (!got) {
            break;
        }
        output.emplace_back(line.data());
    }
    return Close(CLOSE_TIMEOUT);
}

int CFiExecPipeBase::Exec(std::string command, std::vector<std::string>& output,
                          std::string inputFile, unsigned long timeout, std::string fifth,
                          std::string sixth, std::string seventh) {
    const int result = ExecMain(std::move(command), output, std::move(inputFile), timeout,
                                std::move(fifth), std::move(sixth), std::move(seventh));
    if ((execFlags & CLOSE_AFTER_EXEC) != 0) {
        const int closed = Close(CLOSE_TIMEOUT);
        if (closed != 0) {
            traceTo(traceLog, TRACE_WARNING, "Close of the process returned %d", closed);
        }
    }
    return result;
}

void CFiExecPipeBase::Abort() {
    abortRequested.store(true, std::memory_order_relaxed);
}

void CFiExecPipeBase::Init() {}

EFiExecPipe CFiExecPipeBase::getLastError() {
    return lastError;
}

int CFiExecPipeBase::recordFailure(const std::string& command, int code, int detail,
                                   const std::wstring& message) {
    lastError.command = command;
    lastError.message = message;
    lastError.code = code;
    lastError.detail = detail;
    return code;
}

} // namespace kzfi_pdk_4_4
