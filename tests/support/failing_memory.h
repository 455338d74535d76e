// Allocations that fail on purpose, or are counted.
#ifndef KZFI_TESTS_DIAG_FAILING_MEMORY_H
#define KZFI_TESTS_DIAG_FAILING_MEMORY_H

#include <cstddef>

namespace kzfi_tests {

/// False where a sanitizer has the allocator to itself: nothing fails or is counted there.
bool controlsAllocations();

/// Makes the n-th allocation of this thread from now on throw std::bad_alloc, once.
void failAllocation(int n);

/// Whether it has; afterwards none fails any more.
bool allocationFailed();

/// How many more allocations than releases this thread has made.
std::ptrdiff_t liveAllocations();

} // namespace kzfi_tests

#endif
