#include "host_watch.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <mutex>

#include "free_hook.h"
#include "kzfi_platform_control.h"

namespace kzfi_simhost {
namespace {

using namespace kzfi_pdk_4_4;
namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

// ---- Surroundings ----

Lines environmentNow() {
    Lines all;
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        all.emplace_back(*variable);
    }
    std::sort(all.begin(), all.end());
    return all;
}

/// "NUMBER (TARGET)" of each, but of the one that reading the folder takes.
Lines descriptorsNow() {
    Lines all;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd", error)) {
        const std::string target = fs::read_symlink(entry.path(), error).string();
        const bool isFolderItself =
            target.rfind("/proc/", 0) == 0 && fs::path(target).filename() == "fd";
        if (!error && !isFolderItself) {
            all.push_back(entry.path().filename().string() + " (" + target + ")");
        }
    }
    std::sort(all.begin(), all.end());
    return all;
}

Lines threadsNow() {
    Lines all;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/task", error)) {
        all.push_back(entry.path().filename().string());
    }
    std::sort(all.begin(), all.end());
    return all;
}

/// A line for each signal: who handles it, and whether it is blocked.
Lines signalsNow() {
    Lines all;
    sigset_t blocked;
    sigemptyset(&blocked);
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    for (int number = 1; number <= SIGRTMAX; ++number) {
        struct sigaction action = {};
        if (sigaction(number, nullptr, &action) != 0) {
            continue;
        }
        const char* const name = sigabbrev_np(number);
        const std::string signal = name != nullptr ? name : std::to_string(number);
        const auto handler = reinterpret_cast<std::uintptr_t>(action.sa_handler);
        all.push_back(signal + ": handler " + std::to_string(handler) + ", flags " +
                      std::to_string(action.sa_flags));
        all.push_back(signal +
                      (sigismember(&blocked, number) == 1 ? ": blocked" : ": let through"));
    }
    return all;
}

unsigned maskNow() {
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
}

std::string folderNow() {
    std::error_code error;
    return fs::current_path(error).string();
}

std::string localeNow() {
    return std::setlocale(LC_ALL, nullptr);
}

/// What is in both lists is no change; both are sorted.
void compare(const Lines& before, const Lines& now, const std::string& appeared,
             const std::string& gone, std::vector<Finding>& found) {
    Lines difference;
    std::set_difference(now.begin(), now.end(), before.begin(), before.end(),
                        std::back_inserter(difference));
    for (const std::string& line : difference) {
        found.push_back({true, appeared + line});
    }
    difference.clear();
    std::set_difference(before.begin(), before.end(), now.begin(), now.end(),
                        std::back_inserter(difference));
    for (const std::string& line : difference) {
        found.push_back({true, gone + line});
    }
}

void compareText(const std::string& before, const std::string& now, const std::string& what,
                 std::vector<Finding>& found) {
    if (before != now) {
        found.push_back({true, what + " was " + before + " and is " + now});
    }
}

std::string octal(unsigned number) {
    char text[16];
    std::snprintf(text, sizeof text, "%04o", number);
    return text;
}

/// The threads that a provider has just ended may still be on their way out.
Lines settledThreads(const Lines& before) {
    Lines now = threadsNow();
    for (int i = 0; i < 20 && now != before; ++i) {
        usleep(5000);
        now = threadsNow();
    }
    return now;
}

// ---- Buffers ----

std::mutex faultsLock;
std::vector<Finding> faults;

std::string bytes(std::size_t size) {
    return std::to_string(size) + (size == 1 ? " byte" : " bytes");
}

void hearOfBuffer(int fault, const void*, std::size_t taken, std::size_t givenBack, void*) {
    Finding finding = {true, "a buffer of " + bytes(taken)};
    switch (fault) {
    case KZFI_PLATFORM_WRONG_SIZE:
        finding.text += " was given back as one of " + bytes(givenBack);
        break;
    case KZFI_PLATFORM_UNKNOWN:
        finding.text = "kzfi_free_buf was given a buffer (" + bytes(givenBack) +
                       ") that was given back before, or is none of the host's";
        break;
    case KZFI_PLATFORM_OVERRUN:
        finding.text += " was written to beyond its end";
        break;
    default:
        finding = {false, finding.text + " was never given back"};
        break;
    }
    const std::lock_guard<std::mutex> guard(faultsLock);
    faults.push_back(finding);
}

void hearOfFree(std::size_t size) {
    const std::lock_guard<std::mutex> guard(faultsLock);
    faults.push_back(
        {true, "a buffer of " + bytes(size) + " was given to free() instead of kzfi_free_buf"});
}

// ---- References ----

/// Reaches what a provider was given; never made itself.
class ManagersPeek : public CFiPluginBase {
  public:
    static CFiErrorManagerPtr errorsOf(CFiPluginBase& p) {
        return p.*(&ManagersPeek::errorManager);
    }
    static CFiMessageCatalogManagerPtr catalogsOf(CFiPluginBase& p) {
        return p.*(&ManagersPeek::catalogManager);
    }
    static CFiPrivateDataManagerPtr recordsOf(CFiPluginBase& p) {
        return p.*(&ManagersPeek::privateDataManager);
    }
    static CFiSessionManagerPtr sessionsOf(CFiPluginBase& p) {
        return p.*(&ManagersPeek::sessionManager);
    }
    static CFiTraceLogPtr logOf(CFiPluginBase& p) { return p.*(&ManagersPeek::traceLog); }
};

