// Crashes while it is made.
#include <cstdlib>

#include "cfipluginbase.h"

extern "C" KZFI_PDK_API kzfi_pdk_4_4::CFiPluginBase* kzfi_create_provider(void) {
    std::abort();
}
