#include "host_root.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <sstream>

#include "scenario.h"

namespace kzfi_simhost {
namespace {

namespace fs = std::filesystem;

std::string freshFolder() {
    std::error_code ignored;
    const fs::path base = fs::temp_directory_path(ignored);
    std::string name = (base.empty() ? fs::path("/tmp") : base) / "kzfi-simhost-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw CannotRun("cannot make a root folder " + name + ": " + std::strerror(errno));
    }
    return name;
}

void makeFolder(const fs::path& path) {
    std::error_code error;
    fs::create_directories(path, error);
    if (error) {
        throw CannotRun("cannot make the folder " + path.string() + ": " + error.message());
    }
}

/// The provider sees another /usr than the command does.
void refuseBelowUsr(const std::string& folder) {
    if ((folder + "/").rfind("/usr/", 0) == 0) {
        throw CannotRun("the root must not lie below /usr: " + folder);
    }
}

} // namespace

HostRoot::HostRoot(const std::string& path) : folder(path) {
    if (folder.empty()) {
        folder = freshFolder();
    } else {
        refuseBelowUsr(fs::absolute(folder).lexically_normal().string());
        makeFolder(folder);
    }
    folder = fs::canonical(folder).string();
    refuseBelowUsr(folder);
    makeFolder(folder + "/lib/kzfi/configfiles");
    makeFolder(resources());
    makeFolder(traceFolder());
}

std::string HostRoot::inside(const std::string& path) const {
    const fs::path file = fs::path(folder) / path;
    std::error_code error;
    const std::string place = fs::weakly_canonical(file.parent_path(), error).string() + "/";
    if (error || place.rfind(folder + "/", 0) != 0 || fs::is_symlink(file, error)) {
        throw CannotRun("the file " + file.string() + " does not lie below the root " + folder);
    }
    return file.string();
}

void HostRoot::placeFile(const std::string& path, const std::string& content) const {
    const std::string file = inside(path);
    makeFolder(fs::path(file).parent_path());
    std::ofstream stream(file, std::ios::binary);
    stream << content;
    stream.close();
    if (!stream) {
        throw CannotRun("cannot write " + file + ": " + std::strerror(errno));
    }
}

void HostRoot::makeTraceFile(const std::string& name) const {
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    localtime_r(&now, &local);
    std::ostringstream path;
    path << traceFolder() << "/" << name << "." << std::put_time(&local, "%m%d%y");
    std::ofstream(path.str(), std::ios::app);
}

std::string HostRoot::traceFile(const std::string& name) const {
    fs::path newest;
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(traceFolder(), ignored)) {
        const bool dated = (name.empty() || entry.path().stem() == name) &&
                           entry.path().extension().string().size() == 7;
        if (dated && (newest.empty() ||
                      entry.last_write_time(ignored) > fs::last_write_time(newest, ignored))) {
            newest = entry.path();
        }
    }
    return newest.string();
}

std::map<std::string, std::uintmax_t> HostRoot::traceSizes() const {
    std::map<std::string, std::uintmax_t> sizes;
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(traceFolder(), ignored)) {
        sizes[entry.path().string()] =
            entry.is_regular_file(ignored) ? entry.file_size(ignored) : 0;
    }
    return sizes;
}

std::vector<std::string> lastLines(const std::string& path, std::size_t count,
                                   std::uintmax_t from) {
    std::ifstream file(path);
    file.seekg(static_cast<std::streamoff>(from));
    std::deque<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
        if (lines.size() > count) {
            lines.pop_front();
        }
    }
    return {lines.begin(), lines.end()};
}

} // namespace kzfi_simhost
