// The id of the calling thread as it stands in trace lines and keys the errors kept for threads.
#ifndef KZFI_UTIL_THREADID_H
#define KZFI_UTIL_THREADID_H

#include <pthread.h>

#include <cstdint>

namespace kzfi_pdk_4_4 {

/// pthread_self(), cut to 32 bits on purpose: it is how the host tells threads apart.
inline std::uint32_t threadId() {
    return static_cast<std::uint32_t>(pthread_self());
}

} // namespace kzfi_pdk_4_4

#endif
