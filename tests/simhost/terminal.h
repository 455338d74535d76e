// A terminal of the tests' own, and what it would show.
#ifndef KZFI_TESTS_SIMHOST_TERMINAL_H
#define KZFI_TESTS_SIMHOST_TERMINAL_H

#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace kzfi_tests {

/// Rows of a terminal, ASCII only: what was written, line ends and returns to the line's start.
class Screen {
  public:
    explicit Screen(std::size_t width) : columns(width) {}

    void write(const std::string& bytes) {
        for (const char c : bytes) {
            put(c);
        }
    }

    /// The rows without blanks at their ends.
    std::vector<std::string> rows() const {
        std::vector<std::string> shown = lines;
        for (std::string& line : shown) {
            line.erase(line.find_last_not_of(' ') + 1);
        }
        return shown;
    }
    /// How often a line was longer than the terminal is wide.
    int wraps() const { return wrapped; }

  private:
    void put(char c) {
        if (c == '\r') {
            column = 0;
        } else if (c == '\n') {
            lines.emplace_back();
            column = 0;
        } else {
            if (column == columns) {
                ++wrapped;
                lines.emplace_back();
                column = 0;
            }
            std::string& line = lines.back();
            line.resize(std::max(line.size(), column + 1), ' ');
            line[column++] = c;
        }
    }

    const std::size_t columns;
    std::size_t column = 0;
    int wrapped = 0;
    std::vector<std::string> lines = {""};
};

/// What a program writes to a terminal so many columns wide, as it writes it, until its end. When
/// awaited comes the terminal's user interrupts it, once. *status becomes its wait status.
inline std::string onTerminal(std::vector<std::string> arguments, unsigned short columns,
                              const std::string& awaited = "", int* status = nullptr) {
    winsize size = {24, columns, 0, 0};
    termios plain = {};
    cfmakeraw(&plain);
    plain.c_lflag |= ISIG;
    plain.c_cc[VINTR] = 3;
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, &plain, &size);
    if (child < 0) {
        throw std::runtime_error("no terminal");
    }
    if (child == 0) {
        signal(SIGINT, SIG_DFL); // Whoever runs the tests may ignore it.
        std::vector<char*> argv;
        for (std::string& argument : arguments) {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);
        execv(argv[0], argv.data());
        _exit(127);
    }
    bool interrupted = false;
    std::string written;
    char chunk[4096];
    for (ssize_t got = 0; (got = read(terminal, chunk, sizeof chunk)) > 0;) {
        written.append(chunk, static_cast<std::size_t>(got));
        if (!interrupted && !awaited.empty() && written.find(awaited) != std::string::npos) {
            interrupted = write(terminal, "\003", 1) == 1;
        }
    }
    close(terminal);
    waitpid(child, status, 0);
    return written;
}

} // namespace kzfi_tests

#endif
