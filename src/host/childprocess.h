// Child processes: a pipe to read one through, the environment it gets, and its start.
#ifndef KZFI_HOST_CHILDPROCESS_H
#define KZFI_HOST_CHILDPROCESS_H

#include <sys/types.h>

#include <memory>

#include "util/file.h"

namespace kzfi_pdk_4_4 {

/// Both ends are close-on-exec and above the three standard descriptors, which a child replaces;
/// reading never blocks.
struct Pipe {
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};

/// Makes a pipe; false with errno and without descriptors when it failed.
bool makePipe(Pipe& pipe);

/// This process's environment as a command gets it: with the locale "C" and without settings that
/// change how scripts run. It points into the process's own.
class ChildEnvironment {
  public:
    /// False with errno when there was no memory; the entries are then those of this process.
    bool build();

    char* const* entries() const;

  private:
    std::unique_ptr<char*[]> built;
};

/// What a child can fail at before its program runs.
enum class ChildStep : int {
    OPEN_INPUT,
    OPEN_NULL_DEVICE,
    DUP_INPUT,
    DUP_OUTPUT,
    DUP_ERROR,
    CLOSE_READ_END,
    CLOSE_WRITE_END,
    EXECUTE
};

/// A failed step and its errno.
struct ChildFailure {
    ChildStep step;
    int error;
};

/// All that a child needs; it is made before the child starts.
struct ChildPlan {
    char* const* arguments;   ///< ended by a null; the first one is the program
    char* const* environment; ///< ended by a null
    const char* inputFile;    ///< becomes standard input; null: /dev/null
    const Pipe& output;       ///< its write end becomes standard output and standard error
    const Pipe& status;       ///< takes the child's failures; may be closed
};

/// Starts a child, which runs the program or exits with status 1. Returns its pid, or -1 and errno.
pid_t startChildProcess(const ChildPlan& plan);

/// Reads the next failure that a child reported; false when there is none (yet).
bool readChildFailure(const FileDescriptor& statusReadEnd, ChildFailure& failure);

} // namespace kzfi_pdk_4_4

#endif
