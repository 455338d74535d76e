// Calls its entry by another name.
#include "twin.h"

extern "C" KZFI_PDK_API CFiPluginBase* kzfi_make_provider(void) {
    return new Sound;
}
