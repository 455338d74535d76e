#include "support/failing_calls.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>

namespace {

using kzfi_tests::ANY;
using kzfi_tests::Call;
using kzfi_tests::EVERY;

struct Plan {
    int error; // 0: the call works
    int nth;
    int argument;
    int matching; // calls with that argument since the plan was made
    int calls;
};

Plan plans[static_cast<int>(Call::COUNT)];

Plan& planOf(Call call) {
    return plans[static_cast<int>(call)];
}

bool fails(Call call, int argument = ANY) {
    Plan& plan = planOf(call);
    ++plan.calls;
    if (plan.error == 0 || (plan.argument != ANY && plan.argument != argument)) {
        return false;
    }
    ++plan.matching;
    if (plan.nth != EVERY && plan.nth != plan.matching) {
        return false;
    }
    errno = plan.error;
    return true;
}

template <class Function>
Function* systemsOwn(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

kzfi_tests::Failing::Failing(Call call, int error, int nth, int argument) : which(call) {
    Plan& plan = planOf(call);
    plan = {error, nth, argument, 0, plan.calls};
}

kzfi_tests::Failing::~Failing() {
    planOf(which).error = 0;
}

int kzfi_tests::callsOf(Call call) {
    return planOf(call).calls;
}

namespace {

bool clockIsFast = false;
long sleptAhead = 0;
std::vector<long> fastSleeps;

constexpr long SECOND = 1'000'000'000;

} // namespace

kzfi_tests::FastClock::FastClock() {
    clockIsFast = true;
}

kzfi_tests::FastClock::~FastClock() {
    clockIsFast = false;
    sleptAhead = 0;
    fastSleeps.clear();
}

const std::vector<long>& kzfi_tests::FastClock::sleeps() const {
    return fastSleeps;
}

// ---- In place of the system's ----

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
// The sanitizer's allocator is in this program, not in a library behind it.
extern "C" void* __interceptor_realloc(void* memory, size_t size);
#define KZFI_TESTS_OWN_REALLOC __interceptor_realloc
#endif
#endif
#ifndef KZFI_TESTS_OWN_REALLOC
#define KZFI_TESTS_OWN_REALLOC systemsOwn<void*(void*, size_t)>("realloc")
#endif

#define REPLACEMENT extern "C" __attribute__((visibility("default")))

REPLACEMENT int close(int descriptor) {
    static const auto own = systemsOwn<int(int)>("close");
    const bool failing = fails(Call::CLOSE);
    const int error = errno;
    const int result = own(descriptor);
    if (failing) {
        errno = error;
        return -1;
    }
    return result;
}

REPLACEMENT int dup2(int descriptor, int number) noexcept {
    static const auto own = systemsOwn<int(int, int)>("dup2");
    return fails(Call::DUP2, number) ? -1 : own(descriptor, number);
}

REPLACEMENT int fcntl(int descriptor, int command, ...) {
    static const auto own = systemsOwn<int(int, int, ...)>("fcntl");
    va_list arguments;
    va_start(arguments, command);
    const long argument = va_arg(arguments, long);
    va_end(arguments);
    return fails(Call::FCNTL, command) ? -1 : own(descriptor, command, argument);
}

REPLACEMENT FILE* fopen(const char* path, const char* mode) {
    static const auto own = systemsOwn<FILE*(const char*, const char*)>("fopen");
    return fails(Call::FOPEN) ? nullptr : own(path, mode);
}

REPLACEMENT pid_t fork() noexcept {
    static const auto own = systemsOwn<pid_t()>("fork");
    return fails(Call::FORK) ? -1 : own();
}

// A function that calls vfork() must not return in the child; forking gives the same results.
REPLACEMENT pid_t vfork() noexcept {
    return fork();
}

REPLACEMENT int kill(pid_t process, int signal) noexcept {
    static const auto own = systemsOwn<int(pid_t, int)>("kill");
    return fails(Call::KILL, signal) ? -1 : own(process, signal);
}

REPLACEMENT int mkdir(const char* path, mode_t mode) noexcept {
    static const auto own = systemsOwn<int(const char*, mode_t)>("mkdir");
    return fails(Call::MKDIR) ? -1 : own(path, mode);
}

REPLACEMENT int nanosleep(const struct timespec* pause, struct timespec* left) {
    static const auto own = systemsOwn<int(const struct timespec*, struct timespec*)>("nanosleep");
    if (fails(Call::NANOSLEEP)) {
        return -1;
    }
    if (!clockIsFast) {
        return own(pause, left);
    }
    fastSleeps.push_back(pause->tv_sec * SECOND + pause->tv_nsec);
    sleptAhead += fastSleeps.back();
    return 0;
}

REPLACEMENT int clock_gettime(clockid_t clock, struct timespec* now) noexcept {
    static const auto own = systemsOwn<int(clockid_t, struct timespec*)>("clock_gettime");
    const int result = own(clock, now);
    if (clock == CLOCK_MONOTONIC && clockIsFast) {
        const long nanoseconds = now->tv_nsec + sleptAhead;
        now->tv_sec += nanoseconds / SECOND;
        now->tv_nsec = nanoseconds % SECOND;
    }
    return result;
}

REPLACEMENT unsigned int sleep(unsigned int seconds) {
    static const auto own = systemsOwn<unsigned int(unsigned int)>("sleep");
    return fails(Call::SLEEP) ? seconds : own(seconds);
}

REPLACEMENT int open(const char* path, int flags, ...) {
    static const auto own = systemsOwn<int(const char*, int, ...)>("open");
    va_list arguments;
    va_start(arguments, flags);
    const int mode = (flags & O_CREAT) != 0 ? va_arg(arguments, int) : 0;
    va_end(arguments);
    return fails(Call::OPEN) ? -1 : own(path, flags, mode);
}

REPLACEMENT DIR* opendir(const char* path) {
    static const auto own = systemsOwn<DIR*(const char*)>("opendir");
    return fails(Call::OPENDIR) ? nullptr : own(path);
}

REPLACEMENT int pipe2(int* ends, int flags) noexcept {
    static const auto own = systemsOwn<int(int*, int)>("pipe2");
    return fails(Call::PIPE2) ? -1 : own(ends, flags);
}

REPLACEMENT int poll(struct pollfd* requests, nfds_t count, int timeout) {
    static const auto own = systemsOwn<int(struct pollfd*, nfds_t, int)>("poll");
    return fails(Call::POLL) ? -1 : own(requests, count, timeout);
}

REPLACEMENT ssize_t read(int descriptor, void* buffer, size_t size) {
    static const auto own = systemsOwn<ssize_t(int, void*, size_t)>("read");
    return fails(Call::READ) ? -1 : own(descriptor, buffer, size);
}

REPLACEMENT char* strdup(const char* text) noexcept {
    if (fails(Call::STRDUP)) {
        return nullptr;
    }
    const size_t size = std::strlen(text) + 1;
    void* const copy = std::malloc(size);
    return copy != nullptr ? static_cast<char*>(std::memcpy(copy, text, size)) : nullptr;
}

REPLACEMENT pid_t waitpid(pid_t process, int* status, int options) {
    static const auto own = systemsOwn<pid_t(pid_t, int*, int)>("waitpid");
    return fails(Call::WAITPID) ? -1 : own(process, status, options);
}

REPLACEMENT ssize_t write(int descriptor, const void* data, size_t size) {
    static const auto own = systemsOwn<ssize_t(int, const void*, size_t)>("write");
    return fails(Call::WRITE) ? -1 : own(descriptor, data, size);
}

REPLACEMENT void* realloc(void* memory, size_t size) noexcept {
    static const auto own = KZFI_TESTS_OWN_REALLOC;
    return fails(Call::REALLOC) ? nullptr : own(memory, size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (fails(Call::NEW)) {
        return nullptr;
    }
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    if (fails(Call::NEW_ARRAY)) {
        return nullptr;
    }
    try {
        return ::operator new[](size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
