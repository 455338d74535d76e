// The subcommands of kzfi-simhost. Each file of this folder holds one: its options, and what it
// does once they are read.
#ifndef KZFI_SIMHOST_COMMANDS_H
#define KZFI_SIMHOST_COMMANDS_H

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

namespace kzfi_simhost {

// What the command answers to its caller.
inline constexpr int AS_EXPECTED = 0;
inline constexpr int NOT_AS_EXPECTED = 1;
inline constexpr int CANNOT_RUN = 2;

/// What the chosen subcommand does; answers the exit status.
using Action = std::function<int()>;

// Each adds its subcommand, which puts what it does into action when it is chosen. Action must
// outlive app.
void addRunCommand(CLI::App& app, Action& action);
void addDescribeCommand(CLI::App& app, Action& action);
void addOperationsCommand(CLI::App& app, Action& action);
void addCheckCommand(CLI::App& app, Action& action);
void addTraceCommand(CLI::App& app, Action& action);
void addNewCommand(CLI::App& app, Action& action);

/// The option --root of every subcommand that runs a provider.
void addRootOption(CLI::App& command, std::string& root);
/// The option --color: "auto", "always" or "never".
void addColourOption(CLI::App& command, std::string& choice);
/// What the choice of --color comes to on this standard output.
bool useColours(const std::string& choice);

} // namespace kzfi_simhost

#endif
