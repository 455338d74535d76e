#include "child_run.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>

#include <sys/prctl.h>
#include <sys/random.h>
#include <sys/signalfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>
#include <utility>

#include "private_usr.h"
#include "scenario.h"

namespace kzfi_simhost {
namespace {

using Clock = std::chrono::steady_clock;

const int INTERNAL_ERROR = 70;
const std::chrono::milliseconds TICK(200);
const std::size_t LONGEST_EVENT = 256 << 20;
// Some thirty years: more than the clock's own type could be too long for it.
const double LONGEST_DEADLINE = 1e9;

// The child's own words beside those of the work.
const char* const USR_EVENT = "privateUsr";
const char* const END_EVENT = "end";

[[noreturn]] void cannot(const std::string& what) {
    throw CannotRun("cannot " + what + ": " + std::strerror(errno));
}

/// A descriptor that closes itself.
class Descriptor {
  public:
    explicit Descriptor(int number) : fd(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { reset(); }

    int get() const { return fd; }
    void take(int number) {
        reset();
        fd = number;
    }
    void reset() {
        if (fd >= 0) {
            close(fd);
        }
        fd = -1;
    }

  private:
    int fd;
};

/// While it lives, the signals that end the command wait in a descriptor. Those that the command
/// ignores or has blocked stay so.
class EndingSignals {
  public:
    EndingSignals() {
        sigset_t awaited;
        sigemptyset(&awaited);
        sigprocmask(SIG_BLOCK, nullptr, &before);
        for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
            struct sigaction action = {};
            sigaction(number, nullptr, &action);
            if (action.sa_handler != SIG_IGN && sigismember(&before, number) == 0) {
                sigaddset(&awaited, number);
            }
        }
        sigprocmask(SIG_BLOCK, &awaited, nullptr);
        came.take(signalfd(-1, &awaited, SFD_CLOEXEC | SFD_NONBLOCK));
    }
    EndingSignals(const EndingSignals&) = delete;
    EndingSignals& operator=(const EndingSignals&) = delete;
    ~EndingSignals() { release(); }

    int descriptor() const { return came.get(); }
    /// Lets them end the process again.
    void release() {
        came.reset();
        sigprocmask(SIG_SETMASK, &before, nullptr);
    }
    /// Throws EndedBySignal when one has come.
    void check() const {
        signalfd_siginfo info = {};
        if (read(came.get(), &info, sizeof info) == sizeof info) {
            throw EndedBySignal{static_cast<int>(info.ssi_signo)};
        }
    }

  private:
    sigset_t before;
    Descriptor came{-1};
};

/// A descriptor that becomes readable when the process ends.
int openProcess(pid_t process) {
    return static_cast<int>(syscall(SYS_pidfd_open, process, 0));
}

/// What no provider can guess.
std::string newMark() {
    unsigned char bytes[16];
    if (getrandom(bytes, sizeof bytes, 0) != sizeof bytes) {
        cannot("get random bytes");
    }
    std::string mark;
    for (const unsigned char byte : bytes) {
        mark += "0123456789abcdef"[byte >> 4];
        mark += "0123456789abcdef"[byte & 15];
    }
    return mark;
}

// ---- The child's side ----

void redirect(const char* path, int flags, int target) {
    const int fd = open(path, flags | O_CLOEXEC, 0666);
    if (fd >= 0) {
        dup2(fd, target);
        close(fd);
    }
}

void settleIn(pid_t parent, const EventWriter& events, const std::string& outputFile) {
    setpgid(0, 0);
    redirect("/dev/null", O_RDONLY, STDIN_FILENO);
    redirect(outputFile.c_str(), O_WRONLY | O_CREAT | O_APPEND, STDOUT_FILENO);
    dup2(STDOUT_FILENO, STDERR_FILENO);
    events.send({{USR_EVENT, enterPrivateUsr()}});
    // After the change of namespace, which takes the setting back.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
        _exit(INTERNAL_ERROR);
    }
}

[[noreturn]] void runChild(const ChildWork& work, pid_t parent, const EventWriter& events,
                           const std::string& outputFile) {
    int status = 0;
    try {
        settleIn(parent, events, outputFile);
        work(events);
        events.send({{END_EVENT, true}});
    } catch (const std::exception& e) {
        std::fprintf(stderr, "kzfi-simhost: %s\n", e.what());
        status = INTERNAL_ERROR;
    }
    std::fflush(nullptr);
    _exit(status);
}

// ---- The caller's side ----

/// Splits what comes out of the pipe into events.
class EventReader {
  public:
    EventReader(int descriptor, const std::string& mark) : pipe(descriptor), lead(mark + " ") {}

