// A program of somebody else's against the installed kit and the stand-in. Its argument is the
// kit's version; it says what went wrong.
#include <cstdio>
#include <cstring>

#include "cfiplugininterposer.h"
#include "cfiudid.h"
#include "kzfi_platform_control.h"

using namespace kzfi_pdk_4_4;

namespace {

class Provider : public CFiPluginInterposer {};

int failures = 0;

void expect(bool right, const char* what) {
    if (!right) {
        std::printf("not so: %s\n", what);
        ++failures;
    }
}

bool catchesTheLibrarysException() {
    try {
        CFiUdid udid("nonsense");
    } catch (const CFiUdidException& error) {
        return error.errorCode == CFiUdidException::NO_PREFIX;
    }
    return false;
}

// The object is this program's, the classes are the library's.
void expectCastsToWork() {
    Provider provider;
    CFiRefCount* const counted = &provider;
    expect(dynamic_cast<CFiPluginBase*>(counted) == &provider, "a plug-in is found from its count");
    expect(dynamic_cast<CFiTraceable*>(counted) != nullptr, "so is what it traces through");
    expect(dynamic_cast<CFiErrorManager*>(counted) == nullptr, "a plug-in is no error manager");
}

void expectTheStandIn() {
    kzfi_platform_reset();
    kzfi_free_buf(kzfi_alloc_buf(16), 16);
    const kzfi_platform_counts counts = kzfi_platform_get_counts();
    expect(counts.taken == 1 && counts.given_back == 1 && counts.wrong_size == 0,
           "the stand-in counts a buffer");
}

} // namespace

int main(int count, char** arguments) {
    expect(count == 2 && std::strncmp(arguments[1], SL_STATIC_RELEASE_STR,
                                      std::strlen(SL_STATIC_RELEASE_STR)) == 0,
           "the library is of the package's release");
    expect(catchesTheLibrarysException(), "the library's exception is caught as what it is");
    expectCastsToWork();
    expectTheStandIn();
    return failures == 0 ? 0 : 1;
}
