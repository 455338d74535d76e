// The id of this process without a system call each time.
#ifndef KZFI_UTIL_PROCESSID_H
#define KZFI_UTIL_PROCESSID_H

#include <sys/types.h>

namespace kzfi_pdk_4_4 {

/// getpid(), asked for once in each process; a child made by fork() asks anew.
pid_t processId();

} // namespace kzfi_pdk_4_4

#endif