    /// Takes in what is there; false at the end of the line.
    bool fill() {
        char chunk[65536];
        const ssize_t got = read(pipe, chunk, sizeof chunk);
        if (got > 0) {
            makeRoom();
            buffer.append(chunk, static_cast<std::size_t>(got));
        }
        return got > 0 || (got < 0 && (errno == EINTR || errno == EAGAIN));
    }

    /// The next whole event; false when there is none yet. What has no mark is passed over.
    bool next(Json& event) {
        while (const std::optional<std::string> line = nextLine()) {
            if (line->compare(0, lead.size(), lead) == 0) {
                event = Json::parse(line->substr(lead.size()), nullptr, false);
                if (event.is_object()) {
                    return true;
                }
            }
        }
        return false;
    }

  private:
    /// Drops what was taken, and a line without an end: what comes of it still has no mark.
    void makeRoom() {
        buffer.erase(0, start);
        searched -= start;
        start = 0;
        if (buffer.size() > LONGEST_EVENT) {
            buffer.clear();
            searched = 0;
        }
    }

    std::optional<std::string> nextLine() {
        const std::size_t end = buffer.find('\n', searched);
        if (end == std::string::npos) {
            searched = buffer.size();
            return std::nullopt;
        }
        const std::string line = buffer.substr(start, end - start);
        start = searched = end + 1;
        return line;
    }

