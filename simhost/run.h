// A scenario's run, as seen from the command: what every stage came to.
#ifndef KZFI_SIMHOST_RUN_H
#define KZFI_SIMHOST_RUN_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host_root.h"
#include "outcome.h"
#include "scenario.h"

namespace kzfi_simhost {

enum class Result {
    NOT_RUN, ///< something before it went wrong
    PASSED,
    FAILED,  ///< another answer than expected, or an exception
    CRASHED, ///< a signal ended the provider's process
    EXITED,  ///< the provider ended its process
    HUNG     ///< no answer within the deadline
};

/// "passed", "failed", "crashed", "exited", "hung", "not run".
const char* wordFor(Result result);

/// Whether it is the provider's process that ended.
bool isEnd(Result result);

/// Loading, a step, or whatever else a run goes through.
struct Stage {
    std::string title;
    std::string operation;
    int line = 0; ///< in the scenario; 0: none
    double deadline = 0;
    std::string watch; ///< as in the step
    Expectation expect;

    Result result = Result::NOT_RUN;
    std::optional<Outcome> outcome;
    double seconds = 0;
    std::vector<Mismatch> mismatches;
    std::string reason; ///< of a crash, an exit or a hang, or why there was no call
    std::string note;   ///< what is worth knowing though nothing failed
};

struct RunReport {
    std::string scenario;
    std::string provider;
    std::string name;
    std::string fimName;
    std::string root;
    std::string traceFile;         ///< empty: nothing was traced
    std::uintmax_t traceStart = 0; ///< where this run's lines begin in it
    std::string outputFile;        ///< empty: the provider printed nothing
    std::string privateUsr;        ///< why there was none; empty when there was one
    std::vector<Stage> stages;
    Json tree; ///< the nodes after the last step, as NodeStore gives them; null without
    std::vector<std::string> lastTrace;  ///< before a crash, an exit or a hang
    std::vector<std::string> lastOutput; ///< likewise

    bool passed() const;
    std::size_t count(Result result) const;
    double seconds() const;
};

/// Told of every stage as soon as it has a result.
using StageListener = std::function<void(const Stage& stage)>;

/// Told about five times a second of the stage that is going on, and for how long it has been.
using ProgressListener = std::function<void(const Stage& stage, double seconds)>;

/// Runs the scenario in a child process. Throws CannotRun when the provider cannot be loaded.
RunReport runScenario(const Scenario& scenario, const HostRoot& root, const StageListener& listener,
                      const ProgressListener& progress = nullptr);

} // namespace kzfi_simhost

#endif
