#include "system_calls.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <limits>

namespace {

std::string watchedPath;
std::function<void()> afterLstat;
bool unlinkFails = false;
bool timeHasEnded = false;
constexpr time_t NO_JUMP = -1;
std::atomic<time_t> jumpedTo(NO_JUMP);

template <class Function>
Function* systemsOwn(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

kzfi_tests::AfterLstat::AfterLstat(const std::string& path, const std::function<void()>& action) {
    watchedPath = path;
    afterLstat = action;
}

kzfi_tests::AfterLstat::~AfterLstat() {
    afterLstat = nullptr;
}

kzfi_tests::FailingUnlink::FailingUnlink() {
    unlinkFails = true;
}

kzfi_tests::FailingUnlink::~FailingUnlink() {
    unlinkFails = false;
}

kzfi_tests::EndOfTime::EndOfTime() {
    timeHasEnded = true;
}

kzfi_tests::EndOfTime::~EndOfTime() {
    timeHasEnded = false;
}

kzfi_tests::JumpingClock::~JumpingClock() {
    jumpedTo = NO_JUMP;
}

void kzfi_tests::JumpingClock::jumpTo(time_t seconds) {
    jumpedTo = seconds;
}

// ---- In place of the system's ----

#define REPLACEMENT extern "C" __attribute__((visibility("default")))

REPLACEMENT int lstat(const char* path, struct stat* status) noexcept {
    static const auto own = systemsOwn<int(const char*, struct stat*)>("lstat");
    const int result = own(path, status);
    if (afterLstat && path == watchedPath) {
        const int error = errno;
        const std::function<void()> action = afterLstat;
        afterLstat = nullptr;
        action();
        errno = error;
    }
    return result;
}

REPLACEMENT int unlink(const char* path) noexcept {
    static const auto own = systemsOwn<int(const char*)>("unlink");
    if (unlinkFails) {
        errno = EPERM;
        return -1;
    }
    return own(path);
}

REPLACEMENT int gettimeofday(struct timeval* now, void* zone) noexcept {
    static const auto own = systemsOwn<int(struct timeval*, void*)>("gettimeofday");
    const int result = own(now, zone);
    const time_t jumped = jumpedTo;
    if (jumped != NO_JUMP) {
        now->tv_sec = jumped;
    }
    if (timeHasEnded) {
        now->tv_sec = std::numeric_limits<time_t>::max();
    }
    return result;
}
