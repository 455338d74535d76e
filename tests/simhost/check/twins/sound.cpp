// Keeps all the rules.
#include "twin.h"

KZFI_TWIN(Sound)
