#include "context.h"

namespace kzfi_simhost {

void addWatchChecks(std::vector<Check>&) {}

} // namespace kzfi_simhost
