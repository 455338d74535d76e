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

constexpr long MILLISECONDS = 1000;
constexpr long LONGEST_POLL = INT_MAX / MILLISECONDS;

// Set for the rest of the process on a system without nanosleep().
std::atomic<bool> wholeSecondsOnly{false};

} // namespace

long monotonicSeconds() {
    struct timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec;
}

bool waitUntilReadable(const FileDescriptor& file, long seconds) {
    const long start = monotonicSeconds();
    long remaining = seconds;
    do {
        const long step = std::min(remaining, LONGEST_POLL);
        struct pollfd request = {file.get(), POLLIN, 0};
        // At the end of a pipe only POLLHUP is set: any event means that there is something to
        // read.
        const int ready = poll(&request, 1, static_cast<int>(step * MILLISECONDS));
        if (ready != 0 && !(ready < 0 && errno == EINTR)) {
            return ready > 0;
        }
        if (ready == 0 && step == remaining) {
            return false;
        }
        remaining = seconds - (monotonicSeconds() - start);
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
