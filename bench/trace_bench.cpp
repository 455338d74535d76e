// Trace lines against the system calls that they cannot do without: one that the level keeps out
// against a look at the product's main configuration file, one that is written against opening,
// writing and closing the trace file.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "cfitracelog.h"
#include "kzfi_platform_control.h"
#include "private_usr.h"

namespace {

using namespace kzfi_pdk_4_4;
namespace fs = std::filesystem;

const char MAIN_FILE[] = "/usr/tarnex/stoneleaf/kw.conf";
const int LEVEL = 3;
const int ABOVE_LEVEL = 6;

enum MainFile { NONE, WITHOUT_KEY, WITH_KEY };

void setMainFile(MainFile kind) {
    fs::remove(MAIN_FILE);
    if (kind == NONE) {
        return;
    }
    std::string text;
    for (int line = 0; text.size() < 2000; ++line) {
        if (line == 40 && kind == WITH_KEY) {
            text += "KWFIS_VERBOSE = 5\n";
        }
        text += "SERVER_OPTION_" + std::to_string(line) + " = value " + std::to_string(line) + "\n";
    }
    text.resize(2047, '#');
    std::ofstream(MAIN_FILE) << text << '\n';
}

/// A log that traces at LEVEL into a file of a fresh folder.
class TracedFolder {
  public:
    TracedFolder() {
        if (mkdtemp(path) == nullptr) {
            std::perror("no temporary folder");
            std::exit(1);
        }
        fs::create_directories(std::string(path) + "/lib/kzfi");
        kzfi_platform_set_install_root(path);
        log.initialize("bench", path, "t", LEVEL, false);
    }
    TracedFolder(const TracedFolder&) = delete;
    TracedFolder& operator=(const TracedFolder&) = delete;
    ~TracedFolder() { fs::remove_all(path); }

    void trace(int level) {
        log.trace(level, "INFO: %s: %d of %d devices mapped", "ARRAY01", 3, 7);
    }
    std::string file() const {
        for (const auto& entry : fs::directory_iterator(path)) {
            if (entry.is_regular_file()) {
                return entry.path();
            }
        }
        std::fprintf(stderr, "no trace file\n");
        std::exit(1);
    }
    void clear() const { fs::resize_file(file(), 0); }
    /// One line as the log writes it.
    std::string line() {
        clear();
        trace(LEVEL);
        std::ifstream input(file());
        return std::string(std::istreambuf_iterator<char>(input), {});
    }

  private:
    char path[24] = "/tmp/kzfi-bench-XXXXXX";
    CFiTraceLog log;
};

/// Made while standard output is standard error: the log tells there of the new file, and the
/// results may be meant for a program.
TracedFolder& folder() {
    static TracedFolder made;
    return made;
}

void makeFolderQuietly() {
    const int output = dup(STDOUT_FILENO);
    dup2(STDERR_FILENO, STDOUT_FILENO);
    folder();
    std::fflush(stdout);
    dup2(output, STDOUT_FILENO);
    close(output);
}

void filteredOut(benchmark::State& state, MainFile kind) {
    setMainFile(kind);
    for (auto _ : state) {
        folder().trace(ABOVE_LEVEL);
    }
}

void lookAtMainFile(benchmark::State& state, MainFile kind) {
    setMainFile(kind);
    char text[4096];
    for (auto _ : state) {
        const int file = open(MAIN_FILE, O_RDONLY | O_CLOEXEC);
        if (file >= 0) {
            benchmark::DoNotOptimize(read(file, text, sizeof text));
            close(file);
        }
        benchmark::DoNotOptimize(file);
    }
}

void writtenLine(benchmark::State& state) {
    setMainFile(NONE);
    folder().clear();
    for (auto _ : state) {
        folder().trace(LEVEL);
    }
}

void writeToFile(benchmark::State& state) {
    const std::string line = folder().line();
    const std::string path = folder().file();
    for (auto _ : state) {
        const int file = open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
        benchmark::DoNotOptimize(write(file, line.data(), line.size()));
        close(file);
    }
}

// Goals: at most 1.3, 1.8 and 1.5 times the floor below each.
BENCHMARK_CAPTURE(filteredOut, no_main_file, NONE);
BENCHMARK_CAPTURE(lookAtMainFile, no_main_file_floor, NONE);
BENCHMARK_CAPTURE(filteredOut, main_file_of_2_KB, WITHOUT_KEY);
BENCHMARK_CAPTURE(filteredOut, main_file_of_2_KB_with_key, WITH_KEY);
BENCHMARK_CAPTURE(lookAtMainFile, main_file_of_2_KB_floor, WITHOUT_KEY);
BENCHMARK(writtenLine);
BENCHMARK(writeToFile)->Name("writtenLine_floor");

} // namespace

int main(int count, char** arguments) {
    const std::string problem = kzfi_simhost::enterPrivateUsr();
    if (!problem.empty()) {
        std::fprintf(stderr, "no private /usr: %s\n", problem.c_str());
        return 1;
    }
    fs::create_directories(fs::path(MAIN_FILE).parent_path());
    makeFolderQuietly();
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
