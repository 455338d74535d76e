#include "support/throwing_host.h"

#include <dlfcn.h>

#include <stdexcept>

#include "cfierrormgr.h"
#include "kzfi_framework.h"

namespace {

int cfiErrors = 0;
int runtimeErrors = 0;

} // namespace

void kzfi_tests::throwCFiErrorFromHost(int count) {
    cfiErrors = count;
    runtimeErrors = 0;
}

void kzfi_tests::throwRuntimeErrorFromHost(int count) {
    cfiErrors = 0;
    runtimeErrors = count;
}

int kzfi_get_install_root(char** root) {
    if (cfiErrors > 0) {
        --cfiErrors;
        throw kzfi_pdk_4_4::CFiError(1, "host", "host", 1, "host");
    }
    if (runtimeErrors > 0) {
        --runtimeErrors;
        throw std::runtime_error("host");
    }
    typedef int (*Original)(char**);
    static const Original original =
        reinterpret_cast<Original>(dlsym(RTLD_NEXT, "kzfi_get_install_root"));
    return original(root);
}
