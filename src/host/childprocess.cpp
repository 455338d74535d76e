#include "host/childprocess.h"

#include <dirent.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <new>

namespace kzfi_pdk_4_4 {

namespace {

constexpr const char* SETTINGS[] = {
    "LANG=C",        "LC_ALL=C",     "LC_COLLATE=C", "LC_CTYPE=C", "LC_MESSAGES=C",
    "LC_MONETARY=C", "LC_NUMERIC=C", "LC_TIME=C",    "CDPATH=",    "EDITOR=",
    "ENV=",          "FPATH=",       "IFS=",
};

// Moves a descriptor that stands in for a closed standard one out of the child's way.
bool moveAboveStandard(FileDescriptor& descriptor) {
    if (descriptor.get() > STDERR_FILENO) {
        return true;
    }
    descriptor = FileDescriptor(fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    return descriptor.isOpen();
}

bool isRegularFile(const char* path) {
    struct stat status;
    return stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

// Keeps the calling thread from running signal handlers and from being cancelled: in a child that
// shares this process's memory they would act on this process.
class SignalShield {
  public:
    SignalShield() {
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState);
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &saved);
    }
    SignalShield(const SignalShield&) = delete;
    SignalShield& operator=(const SignalShield&) = delete;
    ~SignalShield() {
        pthread_sigmask(SIG_SETMASK, &saved, nullptr);
        pthread_setcancelstate(cancelState, nullptr);
    }

    const sigset_t& savedMask() const { return saved; }

  private:
    sigset_t saved;
    int cancelState;
};

// ---- In the child ----
// Other threads of the host may have held any lock when the child came to be, and the child may
// share the host's memory: from here to the program there are only system calls.

void report(const ChildPlan& plan, ChildStep step) {
    const ChildFailure failure = {step, errno};
    const ssize_t written = write(plan.status.writeEnd.get(), &failure, sizeof failure);
    static_cast<void>(written);
}

[[noreturn]] void giveUp(const ChildPlan& plan, ChildStep step) {
    report(plan, step);
    _exit(1);
}

void dropHandlersOfHost() {
    struct sigaction action = {};
    for (int signal = 1; signal < NSIG; ++signal) {
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN &&
            action.sa_handler != SIG_DFL) {
            action = {};
            action.sa_handler = SIG_DFL;
            sigaction(signal, &action, nullptr);
        }
    }
}

// The number in the name of a descriptor's entry, or -1 for another name.
int descriptorOf(const char* name) {
    int number = *name == '.' ? -1 : 0;
    for (; *name >= '0' && *name <= '9'; ++name) {
        number = 10 * number + (*name - '0');
    }
    return number;
}

bool isNeeded(const ChildPlan& plan, int descriptor) {
    return descriptor <= STDERR_FILENO || descriptor == plan.output.readEnd.get() ||
           descriptor == plan.output.writeEnd.get() || descriptor == plan.status.writeEnd.get();
}

// Until its program runs a child holds all files of the host, and other commands' pipes, whose
// readers would not see the end: a child that may wait for its input for ever lets go of what it
// would not hand on anyway.
void closeFilesOfHost(const ChildPlan& plan) {
    const int folder = open("/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    alignas(struct dirent64) char entries[1024];
    for (ssize_t size = getdents64(folder, entries, sizeof entries); size > 0;
         size = getdents64(folder, entries, sizeof entries)) {
        for (const char* at = entries; at < entries + size;) {
            const auto* const entry = reinterpret_cast<const struct dirent64*>(at);
            const int descriptor = descriptorOf(entry->d_name);
            if (descriptor != folder && !isNeeded(plan, descriptor) &&
                (fcntl(descriptor, F_GETFD) & FD_CLOEXEC) != 0) {
                close(descriptor);
            }
            at += entry->d_reclen;
        }
    }
    close(folder);
}

void connectInput(const ChildPlan& plan) {
    const bool given = plan.inputFile != nullptr;
    // Not close-on-exec: with standard input closed in the host it is standard input at once.
    const int input = open(given ? plan.inputFile : "/dev/null", O_RDONLY);
    if (input < 0) {
        giveUp(plan, given ? ChildStep::OPEN_INPUT : ChildStep::OPEN_NULL_DEVICE);
    }
    if (input != STDIN_FILENO) {
        if (dup2(input, STDIN_FILENO) < 0) {
            giveUp(plan, ChildStep::DUP_INPUT);
        }
        close(input);
    }
}

void connectOutput(const ChildPlan& plan) {
    if (dup2(plan.output.writeEnd.get(), STDOUT_FILENO) < 0) {
        giveUp(plan, ChildStep::DUP_OUTPUT);
    }
    if (dup2(plan.output.writeEnd.get(), STDERR_FILENO) < 0) {
        giveUp(plan, ChildStep::DUP_ERROR);
    }
    if (close(plan.output.readEnd.get()) != 0) {
        report(plan, ChildStep::CLOSE_READ_END);
    }
    if (close(plan.output.writeEnd.get()) != 0) {
        report(plan, ChildStep::CLOSE_WRITE_END);
    }
}

[[noreturn]] void runChild(const ChildPlan& plan, const sigset_t& signalMask) {
    dropHandlersOfHost();
    sigprocmask(SIG_SETMASK, &signalMask, nullptr);
    connectInput(plan);
    connectOutput(plan);
    execve(plan.arguments[0], plan.arguments, plan.environment);
    giveUp(plan, ChildStep::EXECUTE);
}

// ---- In the host ----

// A fork copies the page tables of the host, which takes milliseconds for each gigabyte; a child
// that borrows the memory starts at once, but holds the calling thread until its program runs. Not
// inlined: the child returns into no frame that the parent goes on with.
[[gnu::noinline]] pid_t startBorrowingMemory(const ChildPlan& plan, const sigset_t& signalMask) {
    const pid_t pid = vfork(); // NOLINT(clang-analyzer-security.insecureAPI.vfork)
    if (pid == 0) {
        runChild(plan, signalMask); // NOLINT(clang-analyzer-unix.Vfork)
    }
    return pid;
}

[[gnu::noinline]] pid_t startWithOwnMemory(const ChildPlan& plan, const sigset_t& signalMask) {
    const pid_t pid = fork();
    if (pid == 0) {
        closeFilesOfHost(plan);
        runChild(plan, signalMask);
    }
    return pid;
}

// The place of the setting's name among count entries, or count.
std::size_t placeOf(const char* setting, char* const* entries, std::size_t count) {
    const std::size_t length = static_cast<std::size_t>(std::strchr(setting, '=') - setting) + 1;
    return static_cast<std::size_t>(
        std::find_if(entries, entries + count,
                     [=](const char* entry) { return std::strncmp(entry, setting, length) == 0; }) -
        entries);
}

} // namespace

bool makePipe(Pipe& pipe) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    pipe.readEnd = FileDescriptor(ends[0]);
    pipe.writeEnd = FileDescriptor(ends[1]);
    if (moveAboveStandard(pipe.readEnd) && moveAboveStandard(pipe.writeEnd) &&
        fcntl(pipe.readEnd.get(), F_SETFL, O_NONBLOCK) == 0) {
        return true;
    }
    const int error = errno;
    pipe = Pipe();
    errno = error;
    return false;
}

