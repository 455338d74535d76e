#include "workshop.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <sstream>

namespace kzfi_tests {

namespace fs = std::filesystem;

Workshop::Workshop() {
    fs::create_directories(path("build"));
    fs::create_directories(path("tmp"));
    fs::create_directory_symlink(KZFI_TREE "/include", path("include"));
    fs::create_directory_symlink(KZFI_BUILD "/samples", path("samples"));
    fs::create_directory_symlink(KZFI_BUILD, path("build/release"));
    environment = "export TMPDIR='" + path("tmp") + "' PATH='" KZFI_BUILD "/simhost':\"$PATH\"\n";
}

void Workshop::useInstalled() {
    fs::remove_all(path("build"));
    const std::string prefix = path("prefix");
    environment = "export TMPDIR='" + path("tmp") + "' PATH='" + prefix + "/bin':\"$PATH\"" +
                  " CMAKE_PREFIX_PATH='" + prefix + "' CMAKE_GENERATOR=Ninja CXX=g++" +
                  " LD_LIBRARY_PATH='" + prefix + "/" KZFI_LIBDIR "'\n";
}

void Workshop::write(const Block& block) const {
    writeFile(path(block.argument), block.text);
}

void Workshop::run(const std::string& command, const std::string& place) const {
    const std::string script = "exec </dev/null 2>&1\ncd '" + folder.path() + "' || exit 99\n" +
                               environment + command + "\n";
    std::FILE* const pipe = popen(script.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string output;
    std::array<char, 4096> piece;
    for (std::size_t n; (n = std::fread(piece.data(), 1, piece.size(), pipe)) > 0;) {
        output.append(piece.data(), n);
    }
    EXPECT_EQ(pclose(pipe), 0) << place << ": " << command << "\n" << output;
}

void Workshop::runLines(const Block& block) const {
    std::istringstream lines(block.text);
    for (std::string line; std::getline(lines, line);) {
        run(line, placeOf(block));
    }
}

} // namespace kzfi_tests
