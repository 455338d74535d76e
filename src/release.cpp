#include "kzfi_pdk.h"

const char SL_STATIC_RELEASE_STR[] = KZFI_PDK_RELEASE;
