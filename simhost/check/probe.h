// Calls of operations argument by argument, where a step of a scenario is too coarse: with null
// pointers, unusual texts, or marks in what the provider may write to.
#ifndef KZFI_SIMHOST_CHECK_PROBE_H
#define KZFI_SIMHOST_CHECK_PROBE_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cfipluginbase.h"

namespace kzfi_simhost {

/// How an operation is called. What is not said is harmless.
struct ProbeRequest {
    kfi_domain* node = nullptr;      ///< what every node, object id and list of these stands for
    kfi_domain* alternate = nullptr; ///< the second node, where an operation takes two
    std::string text;                ///< what every text holds
    int number = 0;                  ///< what options, intents and requests are
    int null = -1;                   ///< the pointer argument, of Probe::pointers, that is null
    bool marked = false;             ///< outputs hold marks beforehand instead of null and 0
};

struct ProbeAnswer {
    std::optional<int> status; ///< none of an operation that gives none
    /// Outputs that are neither as they were nor null and 0, and of these also the cleared ones.
    std::vector<std::string> filled;
    std::vector<std::string> written;
    /// Inputs that are not as they were.
    std::vector<std::string> changedInputs;
};

/// An operation of the plug-in base that can be called so.
struct Probe {
    std::string operation;
    /// Names of its pointer arguments that may be null, in their order.
    std::vector<std::string> pointers;
    /// What leaves the provider as an exception passes. What an operation that succeeds hands out
    /// for the framework to free is freed.
    std::function<ProbeAnswer(kzfi_pdk_4_4::CFiPluginBase& provider, const ProbeRequest& request)>
        call;
};

/// Every operation between init and fini in the plug-in base's order; not globalConfigInfoList,
/// which takes no pointer and gives no status.
const std::vector<Probe>& probes();

} // namespace kzfi_simhost

#endif
