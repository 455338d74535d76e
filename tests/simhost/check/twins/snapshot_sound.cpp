// Takes snapshots, and keeps all the rules.
#include "snapshots.h"

KZFI_TWIN(Snapshots)
