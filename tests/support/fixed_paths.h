// Tests of the product's fixed paths under /usr/tarnex.
#ifndef KZFI_TESTS_FIXED_PATHS_H
#define KZFI_TESTS_FIXED_PATHS_H

#include <gtest/gtest.h>

#include <string>

namespace kzfi_tests {

/// Why this process has no /usr of its own; empty when it has one.
const std::string& noPrivateUsr();

} // namespace kzfi_tests

/// First line of a test that writes below /usr/tarnex: skips it where the process has no private
/// /usr.
#define KZFI_NEEDS_PRIVATE_USR()                                                                   \
    if (!::kzfi_tests::noPrivateUsr().empty()) {                                                   \
        GTEST_SKIP() << "no private /usr: " << ::kzfi_tests::noPrivateUsr();                       \
    }                                                                                              \
    static_assert(true, "")

#endif
