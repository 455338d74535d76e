#include "stacks.h"

#include <execinfo.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace kzfi_simhost {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

const int MOST_FRAMES = 64;
// A thread answers at once or, when it lets no signals through, not at all.
const int ANSWER_MILLISECONDS = 200;
const int GDB_MILLISECONDS = 10000;
const int TURN_MILLISECONDS = 5;
const char* const ENDED = "-- end of thread";

// Far from what programs use, and one that is passed over in silence when there is no handler.
int stackSignal() {
    return SIGRTMAX - 3;
}

int stackFile = -1;

void say(const char* text) {
    const ssize_t ignored = write(stackFile, text, std::strlen(text));
    static_cast<void>(ignored);
}

/// Async-signal-safe, as far as that goes for a stack: backtrace was called before.
void writeStack(int) {
    const int errorBefore = errno;
    void* frames[MOST_FRAMES];
    backtrace_symbols_fd(frames, backtrace(frames, MOST_FRAMES), stackFile);
    say(ENDED);
    say("\n");
    errno = errorBefore;
}

Lines linesOfFile(const std::string& path) {
    Lines lines;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::size_t endsIn(const Lines& lines) {
    return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), ENDED));
}

void pauseFor(int milliseconds) {
    usleep(static_cast<useconds_t>(milliseconds) * 1000);
}

Lines threadsOf(pid_t process) {
    Lines threads;
    std::error_code error;
    const fs::path folder = "/proc/" + std::to_string(process) + "/task";
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        threads.push_back(entry.path().filename().string());
    }
    return threads;
}

/// Asks one thread, and waits for the end of its answer.
void ask(pid_t process, const std::string& thread, const std::string& file, Lines& stacks) {
    const Lines before = linesOfFile(file);
    const long id = std::strtol(thread.c_str(), nullptr, 10);
    syscall(SYS_tgkill, process, static_cast<pid_t>(id), stackSignal());
    Lines now = before;
    for (int i = 0; i < ANSWER_MILLISECONDS && endsIn(now) == endsIn(before);
         i += TURN_MILLISECONDS) {
        pauseFor(TURN_MILLISECONDS);
        now = linesOfFile(file);
    }
    stacks.push_back("thread " + thread + ":");
    if (endsIn(now) == endsIn(before)) {
        stacks.push_back("  gives no answer");
        return;
    }
    for (std::size_t i = before.size(); i < now.size() && now[i] != ENDED; ++i) {
        stacks.push_back("  " + now[i]);
    }
}

bool endsInTime(pid_t process, int milliseconds) {
    for (int i = 0; i < milliseconds; i += TURN_MILLISECONDS) {
        if (waitpid(process, nullptr, WNOHANG) != 0) {
            return true;
        }
        pauseFor(TURN_MILLISECONDS);
    }
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
    return false;
}

/// Starts gdb on the process, its words to output; below 0 where it is not installed.
pid_t startGdb(pid_t process, const std::string& output) {
    std::string words[] = {"gdb",
                           "-nx",
                           "-batch",
                           "-iex",
                           "set debuginfod enabled off",
                           "-p",
                           std::to_string(process),
                           "-ex",
                           "thread apply all backtrace"};
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, output.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t gdb = -1;
    const int failed = posix_spawnp(&gdb, "gdb", &files, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    return failed == 0 ? gdb : -1;
}

/// Where gdb is not there, or may not look at the process, this adds nothing.
void askGdb(pid_t process, const std::string& file, Lines& stacks) {
    const std::string output = file + ".gdb";
    const pid_t gdb = startGdb(process, output);
    if (gdb < 0) {
        return;
    }
    const bool inTime = endsInTime(gdb, GDB_MILLISECONDS);
    const Lines lines = linesOfFile(output);
    const auto isStack = [](const std::string& line) { return line.rfind("Thread ", 0) == 0; };
    const auto first = std::find_if(lines.begin(), lines.end(), isStack);
    if (first != lines.end()) {
        stacks.push_back(inTime ? "gdb:" : "gdb, which took too long:");
    }
    for (auto line = first; line != lines.end(); ++line) {
        if (!line->empty() && line->rfind("[Inferior", 0) != 0) {
            stacks.push_back("  " + *line);
        }
    }
}

} // namespace

void prepareStacks(const std::string& file) {
    stackFile = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644);
    // The first call loads a library and allocates.
    void* frame = nullptr;
    backtrace(&frame, 1);
    struct sigaction action = {};
    action.sa_handler = writeStack;
    action.sa_flags = SA_RESTART;
    sigaction(stackSignal(), &action, nullptr);
}

std::vector<std::string> takeStacks(pid_t process, const std::string& file) {
    Lines stacks;
    for (const std::string& thread : threadsOf(process)) {
        ask(process, thread, file, stacks);
    }
    askGdb(process, file, stacks);
    return stacks;
}

} // namespace kzfi_simhost