    int pipe;
    const std::string lead;
    std::string buffer;
    std::size_t start = 0;    ///< of the next line
    std::size_t searched = 0; ///< up to here it has no end
};

/// Who is told what.
struct Listeners {
    const EventListener& event;
    const TickListener& tick;
    const HangListener& hang;
};

/// Watches one child until it is gone.
class Watch {
  public:
    Watch(pid_t child, int processFd, int pipe, const std::string& mark,
          const EndingSignals& endingSignals, const Listeners& listeners, double firstDeadline)
        : pid(child),
          process(processFd),
          events(pipe, mark),
          pipeFd(pipe),
          signals(endingSignals),
          listener(listeners.event),
          tick(listeners.tick),
          onHang(listeners.hang) {
        allow(firstDeadline);
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;
    /// Nothing is left behind, not even by a listener that throws.
    ~Watch() {
        endGroup();
        reap();
    }

    ChildEnd run() {
        while (waitForSomething()) {
        }
        if (hung && onHang) {
            onHang(pid);
        }
        endGroup();
        drain();
        end.privateUsr = privateUsr;
        judge(reap());
        return end;
    }

  private:
    void allow(double seconds) {
        const std::chrono::duration<double> bounded(std::min(seconds, LONGEST_DEADLINE));
        deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(bounded);
    }

    int millisecondsLeft() const {
        const Clock::time_point wake = tick ? std::min(deadline, nextTick) : deadline;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(wake - Clock::now());
        return static_cast<int>(std::max<long>(0, std::min<long>(left.count(), 1000000)));
    }

    /// False when there is nothing more to wait for.
    bool waitForSomething() {
        pollfd watched[] = {{process, POLLIN, 0},
                            {lineOpen ? pipeFd : -1, POLLIN, 0},
                            {signals.descriptor(), POLLIN, 0}};
        const int ready = poll(watched, 3, millisecondsLeft());
        if (ready < 0) {
            return errno == EINTR;
        }
        signals.check();
        tickWhenDue();
        if (watched[1].revents != 0) {
            lineOpen = events.fill();
            deliver();
        }
        if (watched[0].revents != 0) {
            return false;
        }
        // Also while something comes all the time: only what listener heard gives more time.
        hung = Clock::now() >= deadline;
        return !hung;
    }

    void tickWhenDue() {
        if (tick && Clock::now() >= nextTick) {
            nextTick = Clock::now() + TICK;
            tick();
        }
    }

    /// What the child still said before it ended.
    void drain() {
        pollfd line = {pipeFd, POLLIN, 0};
        while (lineOpen && poll(&line, 1, 0) > 0) {
            lineOpen = events.fill();
        }
        deliver();
    }

    void deliver() {
        for (Json event; events.next(event);) {
            if (event.contains(USR_EVENT)) {
                privateUsr = event[USR_EVENT].get<std::string>();
            } else if (event.contains(END_EVENT)) {
                done = true;
            } else {
                allow(listener(event));
            }
        }
    }

    /// Comes before the child is reaped, so that its id cannot be another's.
    void endGroup() const {
        if (pid > 0) {
            kill(-pid, SIGKILL);
        }
    }

    /// The child's wait status, once.
    int reap() {
        int status = 0;
        while (pid > 0 && waitpid(pid, &status, 0) < 0 && errno == EINTR) {
        }
        pid = -1;
        return status;
    }

    void judge(int status) {
        if (hung) {
            end.kind = done ? ChildEnd::DONE : ChildEnd::HUNG;
        } else if (WIFSIGNALED(status)) {
            end.kind = ChildEnd::KILLED;
            end.code = WTERMSIG(status);
        } else {
            end.code = WEXITSTATUS(status);
            end.kind = done && end.code == 0 ? ChildEnd::DONE : ChildEnd::EXITED;
        }
    }

    pid_t pid;
    const int process;
    EventReader events;
    const int pipeFd;
    const EndingSignals& signals;
    const EventListener& listener;
    const TickListener& tick;
    const HangListener& onHang;
    Clock::time_point deadline;
    Clock::time_point nextTick = Clock::now() + TICK;
    std::string privateUsr = "the child ended too early";
    bool lineOpen = true;
    bool hung = false;
    bool done = false;
    ChildEnd end;
};

} // namespace

EventWriter::EventWriter(int descriptor, std::string newMark)
    : pipe(descriptor),
      mark(std::move(newMark)),
      owner(getpid()) {}

void EventWriter::send(const Json& event) const {
    if (getpid() != owner) {
        return;
    }
    // The line end in front ends whatever a provider may have written there.
    const std::string line = "\n" + mark + " " + oneLine(event) + "\n";
    for (std::size_t sent = 0; sent < line.size();) {
        const ssize_t written = write(pipe, line.data() + sent, line.size() - sent);
        if (written < 0 && errno != EINTR) {
            return; // The listener is gone, or the provider closed the line: the deadline tells.
        }
        sent += written > 0 ? static_cast<std::size_t>(written) : 0;
    }
}

std::string signalInWords(int number) {
    const char* const name = sigabbrev_np(number);
    return (name != nullptr ? std::string("SIG") + name : "signal") + " (" + strsignal(number) +
           ")";
}

std::string ChildEnd::inWords() const {
    switch (kind) {
    case DONE:
        return {};
    case EXITED:
        return "exited with status " + std::to_string(code);
    case KILLED:
        return "was killed by " + signalInWords(code);
    case HUNG:
        return "did not answer in time and was ended";
    }
    return {};
}

ChildEnd runInChild(const ChildWork& work, const EventListener& listener, double firstDeadline,
                    const std::string& outputFile, const TickListener& tick,
                    const HangListener& onHang) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        cannot("make a pipe");
    }
    const Descriptor readEnd(ends[0]);
    Descriptor writeEnd(ends[1]);
    const std::string mark = newMark();
    EndingSignals signals;
    std::fflush(nullptr);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child < 0) {
        cannot("start a process");
    }
    if (child == 0) {
        signals.release();
        close(ends[0]);
        runChild(work, parent, EventWriter(ends[1], mark), outputFile);
    }
    // Both sides do this, so that it is done whoever comes first.
    setpgid(child, child);
    writeEnd.reset();
    const Descriptor process(openProcess(child));
    if (process.get() < 0) {
        kill(child, SIGKILL);
        cannot("watch a process");
    }
    const Listeners listeners = {listener, tick, onHang};
    return Watch(child, process.get(), readEnd.get(), mark, signals, listeners, firstDeadline)
        .run();
}

} // namespace kzfi_simhost
