// The rules that hold for every document.
#include "documents.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "support/temp_dir.h"

namespace {

using namespace kzfi_tests;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

/// Words and the languages that they may stand with.
const std::map<std::string, std::set<std::string>> WORDS = {
    {"file", {"cpp", "cmake", "yaml", "text"}},
    {"body", {"cpp"}},
    {"example", {"xml", "ini", "text"}},
    {"run", {"sh"}},
    {"installed", {"sh"}},
    {"setup", {"sh"}},
};

bool isInOrder(const Block& block) {
    if (block.word.empty()) {
        return block.language == "text";
    }
    const auto known = WORDS.find(block.word);
    const bool named = block.word == "file" || block.word == "example";
    return known != WORDS.end() && known->second.count(block.language) != 0 &&
           block.argument.empty() != named && block.rest.empty();
}

bool isElsewhere(const std::string& target) {
    return target.find("://") != std::string::npos;
}

/// The document's path and the heading of a link.
std::pair<std::string, std::string> resolved(const std::string& document,
                                             const std::string& target) {
    const std::size_t hash = std::min(target.find('#'), target.size());
    const std::filesystem::path above = std::filesystem::path(document).parent_path();
    const std::string path = hash == 0 ? document : (above / target.substr(0, hash)).string();
    return {std::filesystem::path(path).lexically_normal().string(), target.substr(hash)};
}

class EveryDocument : public testing::TestWithParam<std::string> {
  protected:
    const std::string& document() const { return GetParam(); }
};

/// The benchmarks are run by hand, as their document says.
bool saysWhatIsRunByHand(const std::string& document) {
    return document == "bench/README.md";
}

TEST_P(EveryDocument, SaysOfEachBlockWhatATestDoesWithIt) {
    for (const Block& block : blocksOf(document())) {
        if (!saysWhatIsRunByHand(document())) {
            EXPECT_TRUE(isInOrder(block)) << testing::PrintToString(block);
        }
        EXPECT_FALSE(block.text.empty()) << placeOf(block);
    }
    EXPECT_THAT(indentedCodeIn(document()), IsEmpty()) << "code is put between fences";
}

TEST_P(EveryDocument, LinksToWhatIsThere) {
    for (const Link& link : linksOf(document())) {
        if (isElsewhere(link.target)) {
            continue;
        }
        const auto [path, anchor] = resolved(document(), link.target);
        EXPECT_TRUE(std::filesystem::exists(inTree(path)))
            << document() << ":" << link.line << " " << link.target;
        if (!anchor.empty()) {
            EXPECT_THAT(anchorsOf(path), Contains(anchor)) << document() << ":" << link.line;
        }
    }
}

TEST_P(EveryDocument, SetsMachinesUpWithScriptsOfTheTree) {
    for (const Block& block : blocksOf(document(), "setup")) {
        std::istringstream lines(block.text);
        for (std::string line; std::getline(lines, line);) {
            const std::string script = line.substr(0, line.find(' '));
            EXPECT_EQ(access(inTree(script).c_str(), X_OK), 0) << placeOf(block) << " " << line;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Tree, EveryDocument, testing::ValuesIn(documents()), asTestName);

TEST(Documents, AreThere) {
    for (const char* name : {"README.md", "CHANGELOG.md", "CONTRIBUTING.md", "SECURITY.md",
                             "docs/formats.md", "docs/scenario.md"}) {
        EXPECT_THAT(documents(), Contains(name));
    }
}

// Beside the commands there are only the parts that they share.
TEST(Documents, TellOfEachScript) {
    std::string table;
    for (const std::string& line : proseOf("README.md")) {
        table += line.rfind("| `", 0) == 0 ? line : "";
    }
    std::set<std::string> told;
    const std::regex command("`(script/\\w+)");
    for (std::sregex_iterator at(table.begin(), table.end(), command), end; at != end; ++at) {
        told.insert((*at)[1]);
    }
    std::set<std::string> scripts;
    for (const auto& entry : std::filesystem::directory_iterator(inTree("script"))) {
        if (access(entry.path().c_str(), X_OK) == 0) {
            scripts.insert("script/" + entry.path().filename().string());
        }
    }
    EXPECT_GE(scripts.size(), 8u);
    EXPECT_EQ(told, scripts);
    EXPECT_THAT(table, HasSubstr("`.ci/run`"));
}

// What a change must pass is said where it is promised.
TEST(Documents, TellOfEachStageOfCi) {
    const std::string ci = readFile(inTree(".ci/run"));
    const std::string security = readFile(inTree("SECURITY.md"));
    const std::regex stage("\nrun (script/[^\n]+)");
    std::sregex_iterator at(ci.begin(), ci.end(), stage);
    EXPECT_GE(std::distance(at, std::sregex_iterator()), 5);
    for (; at != std::sregex_iterator(); ++at) {
        EXPECT_THAT(security, HasSubstr("`" + (*at)[1].str() + "`"));
    }
}

// From the index every page of docs/ can be reached at once.
TEST(Documents, AreAllInTheIndex) {
    std::set<std::string> listed = {"docs/README.md"};
    for (const Link& link : linksOf("docs/README.md")) {
        listed.insert(resolved("docs/README.md", link.target).first);
    }
    for (const std::string& document : documents()) {
        if (document.rfind("docs/", 0) == 0) {
            EXPECT_THAT(listed, Contains(document));
        }
    }
}

} // namespace
