#include "host/waiting.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <ctime>

namespace kzfi_pdk_4_4 {

namespace {

constexpr long MILLISECONDS = 1000;     // in a second
constexpr long NANOSECONDS = 1'000'000; // in a millisecond
// Seconds; more would not fit as milliseconds.
constexpr long LONGEST_WAIT = LONG_MAX / MILLISECONDS / 2;

// Set for the rest of the process on a system without nanosleep().
std::atomic<bool> wholeSecondsOnly{false};

long monotonicMilliseconds() {
    struct timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * MILLISECONDS + now.tv_nsec / NANOSECONDS;
}

} // namespace

long monotonicSeconds() {
    return monotonicMilliseconds() / MILLISECONDS;
}

bool waitUntilReadable(const FileDescriptor& file, long seconds) {
    long remaining = std::min(seconds, LONGEST_WAIT) * MILLISECONDS;
    const long end = monotonicMilliseconds() + remaining;
    do {
        // At the end of a pipe only POLLHUP is set: any event means that there is something to
        // read.
        struct pollfd request = {file.get(), POLLIN, 0};
        const int ready = poll(&request, 1, static_cast<int>(std::min<long>(remaining, INT_MAX)));
        if (ready > 0 || (ready < 0 && errno != EINTR)) {
            return ready > 0;
        }
        remaining = end - monotonicMilliseconds();
    } while (remaining > 0);
    return false;
}

void GrowingPause::sleep() {
    if (!wholeSecondsOnly) {
        const struct timespec pause = {0, nanoseconds};
        nanoseconds = std::min(2 * nanoseconds, LONGEST);
        if (nanosleep(&pause, nullptr) == 0 || errno != ENOSYS) {
            return;
        }
        wholeSecondsOnly = true;
    }
    ::sleep(1);
}

} // namespace kzfi_pdk_4_4
