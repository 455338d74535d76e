// The stacks of a process that hangs.
#ifndef KZFI_SIMHOST_CHECK_STACKS_H
#define KZFI_SIMHOST_CHECK_STACKS_H

#include <sys/types.h>

#include <string>
#include <vector>

namespace kzfi_simhost {

/// Makes this process ready to write the stack of each of its threads to file when it is asked to:
/// a signal handler of its own, and a descriptor that stays open.
void prepareStacks(const std::string& file);

/// The stacks of all threads of the process, which made itself ready with the same file: from the
/// handler and, where gdb is installed and may look at the process, from gdb. Takes some seconds at
/// most; says so where a thread gives no answer.
std::vector<std::string> takeStacks(pid_t process, const std::string& file);

} // namespace kzfi_simhost

#endif
