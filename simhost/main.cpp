// kzfi-simhost: loads a snapshot provider and plays the host to it.
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <iostream>

#include "child_run.h"
#include "commands/commands.h"

namespace {

/// Ends the command as the signal would have, so that its caller sees what it was.
[[noreturn]] void endBy(int signal) {
    std::cout << std::flush;
    std::cerr << "kzfi-simhost: ended by " << kzfi_simhost::signalInWords(signal)
              << ", and the provider's process with it\n";
    std::signal(signal, SIG_DFL);
    std::raise(signal);
    std::_Exit(128 + signal);
}

} // namespace

int main(int count, char** arguments) {
    using namespace kzfi_simhost;
    std::setlocale(LC_CTYPE, "");
    CLI::App app("Plays the host to a snapshot provider plug-in.\n"
                 "Exit status: 0 all as expected, 1 not as expected, 2 the run could not begin.",
                 "kzfi-simhost");
    Action action;
    addRunCommand(app, action);
    addDescribeCommand(app, action);
    addOperationsCommand(app, action);
    addCheckCommand(app, action);
    addTraceCommand(app, action);
    addNewCommand(app, action);
    app.require_subcommand(1);
    try {
        app.parse(count, arguments);
        return action();
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? AS_EXPECTED : CANNOT_RUN;
    } catch (const EndedBySignal& e) {
        endBy(e.number);
    } catch (const std::exception& e) {
        std::cerr << "kzfi-simhost: " << e.what() << "\n";
        return CANNOT_RUN;
    }
}
