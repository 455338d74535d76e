#include "cfitracelog.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <new>

#include "cfierrormgr.h"
#include "diag/tracemessage.h"
#include "diag/tracetime.h"
#include "diag/verbose.h"
#include "util/file.h"
#include "util/processid.h"
#include "util/productpaths.h"
#include "util/text.h"
#include "util/threadid.h"

namespace kzfi_pdk_4_4 {

namespace {

// The lowest verbose level that lets lines through.
constexpr int LEAST_VERBOSE = 9;
// Room for more text beside the message in a copy for the error manager.
constexpr std::size_t COPY_ROOM = 256;
// Enough for what stands before the message of a line, and its line end.
constexpr std::size_t HEAD_ROOM = 100;
constexpr int NO_DAY = -1;

void appendNumber(std::string& text, std::uint32_t number) {
    char digits[10];
    char* const end = std::to_chars(digits, std::end(digits), number).ptr;
    text.append(digits, static_cast<std::size_t>(end - digits));
}

kfi_eseverity severityOf(int level) {
    switch (level) {
    case 1:
        return 3;
    case 2:
        return 2;
    case 3:
        return 1;
    case 7:
        return 6;
    case 8:
        return 7;
    default:
        return 4;
    }
}

// For the first line of a day. A link that appears behind the check is somebody's race: not
// followed.
FileDescriptor openChecked(const char* path) {
    const bool linkStays = RemoveSymbolicLink(path) != 0;
    return openForAppending(path, linkStays);
}

// A turn at something that one thread at a time may do; who comes meanwhile does not wait.
class Turn {
  public:
    explicit Turn(std::atomic_flag& takenFlag)
        : taken(takenFlag),
          mine(!takenFlag.test_and_set(std::memory_order_acquire)) {}
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() {
        if (mine) {
            taken.clear(std::memory_order_release);
        }
    }
    bool isMine() const { return mine; }

