// Running commands: a short one against a bare posix_spawn() and waitpid(), in a small process and
// in one with a gigabyte of touched memory, and a chatty one against popen() and getline().
#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "cfiexecpipe.h"

namespace {

using kzfi_pdk_4_4::CFiExecPipePosix;

constexpr std::size_t GIGABYTE = std::size_t{1} << 30;
constexpr std::size_t OUTPUT = std::size_t{64} << 20;
constexpr unsigned long TIMEOUT = 60;

// Memory that is there and written to, as in a host that has worked for a while.
class TouchedMemory {
  public:
    explicit TouchedMemory(std::size_t bytes) : size(bytes), memory(nullptr) {
        if (size > 0) {
            memory =
                mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
            madvise(memory, size, MADV_NOHUGEPAGE);
            std::memset(memory, 1, size);
        }
    }
    TouchedMemory(const TouchedMemory&) = delete;
    TouchedMemory& operator=(const TouchedMemory&) = delete;
    ~TouchedMemory() {
        if (size > 0) {
            munmap(memory, size);
        }
    }

  private:
    const std::size_t size;
    void* memory;
};

// ---- A short command ----

bool spawnTrue() {
    char program[] = "/bin/true";
    char* const arguments[] = {program, nullptr};
    pid_t child = -1;
    int status = -1;
    return posix_spawn(&child, program, nullptr, nullptr, arguments, environ) == 0 &&
           waitpid(child, &status, 0) == child && status == 0;
}

bool runTrue() {
    CFiExecPipePosix runner(1);
    std::vector<std::string> output;
    return runner.Exec("/bin/true", output, "", TIMEOUT, "", "", "") == 0;
}

template <bool (*run)()>
void shortCommand(benchmark::State& state) {
    const TouchedMemory memory(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        if (!run()) {
            state.SkipWithError("the command failed");
            return;
        }
    }
}

void BM_TrueBySpawn(benchmark::State& state) {
    shortCommand<spawnTrue>(state);
}

void BM_TrueByExec(benchmark::State& state) {
    shortCommand<runTrue>(state);
}

// ---- A chatty command ----

// A file of OUTPUT bytes in lines of 41, removed at the end.
class ChattyFile {
  public:
    ChattyFile() : path("/tmp/kzfi-bench-XXXXXX") {
        close(mkstemp(path.data()));
        const std::string line = std::string(40, 'x') + "\n";
        std::ofstream file(path, std::ios::binary);
        for (std::size_t written = 0; written < OUTPUT; written += line.size()) {
            file << line;
        }
    }
    ChattyFile(const ChattyFile&) = delete;
    ChattyFile& operator=(const ChattyFile&) = delete;
    ~ChattyFile() { unlink(path.c_str()); }

    std::string command() const { return "/bin/cat " + path; }

  private:
    std::string path;
};

std::vector<std::string> linesByPopen(const std::string& command) {
    std::vector<std::string> lines;
    FILE* const pipe = popen(command.c_str(), "r");
    char* line = nullptr;
    std::size_t room = 0;
    for (ssize_t got = getline(&line, &room, pipe); got > 0; got = getline(&line, &room, pipe)) {
        lines.emplace_back(line, static_cast<std::size_t>(got));
    }
    std::free(line);
    pclose(pipe);
    return lines;
}

std::vector<std::string> linesByExec(const std::string& command) {
    std::vector<std::string> lines;
    CFiExecPipePosix(1).Exec(command, lines, "", TIMEOUT, "", "", "");
    return lines;
}

template <std::vector<std::string> (*collect)(const std::string&)>
void chattyCommand(benchmark::State& state) {
    const ChattyFile file;
    if (linesByPopen(file.command()) != linesByExec(file.command())) {
        state.SkipWithError("the two ways disagree");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(collect(file.command()));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * OUTPUT));
}

void BM_LinesByPopen(benchmark::State& state) {
    chattyCommand<linesByPopen>(state);
}

void BM_LinesByExec(benchmark::State& state) {
    chattyCommand<linesByExec>(state);
}

} // namespace

BENCHMARK(BM_TrueBySpawn)->Arg(0)->Arg(GIGABYTE)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_TrueByExec)->Arg(0)->Arg(GIGABYTE)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LinesByPopen)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LinesByExec)->UseRealTime()->Unit(benchmark::kMillisecond);
