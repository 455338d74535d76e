// How much memory this process holds.
#ifndef KZFI_SIMHOST_CHECK_HEAP_H
#define KZFI_SIMHOST_CHECK_HEAP_H

#include <cstddef>
#include <functional>

namespace kzfi_simhost {

/// Bytes of the heap that are taken right now.
std::size_t heapInUse();

/// Does warmUp turns, then that many more; the bytes that each of these has kept, or 0 when it is
/// less than the smallest allocation takes. turn is given its number.
std::size_t keptPerTurn(int warmUp, int turns, const std::function<void(int number)>& turn);

} // namespace kzfi_simhost

#endif
