// The manual page, beside what the command says of itself.
#include <gmock/gmock.h>

#include <map>
#include <regex>
#include <set>

#include "documents.h"
#include "support/temp_dir.h"
#include "workshop.h"

namespace {

using namespace kzfi_tests;

class Manual : public testing::Test {
  protected:
    std::string helpOf(const std::string& subcommand) const {
        workshop.run("kzfi-simhost " + subcommand + " --help >help.txt", subcommand);
        return readFile(workshop.path("help.txt"));
    }

    std::vector<std::string> subcommands() const {
        const std::string help = helpOf("");
        const std::size_t list = help.find("Subcommands:\n");
        return found(help.substr(std::min(list, help.size())), "\n  ([a-z]+) ");
    }

    /// What the expression's first group matches.
    static std::vector<std::string> found(const std::string& text, const char* expression) {
        const std::regex wanted(expression);
        std::vector<std::string> all;
        for (std::sregex_iterator at(text.begin(), text.end(), wanted), end; at != end; ++at) {
            all.push_back((*at)[1]);
        }
        return all;
    }

    /// The page's part about a subcommand.
    std::string partAbout(const std::string& subcommand) const {
        const std::size_t start = page.find("\n.Ss " + subcommand + "\n");
        return start == page.npos ? "" : page.substr(start, page.find("\n.S", start + 1) - start);
    }

    static std::set<std::string> sorted(const std::vector<std::string>& names) {
        return {names.begin(), names.end()};
    }

    const std::string page = readFile(inTree("docs/man/kzfi-simhost.1"));
    const Workshop workshop;
};

TEST_F(Manual, TellsOfEachSubcommandAndNoOther) {
    EXPECT_GE(subcommands().size(), 5u);
    EXPECT_EQ(sorted(found(page, "\n\\.Ss ([a-z]+)")), sorted(subcommands()));
    EXPECT_EQ(sorted(found(page, "\n\\.Nm\n\\.Cm ([a-z]+)")), sorted(subcommands()));
}

TEST_F(Manual, TellsOfEachOptionAndNoOther) {
    for (const std::string& subcommand : subcommands()) {
        const std::set<std::string> options =
            sorted(found(helpOf(subcommand), "\n  --([a-z][a-z-]*)"));
        EXPECT_EQ(sorted(found(partAbout(subcommand), "\n\\.It Fl -([a-z-]+)")), options)
            << subcommand;
        const std::regex synopsis("\\.Nm\n\\.Cm " + subcommand + "\n((\\.[^N].*\n)*)");
        std::set<std::string> shown;
        for (std::sregex_iterator at(page.begin(), page.end(), synopsis), end; at != end; ++at) {
            for (const std::string& option : found((*at)[1], "Fl -([a-z-]+)")) {
                shown.insert(option);
            }
        }
        EXPECT_EQ(shown, options) << subcommand;
    }
}

// The documents show how a subcommand is called in blocks that begin with its name.
TEST_F(Manual, DocumentsTellOfTheSameOptions) {
    std::map<std::string, std::set<std::string>> told;
    const std::regex call("kzfi-simhost ([a-z]+)((.*\n?( +\\[.*\n)*))");
    for (const std::string& document : documents()) {
        for (const Block& block : blocksOf(document)) {
            if (block.language != "text" || block.text.rfind("kzfi-simhost ", 0) != 0) {
                continue;
            }
            const std::string& text = block.text;
            for (std::sregex_iterator at(text.begin(), text.end(), call), end; at != end; ++at) {
                const std::vector<std::string> options = found((*at)[2], "--([a-z-]+)");
                told[(*at)[1]].insert(options.begin(), options.end());
            }
        }
    }
    EXPECT_GE(told.size(), 5u);
    for (const auto& [subcommand, options] : told) {
        EXPECT_EQ(options, sorted(found(helpOf(subcommand), "\n  --([a-z][a-z-]*)"))) << subcommand;
    }
}

TEST_F(Manual, IsWellFormed) {
    workshop.run("mandoc -Tlint " KZFI_TREE "/docs/man/kzfi-simhost.1", "the manual");
}

} // namespace
