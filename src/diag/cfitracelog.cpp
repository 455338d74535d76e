#include "cfitracelog.h"

#include <pthread.h>
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
#include "util/text.h"

namespace kzfi_pdk_4_4 {

namespace {

constexpr char MAIN_CONFIG_PATH[] = KZFI_MAIN_CONFIG_DIR "/" KZFI_MAIN_CONFIG_FILE;
// The lowest verbose level that lets lines through.
constexpr int LEAST_VERBOSE = 9;
// Room for more text beside the message in a copy for the error manager.
constexpr std::size_t COPY_ROOM = 256;
// Enough for what stands before the message of a line, and its line end.
constexpr std::size_t HEAD_ROOM = 100;

std::uint32_t threadId() {
    return static_cast<std::uint32_t>(pthread_self());
}

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

} // namespace

CFiTraceLog::CFiTraceLog()
    : enabled(false),
      toStdout(false),
      runtimeUpdate(false),
      traceLevel(0),
      logHandler(nullptr) {}

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
    const std::string date = TraceTime().date();
    const std::string path = pathOfDay(date);
    traceDate = date.c_str();
    tracePath = path.c_str();
    if (traceLevel == 0) {
        return;
    }
    const bool noLink = RemoveSymbolicLink(path.c_str()) == 0;
    if (openForAppending(path.c_str(), !noLink).isOpen()) {
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
    try {
        traceEnabled(level, format, arguments);
    } catch (const std::bad_alloc&) {
        // Without memory the line is dropped.
    }
}

void CFiTraceLog::traceEnabled(int level, const char* format, va_list arguments) {
    const bool written = passesFilter(level);
    const bool pushed = errorManagerListens();
    if (!written && !pushed) {
        return;
    }
    const TraceMessage message(format, arguments);
    const TraceTime time;
    if (written) {
        writeLine(level, time, message.text());
    }
    if (pushed) {
        pushToErrorManager(level, time, message);
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

void CFiTraceLog::writeLine(int level, const TraceTime& time, const char* message) {
    const LogHandler handler = logHandler;
    std::string line;
    line.reserve(HEAD_ROOM + std::strlen(message));
    line.append(time.stamp()).append(handler != nullptr ? ":<Pid - " : " <Pid - ");
    appendNumber(line, static_cast<std::uint32_t>(processId()));
    line.append(" / Thread id - ");
    appendNumber(line, threadId());
    line.append("> ").append(message);
    if (handler != nullptr) {
        handler(line.c_str(), level);
        return;
    }
    line += '\n';
    writeToFile(time.date(), line);
    if (toStdout) {
        std::printf("%s:%s", ownerName.c_str(), line.c_str());
    }
}

void CFiTraceLog::writeToFile(const std::string& date, const std::string& line) {
    // A log that was only ever given a handler has no file; "/.MMDDYY" is not to be made.
    if (traceDir.is_empty() && traceFile.is_empty()) {
        return;
    }
    const std::string path = pathOfDay(date);
    const bool linkRemoved = startsDay(date, path) && RemoveSymbolicLink(path.c_str()) == 0;
    // A link that appears behind the check of a day's first line is somebody's race: not followed.
    const FileDescriptor file = openForAppending(path.c_str(), !linkRemoved);
    if (file.isOpen()) {
        writeOnce(file, line.data(), line.size());
    }
}

std::string CFiTraceLog::pathOfDay(const std::string& date) const {
    std::string path;
    path.reserve(traceDir.length() + traceFile.length() + date.size() + 2);
    path.append(traceDir.c_str(), traceDir.length()).append("/");
    path.append(traceFile.c_str(), traceFile.length()).append(".");
    return path.append(date);
}

// One thread at a time looks at the fields; another one that comes meanwhile writes its line
// without waiting, and leaves the change of day to the one at it or to the next line.
bool CFiTraceLog::startsDay(const std::string& date, const std::string& path) {
    if (dateInUse.test_and_set(std::memory_order_acquire)) {
        return false;
    }
    const bool changed = traceDate != date.c_str();
    if (changed) {
        traceDate = date.c_str();
        tracePath = path.c_str();
    }
    dateInUse.clear(std::memory_order_release);
    return changed;
}

void CFiTraceLog::pushToErrorManager(int level, const TraceTime& time,
                                     const TraceMessage& message) const {
    std::string copy;
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
    errorManager->pushError(copy.c_str(), severityOf(level));
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
