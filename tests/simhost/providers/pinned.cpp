// Linked so that the dynamic linker never takes it out.
#include "cfipluginbase.h"

extern "C" KZFI_PDK_API kzfi_pdk_4_4::CFiPluginBase* kzfi_create_provider(void) {
    return new kzfi_pdk_4_4::CFiPluginBase;
}
