// What a provider says of itself.
#ifndef KZFI_SIMHOST_DESCRIBE_H
#define KZFI_SIMHOST_DESCRIBE_H

#include <map>
#include <string>
#include <vector>

#include "cficonfigparam.h"
#include "host_root.h"
#include "run.h"

namespace kzfi_simhost {

/// What a provider said before a crash, an exit or a hang.
struct LastWords {
    std::string title; ///< of the call
    std::string reason;
    std::vector<std::string> trace;
    std::vector<std::string> output;
};

struct Description {
    RunReport report; ///< of the last process that was asked
    /// Descriptions of the parameters, by list index.
    std::vector<kzfi_pdk_4_4::CFiConfigParamInfo> parameters[2];
    /// What each operation came to on its harmless calls, by its number: the parameters are asked
    /// for once for each list, everything else once.
    std::map<int, std::vector<Stage>> answers;
    std::vector<LastWords> lastWords;

    /// Whether every operation that can be called came to an answer.
    bool complete() const;
};

/// Loads the provider, asks for its descriptions and calls every operation once on harmless
/// arguments, in child processes: after a crash, an exit or a hang the rest is asked in a new one.
/// When init fails nothing else is called. Throws CannotRun when the provider cannot be loaded.
Description describeProvider(const std::string& path, const HostRoot& root, double deadline);

/// The harmless calls that this makes between init and fini, in their order: what a field stands
/// for when it is left out, and node.
std::vector<Step> harmlessSteps(const std::string& node, double deadline);

/// For people and for machines.
std::string toText(const Description& description);
Json toJson(const Description& description);

} // namespace kzfi_simhost

#endif
