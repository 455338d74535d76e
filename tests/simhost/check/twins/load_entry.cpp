// Gives no provider.
#include "twin.h"

extern "C" KZFI_PDK_API CFiPluginBase* kzfi_create_provider(void) {
    return nullptr;
}
