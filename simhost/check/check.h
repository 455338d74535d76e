// The checks of a provider: what they are, and what each of them is given to work with.
//
// Adding a check
//
//  1. Choose its name, "family.rule" in lower case, and write it as a function in the family's file
//     simhost/check/FAMILY_checks.cpp:
//
//         /// claim() answers the same when it is asked again.
//         void claimIsDeterministic(CheckContext& c) {
//             c.start();
//             const Outcome first = c.call("claim");
//             if (c.call("claim").toJson() != first.toJson()) {
//                 c.fail("claim answered differently the second time");
//             }
//         }
//
//         void addClaimChecks(std::vector<Check>& all) {
//             all.push_back({"claim.deterministic",
//                            "claim answers the same for the same object.",
//                            "Let claim decide by the object alone, not by what was asked before.",
//                            Needs::STARTED, claimIsDeterministic});
//         }
//
//     The rule is one sentence that a provider's author can hold on to; the advice is one sentence
//     that says what to do when it is broken. A new family's function is declared below, called in
//     checks.cpp, and its file listed in simhost/check/CMakeLists.txt.
//  2. Write nothing to tidy up: when the function returns, or throws out of skip(), the runner ends
//     the provider's life (fini, release, unload) and adds what the watch on the host found.
//  3. A check that needs more than the defaults asks the configuration and says what is missing:
//     `if (c.config().claims.empty()) { c.skip(SkipReason::NOT_CONFIGURED, "claims"); }`
//     A check of an operation that a provider may leave out calls c.skipUnlessImplemented().
//  4. Write its twin, tests/simhost/check/twins/FAMILY_RULE.cpp: a provider derived from
//     twins/twin.h that breaks this rule and no other. Let it misbehave as late and as narrowly as
//     it can (one operation, one argument that only this check uses): checks that call the same
//     operation the same way would be right to complain as well. Where the rule can be broken in
//     several ways each has a twin, FAMILY_RULE_WAY.cpp. tests/simhost/check/CMakeLists.txt finds
//     the files by itself; add a line to the table in twins_test.cpp.
//  5. The provider "sound" and the samples must pass the new check, or be skipped for a reason.
//
// Each check runs in a process of its own, which has a private /usr where the machine allows it,
// an install root of its own and nothing left of the checks before it. A crash, an exit, a hang or
// an escaping exception there is the check's verdict.
#ifndef KZFI_SIMHOST_CHECK_CHECK_H
#define KZFI_SIMHOST_CHECK_CHECK_H

#include <string>
#include <vector>

namespace kzfi_simhost {

class CheckContext;

enum class Verdict {
    PASS,
    WARN,      ///< worth a look; the run stays green
    FAIL,      ///< the rule is broken
    CRASH,     ///< a signal ended the provider's process
    HANG,      ///< an operation missed its deadline
    EXIT,      ///< the provider ended its process
    EXCEPTION, ///< an exception left the provider
    SKIP       ///< for one of the SkipReasons
};

/// "pass", "warn" and so on.
const char* wordFor(Verdict verdict);

/// PASS, WARN and SKIP.
bool isGreen(Verdict verdict);

/// Why a check may be skipped. There are no others.
enum class SkipReason {
    NOT_IMPLEMENTED, ///< the provider answers 4, every time
    NOT_CONFIGURED,  ///< a key of the configuration is missing
    NEEDS_PLATFORM,  ///< this machine, or the user's rights here, do not allow it
    UNUSABLE         ///< the provider cannot be loaded, made or started
};

/// "not implemented" and so on.
const char* wordFor(SkipReason reason);

/// How far a provider must have come for a check to make sense; one that does not come as far is
/// skipped as UNUSABLE, so that a provider that cannot start fails the checks of its start alone.
enum class Needs {
    NOTHING,
    LIBRARY,  ///< it can be loaded
    PROVIDER, ///< and made
    STARTED   ///< and init answers 0
};

struct Check {
    std::string name;
    std::string rule;
    std::string advice;
    Needs needs;
    void (*run)(CheckContext& context);
};

/// All checks, in the order in which they are run and listed.
const std::vector<Check>& checks();

// The families, one file each.
void addLoadChecks(std::vector<Check>& all);
void addLifeChecks(std::vector<Check>& all);
void addClaimChecks(std::vector<Check>& all);
void addNodesChecks(std::vector<Check>& all);
void addErrorsChecks(std::vector<Check>& all);
void addThreadsChecks(std::vector<Check>& all);
void addOperationsChecks(std::vector<Check>& all);
void addConfigChecks(std::vector<Check>& all);
void addWalkChecks(std::vector<Check>& all);
void addSnapshotChecks(std::vector<Check>& all);
void addWatchChecks(std::vector<Check>& all);

} // namespace kzfi_simhost

#endif
