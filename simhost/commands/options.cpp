#include <unistd.h>

#include <cstdlib>

#include "commands.h"

namespace kzfi_simhost {

void addRootOption(CLI::App& command, std::string& root) {
    command.add_option("--root", root,
                       "Install root of the run; made if need be (default: a fresh folder)");
}

void addColourOption(CLI::App& command, std::string& choice) {
    command.add_option("--color", choice, "Colours in the output")
        ->check(CLI::IsMember({"auto", "always", "never"}));
}

bool useColours(const std::string& choice) {
    const char* const terminal = std::getenv("TERM");
    const bool able = isatty(STDOUT_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr &&
                      terminal != nullptr && std::string(terminal) != "dumb";
    return choice == "always" || (choice == "auto" && able);
}

} // namespace kzfi_simhost
