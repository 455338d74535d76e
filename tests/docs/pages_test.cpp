// What stands on a page is built and run as it stands there.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "documents.h"
#include "workshop.h"

namespace {

using namespace kzfi_tests;
namespace fs = std::filesystem;

const std::string FLAGS = " -std=c++17 -Wall -Wextra -Wpedantic -Wshadow -Werror -I include ";
const std::string COMPILE = "g++ -fPIC -fno-gnu-unique -fvisibility=hidden" + FLAGS;
const std::string CHECK = "clang++ -fsyntax-only" + FLAGS;

std::vector<std::string> documentsWith(const std::vector<std::string>& words) {
    std::vector<std::string> found;
    for (const std::string& document : documents()) {
        const bool has = std::any_of(words.begin(), words.end(), [&](const std::string& word) {
            return !blocksOf(document, word).empty();
        });
        if (has) {
            found.push_back(document);
        }
    }
    return found;
}

class Page : public testing::TestWithParam<std::string> {
  protected:
    static std::vector<Block> blocks(const std::string& word) { return blocksOf(GetParam(), word); }

    void writeFiles() {
        for (const Block& block : blocks("file")) {
            workshop.write(block);
        }
    }

    void use(const Block& block) {
        const fs::path file = block.argument;
        if (file.extension() == ".cpp") {
            workshop.run(COMPILE + "-shared -o " + file.stem().string() + ".so " + file.string() +
                             " -L build/release/src -lkzfi_pdk",
                         placeOf(block));
            workshop.run(CHECK + file.string(), placeOf(block));
        } else if (file.extension() == ".yaml") {
            scenarios.push_back(block);
        } else if (file.extension() == ".txt" && file.filename() != "CMakeLists.txt") {
            const std::string folder = "resources/lib" + catalogue();
            workshop.run("mkdir -p " + folder + " && genrb --quiet --strict --encoding UTF-8 " +
                             "--destdir " + folder + " " + file.string() + " && test -f " + folder +
                             "/" + file.stem().string() + ".res",
                         placeOf(block));
        } else {
            EXPECT_EQ(file.filename(), "CMakeLists.txt") << placeOf(block);
            EXPECT_FALSE(blocks("installed").empty()) << placeOf(block) << " is not used";
        }
    }

    /// Named after the page's provider.
    static std::string catalogue() {
        for (const Block& block : blocks("file")) {
            if (fs::path(block.argument).extension() == ".cpp") {
                return fs::path(block.argument).stem();
            }
        }
        return "page";
    }

    /// A scenario that no command of the page names.
    static bool isLeftToRun(const Block& scenario) {
        const std::vector<Block> commands = blocks("run");
        return std::none_of(commands.begin(), commands.end(), [&](const Block& block) {
            return block.text.find(scenario.argument) != std::string::npos;
        });
    }

    Workshop workshop;
    std::vector<Block> scenarios;
};

TEST_P(Page, BuildsItsFilesAndRunsItsCommands) {
    writeFiles();
    for (const Block& block : blocks("file")) {
        use(block);
    }
    for (const Block& scenario : scenarios) {
        if (isLeftToRun(scenario)) {
            workshop.run("kzfi-simhost run " + scenario.argument, placeOf(scenario));
        }
    }
    for (const Block& block : blocks("run")) {
        workshop.runLines(block);
    }
}

INSTANTIATE_TEST_SUITE_P(Tree, Page, testing::ValuesIn(documentsWith({"file", "run"})), asTestName);

using PageWithBodies = Page;

TEST_P(PageWithBodies, CompilesThemAsFunctions) {
    std::string includes;
    for (const auto& entry : fs::directory_iterator(inTree("include"))) {
        includes += "#include \"" + entry.path().filename().string() + "\"\n";
    }
    for (const Block& block : blocks("body")) {
        kzfi_tests::writeFile(workshop.path("body.cpp"),
                              includes + "using namespace kzfi_pdk_4_4;\nvoid body();\n" +
                                  "void body() {\n" + block.text + "}\n");
        workshop.run(COMPILE + "-c -o body.o body.cpp", placeOf(block));
        workshop.run(CHECK + "body.cpp", placeOf(block));
    }
}

INSTANTIATE_TEST_SUITE_P(Tree, PageWithBodies, testing::ValuesIn(documentsWith({"body"})),
                         asTestName);

using PageForInstalledKit = Page;

TEST_P(PageForInstalledKit, BuildsItsProjectWithTheInstalledKit) {
    workshop.run(KZFI_CMAKE " --install " KZFI_BUILD " --prefix prefix", GetParam());
    workshop.useInstalled();
    writeFiles();
    for (const Block& block : blocks("installed")) {
        workshop.runLines(block);
    }
}

INSTANTIATE_TEST_SUITE_P(Tree, PageForInstalledKit, testing::ValuesIn(documentsWith({"installed"})),
                         asTestName);

} // namespace
