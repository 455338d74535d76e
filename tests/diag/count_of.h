// How many references a trace log has.
#ifndef KZFI_TESTS_DIAG_COUNT_OF_H
#define KZFI_TESTS_DIAG_COUNT_OF_H

#include <cstdint>

#include "cfitraceable.h"

namespace kzfi_tests {

inline std::uint32_t countOf(const kzfi_pdk_4_4::CFiTraceLogPtr& log) {
    log->countMutex().acquire();
    const std::uint32_t count = log->getCount();
    log->countMutex().release();
    return count;
}

} // namespace kzfi_tests

#endif
