// Allocations that fail on purpose.
#ifndef KZFI_TESTS_DIAG_FAILING_MEMORY_H
#define KZFI_TESTS_DIAG_FAILING_MEMORY_H

namespace kzfi_tests {

/// False where a sanitizer has the allocator to itself.
bool canFailAllocations();

/// Makes the n-th allocation of this thread from now on throw std::bad_alloc, once.
void failAllocation(int n);

/// Whether it has; afterwards none fails any more.
bool allocationFailed();

} // namespace kzfi_tests

#endif
