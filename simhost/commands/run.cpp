#include "../run.h"

#include <unistd.h>

#include <fstream>
#include <iostream>
#include <memory>

#include "../host_root.h"
#include "../live_stage.h"
#include "../report.h"
#include "../text_tools.h"
#include "commands.h"

namespace kzfi_simhost {
namespace {

struct RunOptions {
    std::string scenario;
    std::string root;
    std::string json;
    std::string junit;
    std::string colour = "auto";
    bool tree = false;
    bool trace = false;
};

/// This run's lines: a root that is used again has those of others as well.
void printTrace(const RunReport& report) {
    const std::string& path = report.traceFile;
    std::cout << "\ntrace file " << (path.empty() ? "(none)" : path) << "\n";
    std::ifstream file(path);
    file.seekg(static_cast<std::streamoff>(report.traceStart));
    for (std::string line; std::getline(file, line);) {
        std::cout << harmless(line) << "\n";
    }
}

/// Shows on a terminal, and only there, what goes on meanwhile.
RunReport runOnConsole(const Scenario& scenario, const HostRoot& root, ConsoleReport& console) {
    LiveStage live(std::cout, STDOUT_FILENO, root);
    const ProgressListener show = [&](const Stage& stage, double seconds) {
        live.show(stage, seconds);
    };
    return runScenario(
        scenario, root,
        [&](const Stage& stage) {
            live.erase();
            console.stage(stage);
        },
        isatty(STDOUT_FILENO) != 0 ? show : nullptr);
}

int run(const RunOptions& options) {
    const Scenario scenario = readScenario(options.scenario);
    const HostRoot root(options.root);
    ConsoleReport console(std::cout, useColours(options.colour));
    console.begin(scenario, root);
    const RunReport report = runOnConsole(scenario, root, console);
    console.end(report);
    if (options.tree) {
        console.tree(report);
    }
    if (!options.json.empty()) {
        writeReport(options.json, jsonText(toJson(report)));
    }
    if (!options.junit.empty()) {
        writeReport(options.junit, toJunit(report));
    }
    if (options.trace) {
        printTrace(report);
    }
    return report.passed() ? AS_EXPECTED : NOT_AS_EXPECTED;
}

} // namespace

void addRunCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<RunOptions>();
    CLI::App& command =
        *app.add_subcommand("run", "Loads the scenario's provider and walks through its steps");
    command.add_option("scenario", options->scenario, "The scenario, a YAML file")->required();
    addRootOption(command, options->root);
    command.add_option("--json", options->json, "Writes the report to this JSON file");
    command.add_option("--junit", options->junit, "Writes the report to this JUnit file");
    addColourOption(command, options->colour);
    command.add_flag("--tree", options->tree, "Prints the nodes as the last step left them");
    command.add_flag("--trace", options->trace, "Prints the trace file at the end");
    command.callback([options, &action] { action = [options] { return run(*options); }; });
}

} // namespace kzfi_simhost
