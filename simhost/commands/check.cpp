#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <memory>

#include "../check/check_config.h"
#include "../check/check_run.h"
#include "../check/report.h"
#include "../host_root.h"
#include "../report.h"
#include "../terminal.h"
#include "commands.h"

namespace kzfi_simhost {
namespace {

struct CheckOptions {
    std::string provider;
    std::string config;
    std::string root;
    std::string json;
    std::string junit;
    std::string only;
    std::string colour = "auto";
    double deadline = 0;
    std::uint64_t seed = 1;
    bool list = false;
};

Scenario configurationFor(const CheckOptions& options) {
    if (options.provider.empty()) {
        throw CannotRun("check: no provider is named");
    }
    const std::string provider = std::filesystem::absolute(options.provider).lexically_normal();
    Scenario configuration = options.config.empty() ? defaultCheckConfig(provider)
                                                    : readCheckConfig(options.config, provider);
    if (options.deadline > 0) {
        configuration.deadline = options.deadline;
    }
    configuration.seed = options.seed;
    return configuration;
}

CheckReport runAll(const CheckOptions& options, const std::vector<const Check*>& selected) {
    const Scenario configuration = configurationFor(options);
    const HostRoot root(options.root);
    const std::size_t columns = isatty(STDOUT_FILENO) != 0 ? terminalColumns(STDOUT_FILENO) : 0;
    CheckConsole console(std::cout, useColours(options.colour), columns);
    CheckListener listener;
    listener.begin = [&](const Check& check, std::size_t index, std::size_t count) {
        console.begin(check, index, count);
    };
    listener.end = [&](const CheckResult& result) { console.end(result); };
    const CheckReport report = runChecks(selected, configuration, root, listener);
    console.summary(report);
    return report;
}

int check(const CheckOptions& options) {
    const std::vector<const Check*> selected = checksLike(options.only);
    if (selected.empty()) {
        throw CannotRun("--only: no check is called like '" + options.only + "'");
    }
    if (options.list) {
        listChecks(std::cout, selected);
        return AS_EXPECTED;
    }
    const CheckReport report = runAll(options, selected);
    if (!options.json.empty()) {
        writeReport(options.json, jsonText(toJson(report)));
    }
    if (!options.junit.empty()) {
        writeReport(options.junit, toJunit(report));
    }
    if (!report.unusable.empty()) {
        return CANNOT_RUN;
    }
    return report.isGreen() ? AS_EXPECTED : NOT_AS_EXPECTED;
}

} // namespace

void addCheckCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<CheckOptions>();
    CLI::App& command = *app.add_subcommand("check", "Checks whether a provider keeps the rules");
    command.add_option("provider", options->provider, "The provider, a shared object");
    command.add_option("--config", options->config,
                       "What the provider needs to be checked with, a YAML file");
    command.add_option("--json", options->json, "Writes the report to this JSON file");
    command.add_option("--junit", options->junit, "Writes the report to this JUnit file");
    command.add_option("--only", options->only, "Only the checks whose names match this pattern");
    command.add_flag("--list", options->list, "Lists the checks and their rules, and runs none");
    addRootOption(command, options->root);
    command.add_option("--deadline", options->deadline, "Seconds that an operation may take")
        ->check(CLI::PositiveNumber);
    command.add_option("--seed", options->seed, "Where the random walk begins; left out: 1");
    addColourOption(command, options->colour);
    command.callback([options, &action] { action = [options] { return check(*options); }; });
}

} // namespace kzfi_simhost
