// Runs command-line tools and collects their output.
#ifndef CFIEXECPIPE_H
#define CFIEXECPIPE_H

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "cfitraceable.h"

namespace kzfi_pdk_4_4 {

/// What a runner's last failure was; empty, with code 0, as long as there was none.
///
/// code   what failed                                       detail
///  1     no pipe                                           errno
///  3     closing the read end                              errno
///  4     no child process                                  0
///  5     no line of output within the time limit           0
///  6     the command line is not well quoted or is empty   0
///  7     the program is not an executable file             0
///  8     waiting for the child                             0
/// 11     the command exited with a status other than 0     that status
/// 12     the command was ended by a signal                 the signal's number
/// 13     any other wait status                             0
struct KZFI_PDK_API EFiExecPipe {
    /// The command line, a text about the failure, and the two numbers of the table above.
    std::string command;
    std::wstring message;
    int code = 0;
    int detail = 0;
};

/// How a command is run and its output collected; CFiExecPipePosix says how a process is started.
///
///     CFiExecPipePosix runner(1);
///     runner.registerTraceLog(traceLog);
///     std::vector<std::string> output;
///     if (runner.Exec("/usr/bin/stat '/data/a b'", output, "", 60, "", "", "") != 0) {
///         report(runner.getLastError());
///     }
///
/// Lines of output keep their newline, those of the child context have none: accept both. What the
/// command writes to standard error arrives among the lines.
///
/// Threads: one thread runs one command at a time; only Abort() and IsAbortRequested() may be
/// called from other threads meanwhile.
/// Ownership: holds everything by value.
/// Errors: operations return 0 or the code of EFiExecPipe and record it; a success does not clear
/// the record. Nothing is thrown but std::bad_alloc and what a handler of the trace log throws.
class KZFI_PDK_API CFiExecPipeBase : public virtual CFiTraceable {
  public:
    /// Bit 0 of runFlags: Exec() ends with a Close(), so that no child is left behind by a time
    /// limit. The strings are kept and not used.
    explicit CFiExecPipeBase(int runFlags);
    CFiExecPipeBase(std::vector<std::string> list, int runFlags);
    CFiExecPipeBase(const CFiExecPipeBase&) = delete;
    CFiExecPipeBase& operator=(const CFiExecPipeBase&) = delete;
    ~CFiExecPipeBase() override;

    void registerTraceLog(const CFiTraceLogPtr& log) override;

    /// Starts command; its standard input is the file that ExecMain() was given, or /dev/null. The
    /// second string is ignored. Returns 0 or 1, 4, 6, 7.
    virtual int ExecPipe(std::string command, std::string) = 0;

    /// Waits for the end of the child, first for timeout seconds, then after SIGTERM and then after
    /// SIGKILL for the same time but 30 s at most. Returns the raw wait status, or -1. It does not
    /// forget the child: a Close() after it finds none any more and returns 8.
    virtual int WaitPid(long timeout) = 0;

    /// Closes the pipe and waits for the child as WaitPid(timeout) does. Returns 0 or 3, 8, 11, 12,
    /// 13; without a child 0 or 3.
    virtual int Close(long timeout) = 0;

    /// Stores the next line with its newline and a NUL, or the next size - 1 bytes of a longer one,
    /// or an end without newline. False when there is none. *timedOut tells, also beside a last
    /// piece of output, that nothing came for timeout seconds; reading is then over.
    virtual bool ReadLine(char* buffer, int size, unsigned char* timedOut, long timeout) = 0;

    /// Whether Abort() was called.
    virtual bool IsAbortRequested();

    /// Whether commands are to be handed to the framework instead of being started here; false.
    virtual bool IsChildContext();

    /// Has the framework run command and appends the lines of its output. Returns the framework's
    /// status, here 0 without doing anything.
    virtual int ExecCommandInChildContext(std::string command, std::vector<std::string>& output);

    /// Runs command with inputFile as its standard input (empty: /dev/null) and replaces output by
    /// its lines, each of 8190 bytes at most; longer ones come in pieces, a NUL ends a line early.
    ///
    /// timeout, in seconds, is how long the command may be silent, not how long it may run. When it
    /// is over the result is 5, output holds the lines so far, and the child is left running until
    /// Close(). output is left alone when the command could not be started, and appended to in the
    /// child context. The three last strings are not used.
    virtual int ExecMain(std::string command, std::vector<std::string>& output,
                         std::string inputFile, unsigned long timeout, std::string, std::string,
                         std::string);

