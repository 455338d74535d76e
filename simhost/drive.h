// The provider's life in its own process, from loading to unloading.
#ifndef KZFI_SIMHOST_DRIVE_H
#define KZFI_SIMHOST_DRIVE_H

#include "child_run.h"
#include "host_context.h"
#include "host_root.h"
#include "outcome.h"
#include "scenario.h"

namespace kzfi_simhost {

/// What happens in a run, in this order: load, init, the steps, fini, unload. Stages are counted
/// from 0.
std::size_t stageCount(const Scenario& scenario);
inline constexpr std::size_t LOAD_STAGE = 0;
inline constexpr std::size_t INIT_STAGE = 1;
inline constexpr std::size_t FIRST_STEP_STAGE = 2;
std::size_t finiStage(const Scenario& scenario);
std::size_t unloadStage(const Scenario& scenario);

/// Makes the call of a step. What leaves the provider as an exception, and why there was no call,
/// are in the outcome.
Outcome outcomeOf(HostContext& host, const Step& step);

/// Goes through the stages and tells of each:
///     {"begin": STAGE}
///     {"answer": STAGE, "seconds": TIME, "outcome": OUTCOME}
/// and, when loaded, {"provider": NAME, "fimName": NAME}; when it cannot be loaded, and nothing
/// comes behind it, {"refused": REASON}. Behind the last step comes {"tree": NODES}. After an init
/// that fails there are no steps and no fini.
void drive(const Scenario& scenario, const HostRoot& root, const EventWriter& events);

} // namespace kzfi_simhost

#endif
