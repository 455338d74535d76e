// Crashes while it is made.
#include <cstdio>
#include <cstdlib>

#include "cfipluginbase.h"

extern "C" KZFI_PDK_API kzfi_pdk_4_4::CFiPluginBase* kzfi_create_provider(void) {
    std::puts("no licence");
    std::fflush(stdout);
    std::abort();
}
