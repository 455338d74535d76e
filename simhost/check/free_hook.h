// A free() of this program's own, which tells when a buffer of the host's helpers goes through it.
#ifndef KZFI_SIMHOST_CHECK_FREE_HOOK_H
#define KZFI_SIMHOST_CHECK_FREE_HOOK_H

#include <cstddef>

namespace kzfi_simhost {

/// Told of the size of a buffer of the host's that is about to be freed.
using FreeListener = void (*)(std::size_t size);

/// From now on listener is told; null ends that. Buffers that the kit itself frees (tstrfreelist
/// does) count as given back, too, but are not told of.
void watchFree(FreeListener listener);

/// Whether this program has a free() of its own: a sanitizer brings another one.
bool canWatchFree();

} // namespace kzfi_simhost

#endif
