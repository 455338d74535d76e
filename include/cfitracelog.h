// The trace log of a plug-in context, and the guard that marks the entry and exit of a function.
#ifndef CFITRACELOG_H
#define CFITRACELOG_H

#include <atomic>
#include <cstdarg>
#include <string>

#include "cfitraceable.h"

namespace kzfi_pdk_4_4 {

class CFiConfiguration;
class CFiErrorManager;
class FileDescriptor;
class TraceMessage;
class TraceTime;
struct TraceOutput;

/// The one diagnostic log of a plug-in context.
///
///     CFiTraceLogPtr log(new CFiTraceLog);
///     log->setErrorManager(errorManager);            // optional
///     log->initialize("myplugin", "", "", 3, false); // or registerLogHandler(...)
///     log->trace(1, "ERROR: %s", reason);
///
/// Lines go to one file a day, DIR/FILE.MMDDYY in local time, or to a log handler of the host. DIR,
/// FILE and the level are kept in the section "DEBUG_TRACE_INFO" of the plug-in's configuration
/// file, in the keys TRACEDIR, TRACEFILE, TRACELEVEL, TRACESTDOUT and TRACERUNTIMEUPDATE. A lower
/// level is more important: 1 is an error, 2 a warning, 3 information, 6 the entry and exit of
/// functions. From outside, "KWFIS_VERBOSE = n" (or "VERBOSE = n") in the product's main file
/// /usr/tarnex/stoneleaf/kw.conf lets every line up to level n through when n is 9 or more; the
/// file is looked at again whenever it can matter, so no restart is needed. With an error manager
/// linked, its handlers get every line, also those that the level keeps out of the file.
///
/// Threads: trace() and the log handler calls may be made from any thread. trace() has no lock of
/// its own; each line is one write to a file opened for appending. initialize() and
/// setErrorManager() come before that. The log handler must stand several threads, and may still be
/// running in another one after unregisterLogHandler().
/// Ownership: one count of the error manager. No file is held open between two lines.
/// Errors: without memory or a file that can be opened and written to a line is dropped silently; a
/// disk that fills up cuts the one that no longer fits. What a log or error handler throws passes
/// out of trace(), and with runtime update what reading the configuration throws; a log handler
/// that throws leaves the error manager without its copy. What goes wrong while the trace file is
/// made is told on standard output.
class KZFI_PDK_API CFiTraceLog : public virtual CFiRefCount {
  public:
    /// Receives one line, without a line end, and its level.
    typedef void (*LogHandler)(const char* line, int level);

    /// Off, at level 0, with neither error manager nor handler.
    CFiTraceLog();
    CFiTraceLog(const CFiTraceLog&) = delete;
    CFiTraceLog& operator=(const CFiTraceLog&) = delete;
    ~CFiTraceLog() override;

    /// Sets the log up for the plug-in called name and, unless its configuration says level 0,
    /// makes today's file.
    ///
    /// With dir and file both given, they and level are first stored in the configuration file, and
    /// TRACESTDOUT and TRACERUNTIMEUPDATE are set to 0 there; a text with control characters is not
    /// stored. With either of them empty the configuration file alone decides; what it lacks is
    /// completed with the default location (/usr/tarnex/stoneleaf/logs/kwfis/, NAME.log), level and
    /// echo, a whole section that is missing with echo 0. A log whose section or level had to be
    /// completed in this way stays off, and the next one is on. With echo, lines go to standard
    /// output as well; the configuration can switch that on, not off. Nothing is thrown by reading
    /// and storing the settings.
    void initialize(const tstring& name, tstring dir, tstring file, int level, bool echo);

    /// Writes one line when the level lets it through, and hands a copy to the error manager. A
    /// message of more than 8190 characters is cut to its first 1023. Nothing happens with a null
    /// or empty format and while the log is off.
    void trace(int level, const char* format, ...) __attribute__((format(printf, 3, 4)));

    /// The same with the arguments as a list, which is left to the caller to end.
    void vtrace(int level, const char* format, va_list arguments)
        __attribute__((format(printf, 3, 0)));

    /// Switches the log on at this level. From now on lines go to handler only; a null handler is
    /// none.
    void registerLogHandler(LogHandler handler, const int& level);

    /// Lines go to the file again. The log stays on, at its level.
    void unregisterLogHandler();

    /// From now on manager's handlers get a copy of every line; an empty pointer ends that.
    void setErrorManager(
        const CFiSmartPtr<CFiErrorManager, CFiContextSingletonAllocator<CFiErrorManager>>& manager);

