// The free numbers of an enclosure whose 256 records were not read yet, against reading the same
// 256 files bare.
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "cfipblm.h"
#include "kzfi_platform_control.h"

namespace {

constexpr int RECORDS = 256;

// An install root with the records of one enclosure: the numbers 0 to 254, and 0 once more.
class Enclosure {
  public:
    Enclosure() {
        char name[] = "/tmp/kzfi-bench-XXXXXX";
        if (mkdtemp(name) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        root = name;
        std::filesystem::create_directories(directory());
        for (int n = 0; n < RECORDS; ++n) {
            std::ofstream(directory() + "UDID##acme##disk##ARR01##d" + std::to_string(n))
                << n % (RECORDS - 1);
        }
        kzfi_platform_set_install_root(root.c_str());
    }
    Enclosure(const Enclosure&) = delete;
    Enclosure& operator=(const Enclosure&) = delete;
    ~Enclosure() {
        kzfi_platform_set_install_root(nullptr);
        std::error_code ignored;
        std::filesystem::remove_all(root, ignored);
    }

    std::string directory() const { return root + "/lib/kzfi/cachefiles/luns/ARR01/"; }

  private:
    std::string root;
};

std::size_t readBare(const std::string& path) {
    char text[1024];
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return 0;
    }
    const ssize_t got = read(file, text, sizeof text);
    close(file);
    benchmark::DoNotOptimize(text);
    return got > 0 ? 1 : 0;
}

std::size_t readAllBare(const std::string& directory) {
    const std::unique_ptr<DIR, int (*)(DIR*)> opened(opendir(directory.c_str()), &closedir);
    std::size_t count = 0;
    if (!opened) {
        return count;
    }
    for (const dirent* entry = readdir(opened.get()); entry != nullptr;
         entry = readdir(opened.get())) {
        if (entry->d_name[0] != '.') {
            count += readBare(directory + entry->d_name);
        }
    }
    return count;
}

void BM_ReadFilesBare(benchmark::State& state) {
    const Enclosure enclosure;
    const std::string directory = enclosure.directory();
    if (readAllBare(directory) != RECORDS) {
        state.SkipWithError("not all files were read");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(readAllBare(directory));
    }
    state.SetItemsProcessed(state.iterations() * RECORDS);
}

std::vector<std::string> freeOfColdDirectory() {
    kzfi_pdk_4_4::CFiPblmOps pblm;
    std::vector<std::string> free;
    pblm.getNewLunNum("ARR01", free);
    return free;
}

void BM_GetNewLunNum(benchmark::State& state) {
    const Enclosure enclosure;
    if (freeOfColdDirectory() != std::vector<std::string>{"255"}) {
        state.SkipWithError("not all records were read");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(freeOfColdDirectory());
    }
    state.SetItemsProcessed(state.iterations() * RECORDS);
}

} // namespace

BENCHMARK(BM_ReadFilesBare);
BENCHMARK(BM_GetNewLunNum);
