// The main program of every test executable: each process of tests gets a /usr of its own first, so
// that no test, not even one run by root, can reach a real product's files.
#include <gmock/gmock.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "private_usr.h"
#include "support/fixed_paths.h"

namespace {

std::string reason = "the test program did not ask for one";

bool onlyLists(int count, char** arguments) {
    for (int i = 1; i < count; ++i) {
        if (std::strncmp(arguments[i], "--gtest_list_tests", 18) == 0) {
            return true;
        }
    }
    return false;
}

} // namespace

const std::string& kzfi_tests::noPrivateUsr() {
    return reason;
}

int main(int count, char** arguments) {
    std::setlocale(LC_ALL, "C.UTF-8");
    if (!onlyLists(count, arguments)) {
        reason = kzfi_simhost::enterPrivateUsr();
        // Where it is known to be possible, skipping these tests must not look like passing them.
        if (!reason.empty() && std::getenv("KZFI_REQUIRE_PRIVATE_USR") != nullptr) {
            std::fprintf(stderr, "no private /usr: %s\n", reason.c_str());
            return 1;
        }
    }
    testing::InitGoogleMock(&count, arguments);
    return RUN_ALL_TESTS();
}
