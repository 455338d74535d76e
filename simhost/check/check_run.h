// A run of checks, as seen from the command.
#ifndef KZFI_SIMHOST_CHECK_CHECK_RUN_H
#define KZFI_SIMHOST_CHECK_CHECK_RUN_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "check.h"
#include "host_root.h"
#include "scenario.h"

namespace kzfi_simhost {

/// One line of what a check found.
struct FoundLine {
    bool fails; ///< else it is only worth a look
    std::string text;
    std::vector<std::string> trace; ///< the lines before it in the trace
};

struct CheckResult {
    const Check* check = nullptr;
    Verdict verdict = Verdict::PASS;
    std::vector<FoundLine> findings;
    std::optional<SkipReason> skipped;
    std::string detail;        ///< of a skip, a crash, an exit, a hang
    std::string exceptionType; ///< of an exception
    std::string exceptionText;
    std::string doing;              ///< what was called last
    Needs reached = Needs::NOTHING; ///< how far the provider came in its life
    double seconds = 0;
    std::vector<std::string> lastTrace; ///< before the end, when the verdict is not green
    std::vector<std::string> stacks;    ///< of all threads, after a hang
    std::string traceFile;              ///< empty: nothing was traced
    std::string outputFile;             ///< empty: the provider printed nothing
};

struct CheckReport {
    std::string provider;
    std::string root;
    std::string unusable;   ///< why the provider cannot be loaded or made; empty when it can
    std::string privateUsr; ///< why there was none; empty when there was one
    std::uint64_t seed = 1; ///< of the random walk
    std::vector<CheckResult> results;

    bool isGreen() const;
    std::size_t count(Verdict verdict) const;
    double seconds() const;
};

/// Told of every check when it begins, and again as soon as it has a verdict.
struct CheckListener {
    std::function<void(const Check& check, std::size_t index, std::size_t count)> begin;
    std::function<void(const CheckResult& result)> end;
};

/// The checks whose name matches the shell pattern; all for the empty one.
std::vector<const Check*> checksLike(const std::string& pattern);

/// Runs the checks on the provider of configuration, each in a process and a folder below root of
/// its own. Throws CannotRun when the configuration cannot be put into place.
CheckReport runChecks(const std::vector<const Check*>& selected, const Scenario& configuration,
                      const HostRoot& root, const CheckListener& listener);

} // namespace kzfi_simhost

#endif
