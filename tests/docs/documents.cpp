#include "documents.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <regex>
#include <sstream>

#include "support/temp_dir.h"

namespace kzfi_tests {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> findDocuments() {
    std::vector<std::string> found;
    const fs::path tree = KZFI_TREE;
    for (fs::recursive_directory_iterator entry(tree), end; entry != end; ++entry) {
        const std::string name = entry->path().filename().string();
        const bool isTop = entry.depth() == 0;
        if (name[0] == '.' || (isTop && (name == "build" || name == "out"))) {
            entry.disable_recursion_pending();
        } else if (entry->path().extension() == ".md") {
            found.push_back(entry->path().lexically_relative(tree).string());
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::vector<std::string> linesOf(const std::string& document) {
    std::istringstream text(readFile(inTree(document)));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    return lines;
}

const std::regex FENCE("^( *)```+(.*)$");

Block openedBy(const std::string& document, std::size_t line, const std::string& fence) {
    Block block;
    block.document = document;
    block.line = static_cast<int>(line) + 1;
    std::istringstream words(fence);
    words >> block.language >> block.word;
    std::getline(words, block.rest);
    const std::size_t equals = block.word.find('=');
    if (equals != std::string::npos) {
        block.argument = block.word.substr(equals + 1);
        block.word.resize(equals);
    }
    return block;
}

/// A line of a block less the fence's own indentation.
std::string inside(const std::string& line, std::size_t indentation) {
    const std::size_t blanks = std::min(line.find_first_not_of(' '), line.size());
    return line.substr(std::min(blanks, indentation));
}

/// Calls prose(number, line) for the lines outside of blocks, and block for each block.
template <class Prose, class Whole>
void walk(const std::string& document, Prose prose, Whole whole) {
    const std::vector<std::string> lines = linesOf(document);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::smatch fence;
        if (!std::regex_match(lines[i], fence, FENCE)) {
            prose(i, lines[i]);
            continue;
        }
        Block block = openedBy(document, i, fence[2]);
        const std::size_t indentation = static_cast<std::size_t>(fence.length(1));
        for (++i; i < lines.size() && inside(lines[i], indentation).rfind("```", 0) != 0; ++i) {
            block.text += inside(lines[i], indentation) + "\n";
        }
        whole(block);
    }
}

} // namespace

void PrintTo(const Block& block, std::ostream* out) {
    *out << placeOf(block) << " ```" << block.language << " " << block.word << block.argument;
}

std::string placeOf(const Block& block) {
    return block.document + ":" + std::to_string(block.line);
}

const std::vector<std::string>& documents() {
    static const std::vector<std::string> found = findDocuments();
    return found;
}

std::string inTree(const std::string& path) {
    return std::string(KZFI_TREE "/") + path;
}

std::vector<Block> blocksOf(const std::string& document) {
    std::vector<Block> blocks;
    walk(
        document, [](std::size_t, const std::string&) {},
        [&](const Block& block) { blocks.push_back(block); });
    return blocks;
}

std::vector<Block> blocksOf(const std::string& document, const std::string& word) {
    std::vector<Block> blocks;
    for (const Block& block : blocksOf(document)) {
        if (block.word == word) {
            blocks.push_back(block);
        }
    }
    return blocks;
}

Block exampleCalled(const std::string& name) {
    std::vector<Block> found;
    for (const std::string& document : documents()) {
        for (const Block& block : blocksOf(document, "example")) {
            if (block.argument == name) {
                found.push_back(block);
            }
        }
    }
    EXPECT_EQ(found.size(), 1u) << "blocks example=" << name;
    return found.empty() ? Block() : found.front();
}

std::vector<std::string> proseOf(const std::string& document) {
    std::vector<std::string> prose(linesOf(document).size());
    walk(
        document, [&](std::size_t i, const std::string& line) { prose[i] = line; },
        [](const Block&) {});
    return prose;
}

std::vector<Link> linksOf(const std::string& document) {
    // A link may stand in two lines; so the text is searched as a whole.
    static const std::regex link("\\]\\(([^)\\s]+)\\)");
    std::string text;
    for (const std::string& line : proseOf(document)) {
        text += std::regex_replace(line, std::regex("`[^`]*`"), "") + "\n";
    }
    std::vector<Link> links;
    for (std::sregex_iterator found(text.begin(), text.end(), link), end; found != end; ++found) {
        const auto before = text.begin() + found->position();
        links.push_back(
            {static_cast<int>(std::count(text.begin(), before, '\n')) + 1, (*found)[1]});
    }
    return links;
}

std::vector<std::string> anchorsOf(const std::string& document) {
    std::vector<std::string> anchors;
    for (const std::string& line : proseOf(document)) {
        if (line[0] != '#') {
            continue;
        }
        std::string anchor = "#";
        for (const char c : line.substr(std::min(line.find(' '), line.size() - 1) + 1)) {
            const unsigned char letter = static_cast<unsigned char>(c);
            if (std::isalnum(letter) || c == '-' || c == '_') {
                anchor += static_cast<char>(std::tolower(letter));
            } else if (c == ' ') {
                anchor += '-';
            }
        }
        anchors.push_back(anchor);
    }
    return anchors;
}

std::string asTestName(const testing::TestParamInfo<std::string>& info) {
    std::string name = info.param;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
    return name;
}

std::vector<int> indentedCodeIn(const std::string& document) {
    const std::vector<std::string> prose = proseOf(document);
    std::vector<int> lines;
    for (std::size_t i = 1; i < prose.size(); ++i) {
        const bool indented = prose[i].rfind("    ", 0) == 0 || prose[i].rfind('\t', 0) == 0;
        if (indented && prose[i - 1].empty()) {
            lines.push_back(static_cast<int>(i) + 1);
        }
    }
    return lines;
}

} // namespace kzfi_tests
