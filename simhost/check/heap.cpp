#include "heap.h"

#include <malloc.h>

extern "C" {

/// Of a sanitizer that has an allocator of its own; missing otherwise.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the sanitizer's name.
__attribute__((weak)) std::size_t __sanitizer_get_current_allocated_bytes();
}

namespace kzfi_simhost {
namespace {

// No allocation takes less.
const std::size_t LEAST_BYTES = 16;
const int MEASUREMENTS = 3;

std::size_t keptBy(int turns, const std::function<void()>& turn) {
    const std::size_t before = heapInUse();
    for (int i = 0; i < turns; ++i) {
        turn();
    }
    const std::size_t now = heapInUse();
    return now > before ? (now - before) / static_cast<std::size_t>(turns) : 0;
}

} // namespace

std::size_t heapInUse() {
    if (&__sanitizer_get_current_allocated_bytes != nullptr) {
        return __sanitizer_get_current_allocated_bytes();
    }
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd; // Large blocks have mappings of their own.
}

std::size_t keptPerTurn(const Turns& turns, const std::function<void()>& turn) {
    keptBy(turns.warmUp, turn);
    const std::size_t most = LEAST_BYTES * static_cast<std::size_t>(turns.allocations);
    std::size_t kept = most + 1;
    // Each time twice as many, so that a list that doubles its room is seen to grow every time.
    for (int i = 0; i < MEASUREMENTS && kept > most; ++i) {
        kept = keptBy(turns.count << i, turn);
    }
    return kept > most ? kept : 0;
}

} // namespace kzfi_simhost
