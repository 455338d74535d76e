// A scenario: which provider to load, what it finds in the host, and the calls it has to answer.
#ifndef KZFI_SIMHOST_SCENARIO_H
#define KZFI_SIMHOST_SCENARIO_H

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "outcome.h"

namespace kzfi_simhost {

/// The run cannot begin: what() is for people and names the file, and the line where there is one.
class CannotRun : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct ScenarioTrace {
    int level = 6;
    std::string file; ///< empty: the provider's name + ".log"
};

struct ScenarioFile {
    std::string path; ///< below the root, without ".."
    std::string content;
    int line = 0;
};

struct ScenarioNode {
    std::string name;
    int type = 0;
    std::vector<std::string> owner; ///< the nodes of its owner record, in order; empty: no owner
    Json parameters = Json::object();
};

struct Step {
    std::string operation;
    Json arguments = Json::object(); ///< checked against the operation's fields
    Expectation expect;
    std::string title;
    double deadline = 0; ///< seconds
    std::string watch;   ///< path or glob below the root whose size is shown meanwhile; empty: none
    int line = 0;
};

struct Scenario {
    std::string file; ///< empty for a scenario that was not read from a file
    std::string provider;
    int providerLine = 0;
    std::optional<std::string> name;
    std::optional<std::string> fimName;
    std::string language = "en";
    std::string catalogues; ///< empty: none
    int cataloguesLine = 0;
    ScenarioTrace trace;
    double deadline = 30;
    std::optional<std::string> credentials; ///< the host's credentials text
    std::vector<ScenarioFile> files;
    std::vector<ScenarioNode> nodes;
    std::vector<Step> steps;
    // Of the checker's configuration only.
    std::vector<std::string> claims;       ///< objects that the provider claims
    std::vector<std::string> decoys;       ///< objects that it must refuse
    std::vector<ScenarioFile> toolFailure; ///< files that make the provider's tool fail
    std::uint64_t seed = 1;                ///< of the random walk; an option of the command
};

/// Reads a scenario file; relative paths in it become relative to its folder. docs/scenario.md
/// tells what it may hold. Throws CannotRun with "FILE:LINE: REASON".
Scenario readScenario(const std::string& path);

/// Reads the checker's configuration of a provider in the same way; docs/checker.md tells what it
/// may hold. Its snapshot flow is in steps.
Scenario readCheckConfig(const std::string& path, const std::string& provider);

/// Seconds that an operation may take during a check where nothing else is said.
inline constexpr double DEFAULT_CHECK_DEADLINE = 10;

/// "FILE:LINE: REASON", the form of every complaint about a scenario.
std::string at(const Scenario& scenario, int line, const std::string& reason);

/// The complaint about a field that names a node that is not there.
std::string noSuchNode(const std::string& field, const std::string& name,
                       const std::vector<std::string>& known);

/// How the step is called in reports: its title, else the operation and its short fields.
std::string titleOf(const Step& step);

} // namespace kzfi_simhost

#endif
