#include "support/failing_memory.h"

#include <cstdlib>
#include <new>

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SANITIZED
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SANITIZED
#endif

#ifdef SANITIZED

bool kzfi_tests::controlsAllocations() {
    return false;
}
void kzfi_tests::failAllocation(int) {}
bool kzfi_tests::allocationFailed() {
    return false;
}
std::ptrdiff_t kzfi_tests::liveAllocations() {
    return 0;
}

#else

namespace {

thread_local int remaining = 0;
thread_local std::ptrdiff_t live = 0;

void* allocate(std::size_t size) {
    if (remaining > 0 && --remaining == 0) {
        throw std::bad_alloc();
    }
    void* memory = std::malloc(size > 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    ++live;
    return memory;
}

void release(void* memory) noexcept {
    if (memory != nullptr) {
        --live;
        std::free(memory);
    }
}

} // namespace

bool kzfi_tests::controlsAllocations() {
    return true;
}

void kzfi_tests::failAllocation(int n) {
    remaining = n;
}

bool kzfi_tests::allocationFailed() {
    const bool failed = remaining == 0;
    remaining = 0;
    return failed;
}

std::ptrdiff_t kzfi_tests::liveAllocations() {
    return live;
}

void* operator new(std::size_t size) {
    return allocate(size);
}
void* operator new[](std::size_t size) {
    return allocate(size);
}
void operator delete(void* memory) noexcept {
    release(memory);
}
void operator delete[](void* memory) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    release(memory);
}

#endif