  private:
    std::atomic_flag& taken;
    const bool mine;
};

} // namespace

/// What a line hands to code of others, once it is complete.
struct TraceOutput {
    CFiTraceLog::LogHandler handler = nullptr;
    std::string line;
    bool pushed = false;
    std::string copy;
};

CFiTraceLog::CFiTraceLog()
    : enabled(false),
      toStdout(false),
      runtimeUpdate(false),
      traceLevel(0),
      logHandler(nullptr),
      checkedDay(NO_DAY) {}

CFiTraceLog::~CFiTraceLog() = default;

void CFiTraceLog::setErrorManager(const CFiErrorManagerPtr& manager) {
    errorManager = manager;
}

void CFiTraceLog::registerLogHandler(LogHandler handler, const int& level) {
    logHandler = handler;
    traceLevel = level;
    enabled = true;
}

void CFiTraceLog::unregisterLogHandler() {
    logHandler = nullptr;
}

void CFiTraceLog::createTraceFile() {
    checkedDay = NO_DAY;
    if (traceLevel == 0) {
        return;
    }
    const TraceTime time;
    const std::string path = pathOfDay(time);
    if (hasLocation() && openNewDay(time, path).isOpen()) {
        enabled = true;
        updateTraceLevelFromConfigFile();
    } else {
        std::printf("[CFiTraceLog] Error: Tracefile [%s] initialization failed.[%s][%s]\n",
                    path.c_str(), traceDir.c_str(), traceFile.c_str());
    }
}

void CFiTraceLog::trace(int level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vtrace(level, format, arguments);
    va_end(arguments);
}

void CFiTraceLog::vtrace(int level, const char* format, va_list arguments) {
    if (runtimeUpdate) {
        updateTraceLevelFromConfigFile();
    }
    if (format == nullptr || *format == '\0' || !enabled) {
        return;
    }
    TraceOutput output;
    try {
        traceEnabled(level, format, arguments, output);
    } catch (const std::bad_alloc&) {
        // Without memory the line is dropped.
    }
    handOver(level, output);
}

void CFiTraceLog::traceEnabled(int level, const char* format, va_list arguments,
                               TraceOutput& output) {
    const bool written = passesFilter(level);
    const bool pushed = errorManagerListens();
    if (!written && !pushed) {
        return;
    }
    const TraceMessage message(format, arguments);
    const TraceTime time;
    if (written) {
        writeLine(time, message.text(), output);
    }
    if (pushed) {
        makeCopy(level, time, message, output);
    }
}

// Apart from the log's own work: what others throw passes, also when they are out of memory.
void CFiTraceLog::handOver(int level, const TraceOutput& output) const {
    if (output.handler != nullptr) {
        output.handler(output.line.c_str(), level);
    }
    if (output.pushed) {
        errorManager->pushError(output.copy.c_str(), severityOf(level));
    }
}

bool CFiTraceLog::passesFilter(int level) const {
    if (level <= traceLevel) {
        return true;
    }
    // Only here the verbose level can matter, so that only here the main file is read.
    int verbose = -1;
    readVerboseLevel(MAIN_CONFIG_PATH, verbose);
    return verbose >= LEAST_VERBOSE && level <= verbose;
}

bool CFiTraceLog::errorManagerListens() const {
    return errorManager && errorManager->hasHandlers();
}

void CFiTraceLog::writeLine(const TraceTime& time, const char* message, TraceOutput& output) {
    const LogHandler handler = logHandler;
    std::string& line = output.line;
    line.reserve(HEAD_ROOM + std::strlen(message));
    line.append(time.stamp()).append(handler != nullptr ? ":<Pid - " : " <Pid - ");
    appendNumber(line, static_cast<std::uint32_t>(processId()));
    line.append(" / Thread id - ");
    appendNumber(line, threadId());
    line.append("> ").append(message);
    if (handler != nullptr) {
        output.handler = handler;
        return;
    }
    line += '\n';
    writeToFile(time, line);
    if (toStdout) {
        std::printf("%s:%s", ownerName.c_str(), line.c_str());
    }
}

// A log that was only ever given a handler has no file; "/.MMDDYY" is not to be made.
bool CFiTraceLog::hasLocation() const {
    return !traceDir.is_empty() || !traceFile.is_empty();
}

void CFiTraceLog::writeToFile(const TraceTime& time, const std::string& line) {
    if (!hasLocation()) {
        return;
    }
    const FileDescriptor file = openForLine(time, pathOfDay(time));
    if (file.isOpen()) {
        writeOnce(file, line.data(), line.size());
    }
}

std::string CFiTraceLog::pathOfDay(const TraceTime& time) const {
    const std::string date = time.date();
    std::string path;
    path.reserve(traceDir.length() + traceFile.length() + date.size() + 2);
    path.append(traceDir.c_str(), traceDir.length()).append("/");
    path.append(traceFile.c_str(), traceFile.length()).append(".");
    return path.append(date);
}

// Nobody waits for the check of a new day's file: until it is done, the lines of other threads
// follow no link. Afterwards links are followed until the day ends.
FileDescriptor CFiTraceLog::openForLine(const TraceTime& time, const std::string& path) {
    if (isChecked(time)) {
        return openForAppending(path.c_str(), true);
    }
    const Turn turn(dayInCheck);
    if (!turn.isMine()) {
        return openForAppending(path.c_str(), false);
    }
    return isChecked(time) ? openForAppending(path.c_str(), true) : openNewDay(time, path);
}

bool CFiTraceLog::isChecked(const TraceTime& time) const {
    return checkedDay.load(std::memory_order_acquire) == time.day();
}

FileDescriptor CFiTraceLog::openNewDay(const TraceTime& time, const std::string& path) {
    FileDescriptor file = openChecked(path.c_str());
    // For whoever looks at a core dump; the log itself reads neither of the two.
    traceDate = time.date().c_str();
    tracePath = path.c_str();
    checkedDay.store(time.day(), std::memory_order_release);
    return file;
}

void CFiTraceLog::makeCopy(int level, const TraceTime& time, const TraceMessage& message,
                           TraceOutput& output) const {
    std::string& copy = output.copy;
    if (level != 7 && level != 8) {
        copy.append(ownerName.c_str(), ownerName.length());
        copy.append(":").append(time.stamp());
        copy.append(" <Thread id - ");
        appendNumber(copy, threadId());
        copy.append("> ");
    }
    const std::size_t length = std::strlen(message.text());
    copy.append(message.text(), length).append("\n");
    const bool hasRoom = message.bufferSize() - length >= COPY_ROOM;
    const std::size_t room = message.bufferSize() + (hasRoom ? 0 : COPY_ROOM);
    copy.resize(std::min(copy.size(), room - 1));
    output.pushed = true;
}

bool IsSymbolicLink(const char* path) {
    struct stat status;
    if (lstat(orEmpty(path), &status) != 0) {
        // Also at the first line of every day, whose file is not there yet; kept so on purpose.
        std::printf("Failed to lstat %s\n", orEmpty(path));
        return false;
    }
    return S_ISLNK(status.st_mode);
}

int RemoveSymbolicLink(const char* path) {
    if (!IsSymbolicLink(path)) {
        return 0;
    }
    std::printf("A symbolic link with the name %s exists.Removing link\n", path);
    const int status = unlink(path);
    if (status != 0) {
        std::printf("Failed to unlink trace file\n");
    }
    return status;
}

} // namespace kzfi_pdk_4_4
