#include "free_hook.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdlib>

#include "cfistringtool.h"
#include "kzfi_platform_control.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KZFI_OTHER_FREE 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KZFI_OTHER_FREE 1
#endif
#endif

namespace kzfi_simhost {
namespace {

std::atomic<FreeListener> freeListener{nullptr};

const void* objectAt(const void* address) {
    Dl_info info = {};
    return dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}

[[maybe_unused]] bool isKit(const void* caller) {
    static const void* const kit =
        objectAt(reinterpret_cast<const void*>(&kzfi_pdk_4_4::CFiStringTool::tstrfreelist));
    return objectAt(caller) == kit;
}

[[maybe_unused]] void beforeFree(const void* buffer, const void* caller) {
    const FreeListener listener = freeListener;
    if (listener == nullptr) {
        return;
    }
    const std::size_t size = kzfi_platform_note_free(buffer);
    if (size != 0 && !isKit(caller)) {
        listener(size);
    }
}

} // namespace

void watchFree(FreeListener listener) {
    freeListener = listener;
}

bool canWatchFree() {
#ifdef KZFI_OTHER_FREE
    return false;
#else
    return true;
#endif
}

} // namespace kzfi_simhost

#ifndef KZFI_OTHER_FREE

extern "C" {

// NOLINTNEXTLINE(bugprone-reserved-identifier): the C library calls its own so.
void __libc_free(void* buffer);

/// In place of the C library's, for all that is loaded into this program.
[[gnu::visibility("default")]] void free(void* buffer) noexcept {
    kzfi_simhost::beforeFree(buffer, __builtin_return_address(0));
    __libc_free(buffer);
}
}

#endif
