// How much memory this process holds.
#ifndef KZFI_SIMHOST_CHECK_HEAP_H
#define KZFI_SIMHOST_CHECK_HEAP_H

#include <cstddef>
#include <functional>

namespace kzfi_simhost {

/// Bytes of the heap that are taken right now.
std::size_t heapInUse();

struct Turns {
    int warmUp;
    int count;
    int allocations = 1; ///< the fewest of a turn that would be a fault to keep
};

/// Does the turns of the warm-up, then those that count: the bytes that each of these has kept, or
/// 0 when it is less than so many allocations take. Caches and tables fill up once: what was kept
/// counts only when twice as many turns keep it again, and again twice as many.
std::size_t keptPerTurn(const Turns& turns, const std::function<void()>& turn);

} // namespace kzfi_simhost

#endif
