// kzfi-simhost: loads a snapshot provider and plays the host to it.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <clocale>
#include <cstdlib>
#include <fstream>
#include <iostream>

#include "describe.h"
#include "host_root.h"
#include "operations.h"
#include "report.h"
#include "run.h"
#include "scenario.h"
#include "text_tools.h"

namespace {

using namespace kzfi_simhost;

// What the command answers to its caller.
const int AS_EXPECTED = 0;
const int NOT_AS_EXPECTED = 1;
const int CANNOT_RUN = 2;

struct Options {
    std::string scenario;
    std::string provider;
    std::string root;
    std::string json;
    std::string junit;
    std::string colour = "auto";
    double deadline = 10;
    bool tree = false;
    bool trace = false;
};

bool useColours(const std::string& choice) {
    const char* const terminal = std::getenv("TERM");
    const bool able = isatty(STDOUT_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr &&
                      terminal != nullptr && std::string(terminal) != "dumb";
    return choice == "always" || (choice == "auto" && able);
}

void printTrace(const std::string& path) {
    std::cout << "\ntrace file " << (path.empty() ? "(none)" : path) << "\n";
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::cout << harmless(line) << "\n";
    }
}

int run(const Options& options) {
    const Scenario scenario = readScenario(options.scenario);
    const HostRoot root(options.root);
    ConsoleReport console(std::cout, useColours(options.colour));
    console.begin(scenario, root);
    const RunReport report =
        runScenario(scenario, root, [&](const Stage& stage) { console.stage(stage); });
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
        printTrace(report.traceFile);
    }
    return report.passed() ? AS_EXPECTED : NOT_AS_EXPECTED;
}

int describe(const Options& options) {
    const HostRoot root(options.root);
    const Description description = describeProvider(
        std::filesystem::absolute(options.provider).lexically_normal(), root, options.deadline);
    std::cout << toText(description) << std::flush;
    if (!options.json.empty()) {
        writeReport(options.json, jsonText(toJson(description)));
    }
    return description.complete() ? AS_EXPECTED : NOT_AS_EXPECTED;
}

const char* wordFor(FieldKind kind) {
    switch (kind) {
    case FieldKind::NODE:
        return "node";
    case FieldKind::NODES:
        return "nodes";
    case FieldKind::TEXT:
        return "text";
    case FieldKind::TEXTS:
        return "texts";
    case FieldKind::NUMBER:
        return "number";
    case FieldKind::FLAG:
        return "true or false";
    case FieldKind::PARAMETERS:
        return "parameters";
    case FieldKind::CHOICE:
        break;
    }
    return "";
}

int listOperations() {
    for (const Operation& operation : operations()) {
        if (operation.call == nullptr) {
            continue;
        }
        std::cout << operation.name << "\n";
        for (const Field& field : operation.fields) {
            std::cout << "  " << field.name << ": " << wordFor(field.kind);
            for (const std::string& choice : field.choices) {
                std::cout << (&choice == &field.choices.front() ? "" : " | ") << choice;
            }
            std::cout << "\n";
        }
    }
    return AS_EXPECTED;
}

void addRun(CLI::App& app, Options& options) {
    CLI::App* const command =
        app.add_subcommand("run", "Loads the scenario's provider and walks through its steps");
    command->add_option("scenario", options.scenario, "The scenario, a YAML file")->required();
    command->add_option("--root", options.root,
                        "Install root of the run; made if need be (default: a fresh folder)");
    command->add_option("--json", options.json, "Writes the report to this JSON file");
    command->add_option("--junit", options.junit, "Writes the report to this JUnit file");
    command->add_option("--color", options.colour, "Colours in the output")
        ->check(CLI::IsMember({"auto", "always", "never"}));
    command->add_flag("--tree", options.tree, "Prints the nodes as the last step left them");
    command->add_flag("--trace", options.trace, "Prints the trace file at the end");
}

void addDescribe(CLI::App& app, Options& options) {
    CLI::App* const command = app.add_subcommand(
        "describe", "Prints a provider's names, parameters and what its operations answer");
    command->add_option("provider", options.provider, "The provider, a shared object")->required();
    command->add_option("--root", options.root,
                        "Install root of the run; made if need be (default: a fresh folder)");
    command->add_option("--json", options.json, "Writes the description to this JSON file");
    command->add_option("--deadline", options.deadline, "Seconds that an operation may take")
        ->check(CLI::PositiveNumber);
}

} // namespace

int main(int count, char** arguments) {
    std::setlocale(LC_CTYPE, "");
    CLI::App app("Plays the host to a snapshot provider plug-in.\n"
                 "Exit status: 0 all as expected, 1 not as expected, 2 the run could not begin.",
                 "kzfi-simhost");
    Options options;
    addRun(app, options);
    addDescribe(app, options);
    app.add_subcommand("operations", "Lists the operations that a step can name and their fields");
    app.require_subcommand(1);
    try {
        app.parse(count, arguments);
        if (app.got_subcommand("operations")) {
            return listOperations();
        }
        return app.got_subcommand("run") ? run(options) : describe(options);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? AS_EXPECTED : CANNOT_RUN;
    } catch (const std::exception& e) {
        std::cerr << "kzfi-simhost: " << e.what() << "\n";
        return CANNOT_RUN;
    }
}
