// Needs a function that nobody has.
#include "cfipluginbase.h"

int definedNowhere();

extern "C" KZFI_PDK_API kzfi_pdk_4_4::CFiPluginBase* kzfi_create_provider(void) {
    return definedNowhere() != 0 ? new kzfi_pdk_4_4::CFiPluginBase : nullptr;
}
