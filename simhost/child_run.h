// Runs work in a child process and listens to what it tells, so that a crash, an exit or a hang of
// the work never reaches the caller.
#ifndef KZFI_SIMHOST_CHILD_RUN_H
#define KZFI_SIMHOST_CHILD_RUN_H

#include <sys/types.h>

#include <functional>
#include <string>

#include "json.h"

namespace kzfi_simhost {

/// The child's end of the line. Every event carries a mark that is new with each child, so that
/// what a provider writes onto descriptors that are not its own is never taken for one.
class EventWriter {
  public:
    EventWriter(int descriptor, std::string newMark);

    /// Does nothing in a process that the child forked.
    void send(const Json& event) const;

  private:
    int pipe;
    std::string mark;
    pid_t owner;
};

/// How a child came to its end.
struct ChildEnd {
    enum Kind {
        DONE,   ///< the work came to its end
        EXITED, ///< the process ended in the middle of the work
        KILLED, ///< by a signal
        HUNG    ///< it missed its deadline and was ended
    };
    Kind kind = DONE;
    int code = 0;           ///< exit status or signal
    std::string privateUsr; ///< why the child has no /usr of its own; empty when it has one

    /// "exited with status 3", "was killed by SIGSEGV (Segmentation fault)"; empty for DONE.
    std::string inWords() const;
};

/// A signal that told the command to end while there was a child. No exception of the usual kind,
/// so that nothing on the way up takes it for something else: whoever catches it ends by that
/// signal.
struct EndedBySignal {
    int number;
};

/// "SIGTERM (Terminated)".
std::string signalInWords(int number);

/// What the child does.
using ChildWork = std::function<void(const EventWriter&)>;

/// Called for every event in the caller's process; returns the seconds within which the next event
/// must come.
using EventListener = std::function<double(const Json& event)>;

/// Called in the caller's process about five times a second while it waits.
using TickListener = std::function<void()>;

/// Called in the caller's process when the child has missed its deadline and is still there. The
/// processes that it started are there as well.
using HangListener = std::function<void(int process)>;

/// Forks and runs work in the child: leader of a process group of its own, with a private /usr
/// where the machine allows it, standard input empty, standard output and standard error appended
/// to outputFile. Returns when the child and everything left in its process group is gone.
///
/// The caller must have one thread only. The child ends with the caller, and without running the
/// handlers that the caller registered for its own exit. An exception that leaves work ends the
/// child with status 70, its text in outputFile.
/// Throws CannotRun when there is no child to be had, and EndedBySignal when SIGHUP, SIGINT or
/// SIGTERM comes that is not ignored. What listener, tick or onHang throws passes. The child and
/// its process group are gone by then.
ChildEnd runInChild(const ChildWork& work, const EventListener& listener, double firstDeadline,
                    const std::string& outputFile, const TickListener& tick = nullptr,
                    const HangListener& onHang = nullptr);

} // namespace kzfi_simhost

#endif
