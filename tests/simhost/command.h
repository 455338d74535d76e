// Runs kzfi-simhost the way a user does.
#ifndef KZFI_TESTS_SIMHOST_COMMAND_H
#define KZFI_TESTS_SIMHOST_COMMAND_H

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "host_root.h"
#include "json.h"
#include "support/temp_dir.h"

namespace kzfi_tests {

struct CommandResult {
    int status = -1; ///< exit status
    std::string out;
    std::string err;
};

/// The command, with a folder of its own for scenarios, roots and reports.
class SimhostCommand {
  public:
    /// Runs the command with these arguments; setting is "NAME=VALUE" or empty.
    CommandResult operator()(const std::vector<std::string>& arguments,
                             const std::string& setting = "") const {
        std::vector<char*> argv = pointersTo(arguments);
        std::vector<char*> environment;
        for (char** variable = environ; *variable != nullptr; ++variable) {
            environment.push_back(*variable);
        }
        std::string own = setting;
        if (!own.empty()) {
            environment.push_back(own.data());
        }
        environment.push_back(nullptr);
        CommandResult result;
        result.status = spawn(argv, environment);
        result.out = readFile(folder.path("stdout"));
        result.err = readFile(folder.path("stderr"));
        return result;
    }

    /// Writes a scenario for one of the tests' providers.
    void place(const std::string& provider, const std::string& rest) const {
        writeFile(scenario(), "provider: " KZFI_PROVIDERS "/" + provider + ".so\n" + rest);
    }

    /// Does so and runs it under the folder "root".
    CommandResult run(const std::string& provider, const std::string& rest,
                      const std::vector<std::string>& options = {}) const {
        place(provider, rest);
        std::vector<std::string> arguments = {"run", scenario(), "--root", folder.path("root")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return (*this)(arguments);
    }

    /// The JSON report of the same.
    kzfi_simhost::Json report(const std::string& provider, const std::string& rest) const {
        run(provider, rest, {"--json", path("report.json")});
        return kzfi_simhost::Json::parse(readFile(path("report.json")));
    }

    /// The trace of a provider of this name below "root".
    std::string tracePath(const std::string& name) const {
        return kzfi_simhost::HostRoot(path("root")).traceFile(name + ".log");
    }

    std::string scenario() const { return folder.path("scenario.yaml"); }
    std::string path(const std::string& name) const { return folder.path(name); }

  private:
    static std::vector<char*> pointersTo(const std::vector<std::string>& arguments) {
        static char command[] = KZFI_SIMHOST;
        std::vector<char*> argv = {command};
        for (const std::string& argument : arguments) {
            argv.push_back(const_cast<char*>(argument.c_str()));
        }
        argv.push_back(nullptr);
        return argv;
    }

    int spawn(std::vector<char*>& argv, std::vector<char*>& environment) const {
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&files, 1, folder.path("stdout").c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_addopen(&files, 2, folder.path("stderr").c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0644);
        pid_t child = -1;
        const int failed =
            posix_spawn(&child, argv[0], &files, nullptr, argv.data(), environment.data());
        posix_spawn_file_actions_destroy(&files);
        if (failed != 0) {
            throw std::runtime_error("cannot start " KZFI_SIMHOST);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    TempDir folder;
};

} // namespace kzfi_tests

#endif
