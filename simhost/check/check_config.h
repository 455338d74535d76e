// What a provider is checked with.
#ifndef KZFI_SIMHOST_CHECK_CHECK_CONFIG_H
#define KZFI_SIMHOST_CHECK_CHECK_CONFIG_H

#include <string>

#include "scenario.h"

namespace kzfi_simhost {

/// One node, and nothing that the provider would have to know.
Scenario defaultCheckConfig(const std::string& provider);

} // namespace kzfi_simhost

#endif
