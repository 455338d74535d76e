#include "../describe.h"

#include <filesystem>
#include <iostream>
#include <memory>

#include "../host_root.h"
#include "../report.h"
#include "commands.h"

namespace kzfi_simhost {
namespace {

struct DescribeOptions {
    std::string provider;
    std::string root;
    std::string json;
    double deadline = 10;
};

int describe(const DescribeOptions& options) {
    const HostRoot root(options.root);
    const Description description = describeProvider(
        std::filesystem::absolute(options.provider).lexically_normal(), root, options.deadline);
    std::cout << toText(description) << std::flush;
    if (!options.json.empty()) {
        writeReport(options.json, jsonText(toJson(description)));
    }
    return description.complete() ? AS_EXPECTED : NOT_AS_EXPECTED;
}

} // namespace

void addDescribeCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<DescribeOptions>();
    CLI::App& command = *app.add_subcommand(
        "describe", "Prints a provider's names, parameters and what its operations answer");
    command.add_option("provider", options->provider, "The provider, a shared object")->required();
    addRootOption(command, options->root);
    command.add_option("--json", options->json, "Writes the description to this JSON file");
    command.add_option("--deadline", options->deadline, "Seconds that an operation may take")
        ->check(CLI::PositiveNumber);
    command.callback([options, &action] { action = [options] { return describe(*options); }; });
}

} // namespace kzfi_simhost
