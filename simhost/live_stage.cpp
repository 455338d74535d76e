#include "live_stage.h"

#include <glob.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "terminal.h"
#include "text_tools.h"

namespace kzfi_simhost {
namespace {

namespace fs = std::filesystem;

const double QUIET_SECONDS = 0.5;
const char* const LEAD = "  running  ";

/// A path as a pattern that matches it alone.
std::string asPattern(const std::string& path) {
    std::string pattern;
    for (const char c : path) {
        pattern += std::string("*?[]\\").find(c) == std::string::npos ? "" : "\\";
        pattern += c;
    }
    return pattern;
}

/// Never more than the file's length: file systems reserve ahead.
std::uintmax_t sizeOfFile(const fs::path& path) {
    struct stat state = {};
    if (lstat(path.c_str(), &state) != 0 || !S_ISREG(state.st_mode)) {
        return 0;
    }
    return static_cast<std::uintmax_t>(std::min<long long>(state.st_size, state.st_blocks * 512LL));
}

std::uintmax_t sizeOf(const fs::path& path) {
    std::error_code gone;
    if (!fs::is_directory(fs::symlink_status(path, gone))) {
        return sizeOfFile(path);
    }
    std::uintmax_t sum = 0;
    fs::recursive_directory_iterator each(path, fs::directory_options::skip_permission_denied,
                                          gone);
    for (; !gone && each != fs::recursive_directory_iterator(); each.increment(gone)) {
        sum += sizeOfFile(each->path());
    }
    return sum;
}

/// A duration without digits that say nothing: "30 s", "0.5 s".
std::string limitText(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%g s", seconds);
    return text;
}

} // namespace

std::uintmax_t sizeBelow(const HostRoot& root, const std::string& pattern) {
    glob_t found = {};
    std::uintmax_t sum = 0;
    if (glob((asPattern(root.path()) + "/" + pattern).c_str(), GLOB_NOSORT, nullptr, &found) == 0) {
        for (std::size_t i = 0; i < found.gl_pathc; ++i) {
            sum += sizeOf(found.gl_pathv[i]);
        }
    }
    globfree(&found);
    return sum;
}

LiveStage::LiveStage(std::ostream& out, int terminal, const HostRoot& hostRoot)
    : stream(out),
      descriptor(terminal),
      root(hostRoot) {}

LiveStage::~LiveStage() {
    erase();
}

std::size_t LiveStage::columns() const {
    return terminalColumns(descriptor) - 1;
}

std::string LiveStage::stateOf(const Stage& stage, double seconds) const {
    char elapsed[32];
    std::snprintf(elapsed, sizeof elapsed, "%.1f s", seconds);
    std::string state = std::string("  ") + elapsed + " of " + limitText(stage.deadline);
    if (!stage.watch.empty()) {
        state += "  " + sizeText(sizeBelow(root, stage.watch));
    }
    return state;
}

void LiveStage::show(const Stage& stage, double seconds) {
    if (seconds < QUIET_SECONDS) {
        return;
    }
    const std::string title = oneRow(stage.title);
    const std::string state = stateOf(stage, seconds);
    const std::size_t width = columns();
    const std::size_t taken = lengthOf(LEAD) + lengthOf(state);
    // The title gives way first.
    const std::size_t room = width > taken ? width - taken : 0;
    std::string line = LEAD + fitted(title, std::min(lengthOf(title), room)) + state;
    line = fitted(line, std::min(lengthOf(line), width));
    const std::size_t before = std::min(shown, width);
    shown = lengthOf(line);
    stream << '\r' << fitted(line, std::max(shown, before)) << std::flush;
}

void LiveStage::erase() {
    if (shown > 0) {
        // All of the line, as the terminal may have shown keys that were pressed.
        stream << '\r' << std::string(columns(), ' ') << '\r' << std::flush;
    }
    shown = 0;
}

} // namespace kzfi_simhost
