// A shared object that is no provider.
#include "kzfi_pdk.h"

extern "C" KZFI_PDK_API int somethingElse(void) {
    return 1;
}
