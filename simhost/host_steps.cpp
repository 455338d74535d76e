// Steps that the host does itself: it stands for whoever writes to the disks, and looks at what a
// provider left below the root.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>

#include "adapters.h"
#include "operations.h"

namespace kzfi_simhost {
namespace {

namespace fs = std::filesystem;

const std::size_t BLOCK = 1 << 20;

std::string pathIn(const Call& call, const char* field) {
    return call.host.root().inside(call.raw(field).get<std::string>());
}

[[noreturn]] void cannot(const std::string& what, const std::string& path) {
    throw CannotRun("cannot " + what + " " + path + ": " + std::strerror(errno));
}

/// Writes size bytes of content that looks random and is the same for the same seed; a file that is
/// there is overwritten in place, as a disk is.
Outcome fill(Call& call) {
    const std::string path = pathIn(call, "path");
    const long size = call.number("size");
    if (size < 0) {
        throw CannotRun("a file of " + std::to_string(size) + " bytes cannot be filled");
    }
    std::error_code error;
    fs::create_directories(fs::path(path).parent_path(), error);
    std::ofstream(path, std::ios::app | std::ios::binary).close();
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    std::mt19937_64 random(static_cast<std::uint64_t>(call.number("seed")));
    std::vector<std::uint64_t> block(BLOCK / sizeof(std::uint64_t));
    for (std::size_t left = static_cast<std::size_t>(size); left > 0 && file;) {
        const std::size_t count = std::min(left, BLOCK);
        std::generate(block.begin(), block.end(), std::ref(random));
        file.write(reinterpret_cast<const char*>(block.data()),
                   static_cast<std::streamsize>(count));
        left -= count;
    }
    file.close();
    if (!file) {
        cannot("write", path);
    }
    fs::resize_file(path, static_cast<std::uintmax_t>(size));
    return Outcome();
}

std::ifstream opened(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file || fs::is_directory(path)) {
        cannot("read", path);
    }
    return file;
}

std::size_t next(std::ifstream& file, std::vector<char>& block) {
    file.read(block.data(), static_cast<std::streamsize>(block.size()));
    return static_cast<std::size_t>(file.gcount());
}

/// Where the first byte lies that only one of the files has, or that differs; null when none does.
Json firstDifference(std::ifstream& one, std::ifstream& other) {
    std::vector<char> left(BLOCK);
    std::vector<char> right(BLOCK);
    for (std::size_t offset = 0;;) {
        const std::size_t leftSize = next(one, left);
        const std::size_t rightSize = next(other, right);
        const auto leftEnd = left.begin() + static_cast<std::ptrdiff_t>(leftSize);
        const auto rightEnd = right.begin() + static_cast<std::ptrdiff_t>(rightSize);
        const auto differs = std::mismatch(left.begin(), leftEnd, right.begin(), rightEnd).first;
        if (differs != leftEnd || leftSize != rightSize) {
            return offset + static_cast<std::size_t>(differs - left.begin());
        }
        if (leftSize == 0) {
            return Json();
        }
        offset += leftSize;
    }
}

Outcome compareFiles(Call& call) {
    std::ifstream one = opened(pathIn(call, "path"));
    std::ifstream other = opened(pathIn(call, "with"));
    const Json difference = firstDifference(one, other);
    Outcome outcome;
    outcome.values["same"] = difference.is_null();
    outcome.values["firstDifference"] = difference;
    return outcome;
}

/// A folder that is not there holds nothing.
Outcome list(Call& call) {
    std::vector<std::string> names;
    std::error_code none;
    for (const fs::directory_entry& entry : fs::directory_iterator(pathIn(call, "folder"), none)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    Outcome outcome;
    outcome.values["files"] = names;
    return outcome;
}

} // namespace

const std::vector<Operation>& hostSteps() {
    static const std::vector<Operation> all = {
        {0,
         "host fill",
         {{"path", FieldKind::PATH},
          {"size", FieldKind::NUMBER, {}, true},
          {"seed", FieldKind::NUMBER, {}, true}},
         fill},
        {0, "host compare", {{"path", FieldKind::PATH}, {"with", FieldKind::PATH}}, compareFiles},
        {0, "host list", {{"folder", FieldKind::PATH}}, list},
    };
    return all;
}

} // namespace kzfi_simhost
