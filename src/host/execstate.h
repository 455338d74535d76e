// What a POSIX runner holds.
#ifndef KZFI_HOST_EXECSTATE_H
#define KZFI_HOST_EXECSTATE_H

#include <sys/types.h>

#include <string>

#include "cfiexecpipe.h"
#include "host/argumentvector.h"
#include "host/outputreader.h"

namespace kzfi_pdk_4_4 {

/// Idle, or with a child and the pipes that it writes to.
struct CFiExecPipePosix::State {
    std::string command;
    ArgumentVector arguments;

    pid_t child = -1;
    /// The system has no child of that pid any more; it may give the pid to somebody else.
    bool childGone = false;

    OutputReader output;
    FileDescriptor status; ///< read end of the pipe for the child's failures
};

} // namespace kzfi_pdk_4_4

#endif
