#include "kzfi_platform_control.h"

void kzfi_platform_reset(void) {}