    /// The steps of initialize(), which calls them. Afterwards dir, file and level are what the
    /// configuration file says; the level is only 0 (off) or 1 (on).
    void initTraceSettings(tstring& dir, tstring& file, int& level);
    void loadFromConfigFile(tstring& dir, tstring& file, int& level);

    /// Stores all five keys, the last two as 0, and saves the configuration file. A text with
    /// control characters is skipped: its line breaks would be read back as further keys.
    void updateConfigFile(const tstring& dir, const tstring& file, const int& level);

    /// Reads the level from the configuration file, as it stands there. A missing file, section or
    /// key leaves the level alone; it becomes 1 only when the section can be neither opened nor
    /// made.
    void updateTraceLevelFromConfigFile();

    /// Directory (with its slash) and name of the product's main configuration file. Returns 0.
    static int getKwfisTraceConfigFileInfo(tstring& dir, tstring& file);

    /// Whether any line of the file holds "KWFIS_VERBOSE"; false when it cannot be opened.
    static bool findKwfisVerboseValue(std::string& path);

    /// Reads the verbose level of the file dir + file: the number behind the first "=" of the first
    /// line that holds "KWFIS_VERBOSE", or of the first that holds "VERBOSE" when no line holds the
    /// longer word; comments count. Key and number are looked for in pieces of 254 characters of a
    /// line, each up to its first NUL. Returns 0, or, with level left alone, 1 when there is no
    /// such line or number in it, as in all that is no regular file, and 26 when the file cannot be
    /// opened.
    static int getKwfisTraceLevel(tstring& dir, tstring& file, int& level);

  private:
    void traceEnabled(int level, const char* format, va_list arguments, TraceOutput& output)
        __attribute__((format(printf, 3, 0)));
    void handOver(int level, const TraceOutput& output) const;
    bool passesFilter(int level) const;
    bool errorManagerListens() const;
    void writeLine(const TraceTime& time, const char* message, TraceOutput& output);
    bool hasLocation() const;
    void writeToFile(const TraceTime& time, const std::string& line);
    std::string pathOfDay(const TraceTime& time) const;
    FileDescriptor openForLine(const TraceTime& time, const std::string& path);
    bool isChecked(const TraceTime& time) const;
    FileDescriptor openNewDay(const TraceTime& time, const std::string& path);
    void makeCopy(int level, const TraceTime& time, const TraceMessage& message,
                  TraceOutput& output) const;
    void createTraceFile();
    void importOwnConfiguration(CFiConfiguration& configuration) const;

    tstring ownerName;
    tstring traceFile;
    tstring traceDir;
    tstring tracePath;
    tstring traceDate;
    // Set by one thread while others trace.
    std::atomic<bool> enabled;
    std::atomic<bool> toStdout;
    std::atomic<bool> runtimeUpdate;
    std::atomic<int> traceLevel;
    CFiSmartPtr<CFiErrorManager, CFiContextSingletonAllocator<CFiErrorManager>> errorManager;
    std::atomic<LogHandler> logHandler;
    // MMDDYY as a number: the day whose file was checked for a link and opened once.
    std::atomic<int> checkedDay;
    // Whoever sets it checks a new day's file and may change traceDate and tracePath.
    std::atomic_flag dayInCheck = ATOMIC_FLAG_INIT;
};

/// Traces the entry of a function when made and its exit when destroyed, both at level 6:
///     const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
///
/// Threads: used by the thread that made it.
/// Ownership: a count of the log while it lives; the texts stay the caller's.
/// Errors: the constructor lets through what trace() throws, the destructor nothing. Without a log,
/// function name or file name nothing is traced.
class KZFI_PDK_API CFiTraceLogFunction {
  public:
    /// Lines name the part of sourcePath behind its last slash; for a path without a slash they
    /// name this header. With line 0 the exit line names the function only.
    CFiTraceLogFunction(const CFiTraceLogPtr& log, const char* function, int line,
                        const char* sourcePath);
    CFiTraceLogFunction(const CFiTraceLogFunction&) = delete;
    CFiTraceLogFunction& operator=(const CFiTraceLogFunction&) = delete;
    virtual ~CFiTraceLogFunction();

  private:
    CFiTraceLogPtr traceLog;
    const char* functionName;
    int lineNumber;
    const char* fileName;
};

/// Whether path is a symbolic link. A path that cannot be looked at, also one that does not exist,
/// is none; standard output is told.
KZFI_PDK_API bool IsSymbolicLink(const char* path);

/// Removes path when it is a symbolic link, and tells standard output. Returns 0 when there is no
/// link at path any more, else non-zero.
KZFI_PDK_API int RemoveSymbolicLink(const char* path);

} // namespace kzfi_pdk_4_4

#endif
