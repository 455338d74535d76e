// System calls and allocations that fail when a test wants them to. A program that links the source
// of this header has them in place of the system's; it starts no child by vfork(), only by fork().
#ifndef KZFI_TESTS_FAILING_CALLS_H
#define KZFI_TESTS_FAILING_CALLS_H

#include <vector>

namespace kzfi_tests {

/// NEW and NEW_ARRAY: those with std::nothrow; for those that throw see failing_memory.h.
enum class Call {
    CLOSE,
    DUP2,
    FCNTL,
    FOPEN,
    FORK,
    KILL,
    MKDIR,
    NANOSLEEP,
    NEW,
    NEW_ARRAY,
    OPEN,
    OPENDIR,
    PIPE2,
    POLL,
    READ,
    REALLOC,
    SLEEP,
    STRDUP,
    WAITPID,
    WRITE,
    COUNT
};

/// As the number of the call that fails: all of them.
constexpr int EVERY = 0;
/// As the argument of the calls that count: any.
constexpr int ANY = -1;

/// Makes the nth call from now on fail with error, also in a child that is forked meanwhile; a
/// descriptor is closed all the same. Only calls with argument count: the number of a standard
/// descriptor for dup2(), the command for fcntl(). One at a time for each call.
class Failing {
  public:
    Failing(Call call, int error, int nth = EVERY, int argument = ANY);
    Failing(const Failing&) = delete;
    Failing& operator=(const Failing&) = delete;
    ~Failing();

  private:
    const Call which;
};

/// How often a call was made so far.
int callsOf(Call call);

/// While it lives nanosleep() returns at once, and the monotonic clock goes on as if it had slept.
class FastClock {
  public:
    FastClock();
    FastClock(const FastClock&) = delete;
    FastClock& operator=(const FastClock&) = delete;
    ~FastClock();

    /// The sleeps so far, in nanoseconds.
    const std::vector<long>& sleeps() const;
};

} // namespace kzfi_tests

#endif
