// The settings for editors, beside the form of C++ and the files of the tree.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "documents.h"
#include "support/temp_dir.h"

namespace {

using namespace kzfi_tests;
namespace fs = std::filesystem;
using Settings = std::map<std::string, std::string>;

/// The keys of a section of .editorconfig.
Settings section(const std::string& name) {
    std::istringstream lines(readFile(inTree(".editorconfig")));
    Settings settings;
    std::smatch pair;
    bool inside = false;
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line[0] == '[') {
            inside = line == "[" + name + "]";
        } else if (inside && std::regex_match(line, pair, std::regex("(\\w+) = (.*)"))) {
            settings[pair[1]] = pair[2];
        }
    }
    return settings;
}

std::string clangFormat(const std::string& key) {
    const std::string text = readFile(inTree(".clang-format"));
    std::smatch found;
    EXPECT_TRUE(std::regex_search(text, found, std::regex("(^|\n)" + key + ": (.*)"))) << key;
    return found[2];
}

bool isForeign(const fs::path& path) {
    const std::string name = path.lexically_relative(inTree("")).string();
    return name[0] == '.' || name == "build" || name == "out" || name == "abi" ||
           name == "fuzz/corpus" || fs::exists(path / "CMakeCache.txt");
}

std::vector<fs::path> filesOfTheTree() {
    std::vector<fs::path> found;
    for (fs::recursive_directory_iterator entry(inTree("")), end; entry != end; ++entry) {
        if (isForeign(entry->path())) {
            entry.disable_recursion_pending();
        } else if (entry->is_regular_file()) {
            found.push_back(entry->path());
        }
    }
    return found;
}

bool isCode(const fs::path& file) {
    static const std::set<std::string> kinds = {".awk", ".c", ".cmake", ".cpp", ".h", ".sh"};
    return kinds.count(file.extension().string()) != 0;
}

TEST(EditorSettings, AgreeWithTheFormOfCpp) {
    const Settings all = section("*");
    EXPECT_EQ(all.at("indent_style"), "space");
    EXPECT_EQ(all.at("indent_size"), clangFormat("IndentWidth"));
    EXPECT_EQ(section("*.{c,cpp,h}").at("max_line_length"), clangFormat("ColumnLimit"));
}

TEST(EditorSettings, HoldForTheTree) {
    ASSERT_EQ(section("*").at("trim_trailing_whitespace"), "true");
    ASSERT_EQ(section("*").at("insert_final_newline"), "true");
    ASSERT_EQ(section("*").at("end_of_line"), "lf");
    const std::vector<fs::path> files = filesOfTheTree();
    EXPECT_GT(files.size(), 300u);
    for (const fs::path& file : files) {
        const std::string text = readFile(file.string());
        EXPECT_EQ(text.find('\r'), text.npos) << file;
        EXPECT_EQ(text.find(" \n"), text.npos) << file;
        EXPECT_EQ(text.find("\t\n"), text.npos) << file;
        EXPECT_TRUE(text.empty() || text.back() == '\n') << file;
        EXPECT_TRUE(!isCode(file) || text.find("\n\t") == text.npos) << file;
    }
}

} // namespace
