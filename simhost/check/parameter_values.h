// Values for a node's configuration parameters, from what the provider says of them.
#ifndef KZFI_SIMHOST_CHECK_PARAMETER_VALUES_H
#define KZFI_SIMHOST_CHECK_PARAMETER_VALUES_H

#include <string>

#include "cficonfigparam.h"
#include "context.h"

namespace kzfi_simhost {

struct ParameterValues {
    std::string list;             ///< "0" or "1", as config takes it
    Json values = Json::object(); ///< by key; empty when there is none that could be set
};

/// A value that the description allows and that is not the default; null when none is known.
Json otherValue(const kzfi_pdk_4_4::CFiConfigParamInfo& description);

/// Allowed values that are not the defaults: those that the configuration has for the node, else
/// made from the descriptions that config GETPARAM gives. The node must be one of the host's.
/// A text is made up only where nothing but texts can be set.
ParameterValues otherValues(CheckContext& c, const std::string& node);

/// config GET of the node: everything that comes.
Json valuesOf(CheckContext& c, const std::string& node, const std::string& list);

/// config SET of the node; its status.
std::optional<int> setValues(CheckContext& c, const std::string& node,
                             const ParameterValues& parameters);

} // namespace kzfi_simhost

#endif
