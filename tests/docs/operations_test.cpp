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
using testing::AnyOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

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
        const kzfi_simhost::Json fields = {{"nodes", {"n1"}}};
        kzfi_simhost::Call call(*context, fields);
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
    EXPECT_THAT(partOf(page, "When it is called"), ContainsRegex("[A-Z][a-z]+,? [a-z]+.*\\."));
    EXPECT_THAT(partOf(page, "Statuses"), AnyOf(HasSubstr("("), ContainsRegex("[Aa]nswers")));
    EXPECT_THAT(partOf(page, "Default"), ContainsRegex("[A-Za-z]"));
    EXPECT_THAT(page, Not(ContainsRegex("d\n\nThe same|\\| (the same|as for [A-Za-z]+) \\|")))
        << "a page stands alone";
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
    // That of config depends on the node's record; its page says how.
    if (answer.contains("status") && said.rfind("All of this", 0) != 0) {
        const std::string status = std::to_string(answer["status"].get<int>());
        EXPECT_THAT(said, AnyOf(HasSubstr("(" + status + ")"), HasSubstr("Always " + status),
                                StartsWith(status + ",")))
            << answer;
        EXPECT_EQ(said.find("NOT\\_IMPLEMENTED") != said.npos, status == "4") << said;
    }
}

TEST(MadeDocuments, HaveAPageOfEachOperation) {
    const Workshop workshop;
    const std::string out = workshop.path("made");
    workshop.run(KZFI_TREE "/script/docs --simhost '" KZFI_BUILD "/simhost/kzfi-simhost' --out '" +
                     out + "' >said 2>&1 || { cat said; false; }",
                 "script/docs");
    // Doxygen's other complaints do not show in its status.
    workshop.run("! grep -iE 'error|warning' said", "script/docs");
    Defaults defaults;
    int pages = 0;
    std::string all = readFile(out + "/operations/README.md");
    for (const kzfi_simhost::Operation& operation : kzfi_simhost::operations()) {
        if (operation.call != nullptr) {
            const std::string page = readFile(out + "/operations/" + operation.name + ".md");
            expectPage(operation.name, page);
            all += page;
            SCOPED_TRACE(operation.name);
            expectDefault(page, defaults.answerOf(operation));
            ++pages;
        }
    }
    EXPECT_EQ(pages, 82);
    std::istringstream rules(readFile(out + "/rules.txt"));
    for (std::string rule, text; rules >> rule && std::getline(rules, text);) {
        EXPECT_TRUE(rule.rfind("load.", 0) == 0 || all.find("- `" + rule + "`: ") != all.npos)
            << rule;
    }
    EXPECT_THAT(readFile(out + "/html/index.html"), HasSubstr("<html"));
}

// What a comment leaves out ends the making of pages with the reason.
TEST(MadeDocuments, WantEachArgumentAndADefault) {
    const Workshop workshop;
    const auto make = [&](const std::string& change, const std::string& expectation) {
        workshop.run("rm -rf pages && mkdir pages && sed '" + change +
                         "' '" KZFI_TREE "/include/cfipluginbase.h' >base.h",
                     change);
        workshop.run("{ echo 'a.b rule' | awk -v out=pages -f '" KZFI_TREE
                     "/docs/operations.awk' - '" KZFI_TREE
                     "/include/kzfi_framework.h' base.h; echo \"status $?\"; } >said 2>&1; " +
                         expectation,
                     change);
    };
    make("", "grep -q 'status 0' said && test -f pages/postDeport.md");
    make("/  fiType: the type of/d",
         "grep -q \"nobody says what 'fiType' of supportsFiType means\" said"
         " && grep -q 'status 1' said");
    make("s|/// Takes an imported tree away again, after its use. Default: does nothing.|/// Takes "
         "a tree away.|",
         "grep -q 'deportTree does not say its default' said && grep -q 'status 1' said");
    make("/\\/\\/\\/ Takes an imported tree away again/d",
         "grep -q 'deportTree has no comment of its own' said && grep -q 'status 1' said");
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
