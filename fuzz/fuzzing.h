// What the fuzz targets share. Each target is one file with a function
//
//     extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
//
// as libFuzzer calls it; what must hold is said with require().
#ifndef KZFI_FUZZING_H
#define KZFI_FUZZING_H

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/temp_dir.h"

namespace kzfi_fuzz {

inline std::string textOf(const std::uint8_t* data, std::size_t size) {
    return std::string(reinterpret_cast<const char*>(data), size);
}

/// Ends the process, which libFuzzer counts as found, when something does not hold.
inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

/// A folder for the process's files, in memory where the machine has such a place.
inline const kzfi_tests::TempDir& folder() {
    static const kzfi_tests::TempDir dir(access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp");
    return dir;
}

} // namespace kzfi_fuzz

#endif
