// System calls behind the trace file and its time that do what a test wants. A program that links
// the source of this header has them in place of the system's.
#ifndef KZFI_TESTS_DIAG_SYSTEM_CALLS_H
#define KZFI_TESTS_DIAG_SYSTEM_CALLS_H

#include <ctime>
#include <functional>
#include <string>

namespace kzfi_tests {

/// Does something between the result of the next lstat() of path and the caller's use of it, once.
class AfterLstat {
  public:
    AfterLstat(const std::string& path, const std::function<void()>& action);
    AfterLstat(const AfterLstat&) = delete;
    AfterLstat& operator=(const AfterLstat&) = delete;
    ~AfterLstat();
};

/// No file can be removed by unlink() while it lives.
class FailingUnlink {
  public:
    FailingUnlink();
    FailingUnlink(const FailingUnlink&) = delete;
    FailingUnlink& operator=(const FailingUnlink&) = delete;
    ~FailingUnlink();
};

/// gettimeofday() tells a time of which no year can be told while it lives.
class EndOfTime {
  public:
    EndOfTime();
    EndOfTime(const EndOfTime&) = delete;
    EndOfTime& operator=(const EndOfTime&) = delete;
    ~EndOfTime();
};

/// The wall clock that gettimeofday() tells jumps where the test sets it, while it lives; also
/// while other threads ask for the time.
class JumpingClock {
  public:
    explicit JumpingClock(time_t seconds) { jumpTo(seconds); }
    JumpingClock(const JumpingClock&) = delete;
    JumpingClock& operator=(const JumpingClock&) = delete;
    ~JumpingClock();

    void jumpTo(time_t seconds);
};

} // namespace kzfi_tests

#endif
