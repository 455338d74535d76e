#include "check_config.h"

namespace kzfi_simhost {

Scenario defaultCheckConfig(const std::string& provider) {
    Scenario configuration;
    configuration.provider = provider;
    configuration.deadline = DEFAULT_CHECK_DEADLINE;
    configuration.nodes.emplace_back().name = "node1";
    return configuration;
}

} // namespace kzfi_simhost
