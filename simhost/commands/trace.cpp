#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>

#include "../scenario.h"
#include "../trace/chrome_trace.h"
#include "../trace/tree_text.h"
#include "commands.h"

namespace kzfi_simhost {
namespace {

struct TraceOptions {
    std::string file;
    std::string chrome;
    std::string colour = "auto";
    std::optional<std::uint32_t> thread;
    bool errors = false;
};

void writeChromeFile(const TraceOptions& options, const CallTree& tree) {
    std::error_code none;
    if (std::filesystem::equivalent(options.file, options.chrome, none)) {
        throw CannotRun("cannot write " + options.chrome + ": it is the trace file");
    }
    std::ofstream file(options.chrome, std::ios::binary);
    writeChromeTrace(file, tree);
    file.close();
    if (!file) {
        throw CannotRun("cannot write " + options.chrome + ": " + std::strerror(errno));
    }
}

int trace(const TraceOptions& options) {
    TraceReader reader(options.file);
    CallTree tree;
    for (TraceLine line; reader.next(line);) {
        if (!options.thread || *options.thread == line.thread) {
            tree.add(line);
        }
    }
    tree.finish();
    TreeText text(std::cout, {useColours(options.colour), options.errors});
    for (const ThreadTrace* thread : tree.threads()) {
        text.print(*thread);
    }
    text.printSummary(tree, reader);
    std::cout << std::flush;
    if (!options.chrome.empty()) {
        writeChromeFile(options, tree);
    }
    return tree.counts().messages == 0 && reader.lines() > 0 ? NOT_AS_EXPECTED : AS_EXPECTED;
}

} // namespace

void addTraceCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<TraceOptions>();
    CLI::App& command = *app.add_subcommand(
        "trace", "Shows a provider's trace file as a call tree with times, thread by thread");
    command.add_option("file", options->file, "The trace file")->required();
    command.add_option("--chrome", options->chrome,
                       "Writes it to this file as well, for trace viewers (Trace Event Format)");
    command.add_option("--thread", options->thread, "Only the threads with this id");
    command.add_flag("--errors", options->errors,
                     "Prints only errors, warnings, calls that did not finish, and what is around");
    addColourOption(command, options->colour);
    command.callback([options, &action] { action = [options] { return trace(*options); }; });
}

} // namespace kzfi_simhost