    /// ExecMain(), then Close(10) when bit 0 of the flags is set. The result is that of ExecMain();
    /// the record may be that of Close().
    virtual int Exec(std::string command, std::vector<std::string>& output, std::string inputFile,
                     unsigned long timeout, std::string, std::string, std::string);

    /// No further line is read, by this run and by every later one; the line that is being waited
    /// for still is. The run then ends with Close(), which ends the command.
    virtual void Abort();

    /// Makes the runner idle; nothing here.
    virtual void Init();

    /// The last failure.
    virtual EFiExecPipe getLastError();

  protected:
    /// Records a failure of command and returns its code.
    int recordFailure(const std::string& command, int code, int detail = 0,
                      const std::wstring& message = std::wstring());

    /// What Abort, the constructor, recordFailure and the last Exec set.
    std::atomic<bool> abortRequested;
    std::vector<std::string> stringList;
    EFiExecPipe lastError;
    std::string sixthArgument;
    std::string seventhArgument;
    std::string inputFilePath;
    int execFlags;
};

/// Runs commands as child processes of this one, or through the framework in its child context.
///
/// A command line is split at blanks and tabs. Single and double quotes keep them and each other;
/// a backslash keeps the next character, but only outside quotes. Nothing else is special: no
/// shell takes part, and the program is named by its path, never looked up. The child gets this
/// process's environment with LANG, LC_ALL, LC_COLLATE, LC_CTYPE, LC_MESSAGES, LC_MONETARY,
/// LC_NUMERIC and LC_TIME set to "C" and CDPATH, EDITOR, ENV, FPATH and IFS to nothing, and none of
/// the descriptors that are marked close-on-exec. Failures of the child before the program runs
/// are traced by this process and end the child with status 1.
///
/// Threads: neither other runners nor any number of threads and open descriptors disturb a runner.
/// No thread may add or remove environment variables while a command is started. Where SIGCHLD is
/// ignored in this process, or other code waits for children that are not its own, the end of a
/// child cannot be told, and runs end with 8.
/// Ownership: the child process and the read end of its output, until Close(). Starting another
/// command before that forgets the first child.
/// Errors: as CFiExecPipeBase. The destructor takes more than half a minute with a child that does
/// not end.
class KZFI_PDK_API CFiExecPipePosix : public CFiExecPipeBase {
  public:
    /// As the base class.
    explicit CFiExecPipePosix(int runFlags);
    CFiExecPipePosix(std::vector<std::string> list, int runFlags);
    CFiExecPipePosix(const CFiExecPipePosix&) = delete;
    CFiExecPipePosix& operator=(const CFiExecPipePosix&) = delete;
    /// Close(10).
    ~CFiExecPipePosix() override;

    int ExecPipe(std::string command, std::string) override;
    int WaitPid(long timeout) override;
    int Close(long timeout) override;
    bool ReadLine(char* buffer, int size, unsigned char* timedOut, long timeout) override;
    bool IsChildContext() override;
    int ExecCommandInChildContext(std::string command, std::vector<std::string>& output) override;

    /// Forgets the child, closes the read end and drops what was read and parsed.
    void Init() override;

  protected:
    /// Splits command into arguments, which are added to those there are, and ends them with a
    /// null. False when it is empty or not well quoted, or without memory.
    bool ParseCommand(const std::string& command);

    /// Adds one argument, given as it stands in the command line, or with length 0 the null behind
    /// the last one.
    bool AddArgument(const char* text, int length);

    /// The arguments so far and their number. Null as long as there are none.
    char* const* arguments() const;
    int argumentCount() const;

  private:
    struct State;

    int startChild();
    void endReading();
    void traceChildFailures();
    bool waitWithin(long limit, int& status);
    void signalChild(int signal, const char* name);
    int judge(int status, int result);
    int failWith(int code, int detail, const char* text, int number);
    int fail(int code, int detail = 0, const std::wstring& message = std::wstring());

    std::unique_ptr<State> state;
};

} // namespace kzfi_pdk_4_4

#endif
