// A /usr of the process's own, so that the product's fixed paths can be written without touching a
// real product's files.
#ifndef KZFI_SIMHOST_PRIVATE_USR_H
#define KZFI_SIMHOST_PRIVATE_USR_H

#include <string>

namespace kzfi_simhost {

/// Moves the calling process into a mount namespace of its own, in which /usr is an overlay (else a
/// tmpfs of bind mounts) and /usr/tarnex an empty folder in memory. Without root rights a user
/// namespace is made first, which needs a process of one thread.
///
/// Returns the empty text on success, else the reason, for people; the process may then stand in a
/// half-made namespace, but /usr is still the one that it was.
std::string enterPrivateUsr();

} // namespace kzfi_simhost

#endif
