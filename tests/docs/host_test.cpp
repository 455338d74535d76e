// What docs/host.md says of the kit's library, beside the library.
#include <gmock/gmock.h>

#include <regex>
#include <set>
#include <sstream>

#include "documents.h"
#include "support/temp_dir.h"
#include "workshop.h"

namespace {

using namespace kzfi_tests;
using testing::HasSubstr;
using testing::IsSupersetOf;

using Names = std::set<std::string>;

Names matches(const std::string& text, const char* expression) {
    const std::regex wanted(expression);
    Names found;
    for (std::sregex_iterator at(text.begin(), text.end(), wanted), end; at != end; ++at) {
        found.insert((*at)[1]);
    }
    return found;
}

class HostPage : public testing::Test {
  protected:
    /// What a command prints that looks at the kit's library.
    std::string output(const std::string& command) const {
        workshop.run(command + " '" KZFI_BUILD "/src/libkzfi_pdk.so' >said", command);
        return readFile(workshop.path("said"));
    }

    /// The page's part below a heading, of its tables the first columns only.
    std::string part(const std::string& heading) const {
        std::istringstream lines(page.substr(page.find("\n## " + heading + "\n") + 1));
        std::string text;
        std::string line;
        std::getline(lines, line);
        while (std::getline(lines, line) && line.rfind("## ", 0) != 0) {
            text += line + "\n";
        }
        return text;
    }

    const std::string page = readFile(inTree("docs/host.md"));
    const Workshop workshop;
};

TEST_F(HostPage, NamesAllThatTheHostDefines) {
    const std::string undefined = output("nm -DC --undefined-only");
    const std::string said = part("What the host defines");
    Names helpers;
    for (const std::string& column : matches(said, "\n\\| (`[^|]*`) \\|")) {
        helpers.merge(matches(column, "`(kzfi_\\w+)`"));
    }
    EXPECT_EQ(helpers, matches(undefined, " (kzfi_\\w+)"));
    const Names library = matches(undefined, "Orvanta::Stoneleaf::Scf::([^()\\s]+)\\(");
    EXPECT_EQ(library, (Names{"StatusMsgXmlDoc::StatusMsgXmlDoc", "StatusMsgXmlDoc::writeXml",
                              "StatusMsgXmlDoc::~StatusMsgXmlDoc", "pathToURIEncoded"}));
    for (const char* name :
         {"StatusMsgXmlDoc", "constructor", "destructor", "writeXml", "pathToURIEncoded"}) {
        EXPECT_THAT(said, HasSubstr(name));
    }
}

TEST_F(HostPage, NamesTheLibrariesOfTheInterface) {
    const std::string dynamic = output("readelf -d");
    Names needed = matches(dynamic, "NEEDED.*\\[([^\\]]+)\\]");
    EXPECT_THAT(needed, IsSupersetOf({"libc.so.6", "libgcc_s.so.1"}));
    needed.erase("libc.so.6");
    needed.erase("libgcc_s.so.1");
    const std::string said = part("What is part of the interface");
    Names told = matches(said, "`(lib[\\w.+-]+)`");
    for (const std::string& own : matches(dynamic, "SONAME.*\\[([^\\]]+)\\]")) {
        EXPECT_EQ(told.erase(own), 1u) << own;
    }
    EXPECT_EQ(told, needed);
}

} // namespace
