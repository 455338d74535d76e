#include "../new_project.h"

#include <iostream>
#include <memory>

#include "../scenario.h"
#include "commands.h"

namespace kzfi_simhost {
namespace {

struct NewOptions {
    std::string name;
    std::string folder;
    bool interposer = false;
};

int makeProject(const NewOptions& options) {
    const std::string objection = objectionTo(options.name);
    if (!objection.empty()) {
        throw CannotRun("a provider cannot be called '" + options.name + "': " + objection);
    }
    const std::string folder = options.folder.empty() ? options.name : options.folder;
    const std::vector<ProjectFile> files = projectFiles(
        options.name, options.interposer ? ProjectKind::INTERPOSER : ProjectKind::PROVIDER);
    writeProject(folder, files);
    for (const ProjectFile& file : files) {
        std::cout << folder << "/" << file.path << "\n";
    }
    std::cout << "\nnext: cd " << folder << " && ./ci\n";
    return AS_EXPECTED;
}

} // namespace

void addNewCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<NewOptions>();
    CLI::App& command =
        *app.add_subcommand("new", "Writes a provider project: source, texts, scenario, build, CI");
    command.add_option("name", options->name, "The provider's name")->required();
    command.add_flag("--interposer", options->interposer,
                     "One that puts nodes of its own over others, and routes them");
    command.add_option("--into", options->folder,
                       "The project's folder, missing or empty (default: one of its name)");
    command.callback([options, &action] { action = [options] { return makeProject(*options); }; });
}

} // namespace kzfi_simhost