bool ChildEnvironment::build() {
    char* const* const own = environ;
    std::size_t count = 0;
    while (own != nullptr && own[count] != nullptr) {
        ++count;
    }
    built.reset(new (std::nothrow) char*[count + std::size(SETTINGS) + 1]);
    if (!built) {
        return false;
    }
    std::copy(own, own + count, built.get());
    for (const char* setting : SETTINGS) {
        const std::size_t place = placeOf(setting, built.get(), count);
        // execve() takes the entries as "char*" and does not write to them.
        built[place] = const_cast<char*>(setting);
        count += place == count ? 1 : 0;
    }
    built[count] = nullptr;
    return true;
}

char* const* ChildEnvironment::entries() const {
    return built ? built.get() : environ;
}

pid_t startChildProcess(const ChildPlan& plan) {
    // A FIFO, whose opening can take for ever, must not hold the host.
    const bool opensAtOnce = plan.inputFile == nullptr || isRegularFile(plan.inputFile);
    const SignalShield shield;
    return opensAtOnce ? startBorrowingMemory(plan, shield.savedMask())
                       : startWithOwnMemory(plan, shield.savedMask());
}

bool readChildFailure(const FileDescriptor& statusReadEnd, ChildFailure& failure) {
    return readSome(statusReadEnd, reinterpret_cast<char*>(&failure), sizeof failure) ==
           static_cast<ssize_t>(sizeof failure);
}

} // namespace kzfi_pdk_4_4
