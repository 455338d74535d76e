// A /usr of the process's own, so that the product's fixed paths can be written without touching a
// real product's files.
#ifndef KZFI_SIMHOST_PRIVATE_USR_H
#define KZFI_SIMHOST_PRIVATE_USR_H

#include <string>

namespace kzfi_simhost {

/// Moves the calling thread, and what it starts from now on, into a mount namespace of its own, in
/// which /usr is an overlay (else a tmpfs of bind mounts) and /usr/tarnex an empty folder in
/// memory. Other threads stay outside: call it before there are any. Without root rights a user
/// namespace is made first, which needs a process of one thread. A working directory and
/// descriptors that are open already below /usr still reach the real one.
///
/// Returns the empty text on success, else the reason, for people. The thread may then stand in a
/// half-made namespace, whose /usr may be either one: write nothing below it.
std::string enterPrivateUsr();

} // namespace kzfi_simhost

#endif