// The host's own, the provider's base, and the watch's.
const std::uint32_t LEAST_REFERENCES = 3;

template <class Pointer>
std::uint32_t countOf(const Pointer& pointer) {
    return pointer ? pointer->getCount() : 0;
}

template <class Pointer>
void judgeTooFew(const Pointer& pointer, const std::string& what, std::vector<Finding>& found) {
    if (pointer && countOf(pointer) < LEAST_REFERENCES) {
        found.push_back({true, "a reference to the " + what + " was given back once too often"});
    }
}

template <class Pointer>
void judgeLeft(Pointer& pointer, const std::string& what, std::vector<Finding>& found) {
    const std::uint32_t left = countOf(pointer);
    if (left > 1) {
        const bool one = left == 2;
        found.push_back({true, std::to_string(left - 1) + (one ? " reference" : " references") +
                                   " to the " + what + (one ? " was" : " were") +
                                   " never given back"});
    }
    pointer.release();
}

} // namespace

Surroundings::Lasting Surroundings::lastingNow() {
    return {environmentNow(), signalsNow(), folderNow(), localeNow(), maskNow()};
}

Surroundings::Surroundings()
    : lasting(lastingNow()),
      descriptors(descriptorsNow()),
      threads(threadsNow()) {}

std::vector<Finding> Surroundings::lastingChanges() const {
    const Lasting now = lastingNow();
    std::vector<Finding> found;
    compare(lasting.environment, now.environment, "the environment now has ",
            "the environment no longer has ", found);
    compareText(lasting.folder, now.folder, "the working directory", found);
    compareText(lasting.locale, now.locale, "the locale", found);
    compareText(octal(lasting.mask), octal(now.mask), "the umask", found);
    for (std::size_t i = 0; i < lasting.signals.size() && i < now.signals.size(); ++i) {
        compareText(lasting.signals[i], now.signals[i], "the treatment of a signal", found);
    }
    return found;
}

void Surroundings::takeLastingChanges() {
    lasting = lastingNow();
}

std::vector<Finding> Surroundings::changes() const {
    std::vector<Finding> found = lastingChanges();
    compare(descriptors, descriptorsNow(),
            "a descriptor was left open: ", "a descriptor was closed: ", found);
    compare(threads, settledThreads(threads),
            "a thread was left running: ", "a thread is gone: ", found);
    return found;
}

bool Surroundings::hasNewThreads() const {
    const Lines now = settledThreads(threads);
    return std::any_of(now.begin(), now.end(), [this](const std::string& thread) {
        return std::find(threads.begin(), threads.end(), thread) == threads.end();
    });
}

struct ReferenceWatch::Held {
    CFiErrorManagerPtr errors;
    CFiMessageCatalogManagerPtr catalogs;
    CFiPrivateDataManagerPtr records;
    CFiSessionManagerPtr sessions;
    CFiTraceLogPtr log;
};

ReferenceWatch::ReferenceWatch(CFiPluginBase& provider)
    : held(new Held{ManagersPeek::errorsOf(provider), ManagersPeek::catalogsOf(provider),
                    ManagersPeek::recordsOf(provider), ManagersPeek::sessionsOf(provider),
                    ManagersPeek::logOf(provider)}) {}

ReferenceWatch::~ReferenceWatch() = default;

std::vector<Finding> ReferenceWatch::tooFew() {
    std::vector<Finding> found;
    judgeTooFew(held->errors, "error manager", found);
    judgeTooFew(held->catalogs, "message catalogue manager", found);
    judgeTooFew(held->records, "private-data manager", found);
    judgeTooFew(held->sessions, "session manager", found);
    judgeTooFew(held->log, "trace log", found);
    return found;
}

/// What lets go of the others goes first: the records hold the trace log, and that the errors.
std::vector<Finding> ReferenceWatch::leftOver() {
    std::vector<Finding> found;
    judgeLeft(held->records, "private-data manager", found);
    judgeLeft(held->sessions, "session manager", found);
    judgeLeft(held->catalogs, "message catalogue manager", found);
    judgeLeft(held->log, "trace log", found);
    judgeLeft(held->errors, "error manager", found);
    return found;
}

BufferWatch::BufferWatch() {
    kzfi_platform_watch_buffers(hearOfBuffer, nullptr);
    watchFree(hearOfFree);
}

BufferWatch::~BufferWatch() {
    watchFree(nullptr);
    kzfi_platform_watch_buffers(nullptr, nullptr);
}

std::vector<Finding> BufferWatch::findings() {
    const std::lock_guard<std::mutex> guard(faultsLock);
    return std::exchange(faults, {});
}

std::vector<Finding> BufferWatch::leftOver() {
    // Without a free() of our own, those that went through it cannot be told from those left.
    if (canWatchFree()) {
        kzfi_platform_report_left();
    }
    return findings();
}

} // namespace kzfi_simhost
