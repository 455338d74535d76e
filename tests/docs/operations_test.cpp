// What script/docs makes of the headers' comments.
#include "operations.h"

#include <gmock/gmock.h>

#include <memory>
#include <regex>
#include <sstream>

#include "call.h"
#include "documents.h"
#include "host_context.h"
#include "kzfi_platform_control.h"
#include "support/temp_dir.h"
#include "workshop.h"

namespace {

using namespace kzfi_tests;
using testing::HasSubstr;

/// The names of an operation's parameters, in the header.
std::vector<std::string> parametersOf(const std::string& operation) {
    static const std::string header = readFile(inTree("include/cfipluginbase.h"));
    std::smatch declared;
    const std::regex declaration("virtual [^;(]*[ *]" + operation + "\\(([^)]*)\\);");
    EXPECT_TRUE(std::regex_search(header, declared, declaration)) << operation;
    const std::string list = declared[1];
    std::vector<std::string> names;
    const std::regex name("(\\w+)(,|$)");
    for (std::sregex_iterator found(list.begin(), list.end(), name), end; found != end; ++found) {
        names.push_back((*found)[1]);
    }
    return names;
}

/// A page's part below this heading.
std::string partOf(const std::string& page, const std::string& heading) {
    const std::size_t start = page.find("\n## " + heading + "\n\n");
    if (start == page.npos) {
        return "";
    }
    const std::size_t text = page.find("\n\n", start) + 2;
    return page.substr(text, page.find("\n## ", text) - text);
}

std::string rowOf(const std::string& arguments, const std::string& name) {
    std::smatch row;
    const std::regex wanted("(^|\n)\\| `" + name + "` \\| `[^`]+` \\| [^|]*\\w[^|]* \\| [^|]+ \\|");
    return std::regex_search(arguments, row, wanted) ? row.str() : "";
}

/// What the base's own operations answer.
class Defaults {
  public:
    Defaults() {
        kzfi_platform_reset();
        kzfi_platform_set_install_root(root.path().c_str());
        scenario.name = "base";
        scenario.nodes.resize(1);
        scenario.nodes[0].name = "n1";
        context = std::make_unique<kzfi_simhost::HostContext>(
            scenario, root, kzfi_simhost::ProviderPtr(new kzfi_pdk_4_4::CFiPluginBase));
    }
    Defaults(const Defaults&) = delete;
    Defaults& operator=(const Defaults&) = delete;
    ~Defaults() {
        context.reset();
        kzfi_platform_reset();
    }

    kzfi_simhost::Json answerOf(const kzfi_simhost::Operation& operation) {
        const kzfi_simhost::Json nothing = kzfi_simhost::Json::object();
        kzfi_simhost::Call call(*context, nothing);
        return operation.call(call).toJson();
    }

  private:
    TempDir folder;
    kzfi_simhost::HostRoot root{folder.path()};
    kzfi_simhost::Scenario scenario;
    std::unique_ptr<kzfi_simhost::HostContext> context;
};

void expectPage(const std::string& operation, const std::string& page) {
    SCOPED_TRACE(operation);
    EXPECT_THAT(page, HasSubstr(operation + "("));
    EXPECT_NE(partOf(page, "When it is called"), "");
    EXPECT_NE(partOf(page, "Statuses"), "");
    EXPECT_NE(partOf(page, "Default"), "");
    EXPECT_THAT(partOf(page, "What the checker expects"), HasSubstr("every operation"));
    const std::string arguments = partOf(page, "Arguments");
    for (const std::string& name : parametersOf(operation)) {
        EXPECT_NE(rowOf(arguments, name), "") << name << " in\n" << arguments;
    }
    EXPECT_EQ(arguments == "None.\n", parametersOf(operation).empty()) << arguments;
}

/// The page's default and the status that the base answers are the same.
void expectDefault(const std::string& page, const kzfi_simhost::Json& answer) {
    const std::string said = partOf(page, "Default");
    const int status = answer.value("status", 0);
    EXPECT_EQ(said.find("NOT\\_IMPLEMENTED (4)") != said.npos, status == 4) << said << answer;
    if (said.rfind("Does nothing", 0) == 0) {
        EXPECT_EQ(status, 0) << said << answer;
    }
}

TEST(MadeDocuments, HaveAPageOfEachOperation) {
    const Workshop workshop;
    const std::string out = workshop.path("made");
    workshop.run(KZFI_TREE "/script/docs --simhost '" KZFI_BUILD "/simhost/kzfi-simhost' --out '" +
                     out + "'",
                 "script/docs");
    Defaults defaults;
    int pages = 0;
    for (const kzfi_simhost::Operation& operation : kzfi_simhost::operations()) {
        if (operation.call != nullptr) {
            const std::string page = readFile(out + "/operations/" + operation.name + ".md");
            expectPage(operation.name, page);
            SCOPED_TRACE(operation.name);
            expectDefault(page, defaults.answerOf(operation));
            ++pages;
        }
    }
    EXPECT_EQ(pages, 82);
    EXPECT_THAT(readFile(out + "/html/index.html"), HasSubstr("<html"));
}

// Doxygen's warnings are errors, and it does see what is missing.
TEST(MadeDocuments, WantAComment) {
    const Workshop workshop;
    workshop.run("mkdir -p tree/docs tree/include tree/platform/include made", "here");
    workshop.run("cp '" KZFI_TREE "'/docs/* tree/docs 2>/dev/null; true", "here");
    const std::string doxygen = "cd tree && KZFI_DOCS_OUT=../made doxygen docs/Doxyfile";
    writeFile(workshop.path("tree/include/a.h"),
              "/// A class.\nclass A {\n  public:\n"
              "    /// Two.\n    void b();\n    void c();\n};\n");
    workshop.run(doxygen, "one comment for two");
    writeFile(
        workshop.path("tree/include/a.h"),
        "/// A class.\nclass A {\n  public:\n    /// One.\n    void b();\n\n    void c();\n};\n");
    workshop.run("! ( " + doxygen +
                     " ) >said 2>&1 && grep -q 'Member c() .* is not documented' said",
                 "no comment");
}

} // namespace
