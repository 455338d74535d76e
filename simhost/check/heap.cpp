#include "heap.h"

#include <malloc.h>

extern "C" {

/// Of a sanitizer that has an allocator of its own; missing otherwise.
__attribute__((weak)) std::size_t __sanitizer_get_current_allocated_bytes();
}

namespace kzfi_simhost {
namespace {

// What a turn may leave in the C library's own books; the smallest allocation takes more.
const std::size_t LEFT_PER_TURN = 16;

} // namespace

std::size_t heapInUse() {
    if (&__sanitizer_get_current_allocated_bytes != nullptr) {
        return __sanitizer_get_current_allocated_bytes();
    }
    return mallinfo2().uordblks;
}

std::size_t keptPerTurn(int warmUp, int turns, const std::function<void(int)>& turn) {
    for (int i = 0; i < warmUp; ++i) {
        turn(i);
    }
    const std::size_t before = heapInUse();
    for (int i = 0; i < turns; ++i) {
        turn(warmUp + i);
    }
    const std::size_t now = heapInUse();
    const std::size_t kept = now > before ? (now - before) / static_cast<std::size_t>(turns) : 0;
    return kept > LEFT_PER_TURN ? kept : 0;
}

} // namespace kzfi_simhost
