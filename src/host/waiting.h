// Waiting for output and for the end of a child.
#ifndef KZFI_HOST_WAITING_H
#define KZFI_HOST_WAITING_H

#include "util/file.h"

namespace kzfi_pdk_4_4 {

/// Whole seconds of a clock that nobody can set.
long monotonicSeconds();

/// Waits until reading from file would not block; false when seconds passed before, or on failure.
bool waitUntilReadable(const FileDescriptor& file, long seconds);

/// Pauses between two polls: short ones first, so that what happens soon is seen soon, then twice
/// as long each time, up to a tenth of a second.
class GrowingPause {
  public:
    /// Sleeps for the next pause or until a signal arrives.
    void sleep();

  private:
    long nanoseconds = FIRST;

    static constexpr long FIRST = 50'000;
    static constexpr long LONGEST = 100'000'000;
};

} // namespace kzfi_pdk_4_4

#endif
