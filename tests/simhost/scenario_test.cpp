#include "scenario.h"

#include <gmock/gmock.h>

#include <cctype>
#include <ostream>

#include "support/temp_dir.h"

namespace {

using namespace kzfi_simhost;
using kzfi_tests::TempDir;
using kzfi_tests::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;

class ScenarioTest : public testing::Test {
  protected:
    Scenario read(const std::string& text) {
        writeFile(file(), text);
        return readScenario(file());
    }

    /// What is said of a bad scenario, without the folder in front.
    std::string complaint(const std::string& text) {
        try {
            read(text);
        } catch (const CannotRun& e) {
            return std::string(e.what()).substr(folder.path().size() + 1);
        }
        return "accepted";
    }

    Step onlyStep(const std::string& text) {
        const Scenario scenario =
            read("provider: p.so\nnodes: [{name: a}, {name: b}]\nsteps:\n" + text);
        EXPECT_EQ(scenario.steps.size(), 1u);
        return scenario.steps.at(0);
    }

    std::string file() const { return folder.path("s.yaml"); }

    TempDir folder;
};

TEST_F(ScenarioTest, OnlyTheProviderMustBeNamed) {
    const Scenario scenario = read("provider: p.so\n");
    EXPECT_EQ(scenario.file, file());
    EXPECT_EQ(scenario.provider, folder.path("p.so"));
    EXPECT_EQ(scenario.providerLine, 1);
    EXPECT_FALSE(scenario.name.has_value());
    EXPECT_FALSE(scenario.fimName.has_value());
    EXPECT_EQ(scenario.language, "en");
    EXPECT_EQ(scenario.catalogues, "");
    EXPECT_EQ(scenario.trace.level, 6);
    EXPECT_EQ(scenario.trace.file, "");
    EXPECT_EQ(scenario.deadline, 30);
    EXPECT_THAT(scenario.files, IsEmpty());
    EXPECT_THAT(scenario.nodes, IsEmpty());
    EXPECT_THAT(scenario.steps, IsEmpty());
}

TEST_F(ScenarioTest, ListsMayBeNullPointers) {
    const Scenario scenario = read("provider: p\nsteps:\n"
                                   "  - prepare: {nodes: null}\n"
                                   "  - restore: {primaries: null, flags: 5000000000}\n");
    EXPECT_EQ(scenario.steps[0].arguments, Json({{"nodes", nullptr}}));
    EXPECT_EQ(scenario.steps[1].arguments, Json({{"primaries", nullptr}, {"flags", 5000000000}}));
}

TEST_F(ScenarioTest, AStepMayWatchWhatGrows) {
    const Scenario scenario = read("provider: p\nsteps:\n"
                                   "  - {make: {}, watch: enclosures/B/*}\n  - make\n");
    EXPECT_EQ(scenario.steps[0].watch, "enclosures/B/*");
    EXPECT_EQ(scenario.steps[1].watch, "");
}

TEST_F(ScenarioTest, TakesEveryKey) {
    const Scenario scenario = read("# a comment\n"
                                   "provider: /lib/x/../p.so\n"
                                   "name: array\n"
                                   "fimName: ''\n"
                                   "language: de\n"
                                   "catalogues: texts/libarray\n"
                                   "trace: {level: 3, file: my.log}\n"
                                   "deadline: 2.5\n"
                                   "nodes:\n"
                                   "  - {name: a, type: -4, owner: [b, a]}\n"
                                   "  - {name: b, owner: a, parameters: {x: 1, y: [p, q]}}\n"
                                   "steps: []\n");
    EXPECT_EQ(scenario.provider, "/lib/p.so");
    EXPECT_EQ(scenario.providerLine, 2);
    EXPECT_EQ(scenario.name, "array");
    EXPECT_EQ(scenario.fimName, "");
    EXPECT_EQ(scenario.language, "de");
    EXPECT_EQ(scenario.catalogues, folder.path("texts/libarray"));
    EXPECT_EQ(scenario.cataloguesLine, 6);
    EXPECT_EQ(scenario.trace.level, 3);
    EXPECT_EQ(scenario.trace.file, "my.log");
    EXPECT_EQ(scenario.deadline, 2.5);
    ASSERT_EQ(scenario.nodes.size(), 2u);
    EXPECT_EQ(scenario.nodes[0].name, "a");
    EXPECT_EQ(scenario.nodes[0].type, -4);
    EXPECT_THAT(scenario.nodes[0].owner, ElementsAre("b", "a"));
    EXPECT_THAT(scenario.nodes[1].owner, ElementsAre("a"));
    EXPECT_EQ(scenario.nodes[1].parameters, Json({{"x", "1"}, {"y", {"p", "q"}}}));
}

TEST_F(ScenarioTest, TakesEveryKindOfField) {
    EXPECT_EQ(onlyStep("- deportTree: {node: b, alternate: null}").arguments,
              Json({{"node", "b"}, {"alternate", nullptr}}));
    EXPECT_EQ(onlyStep("- prepare: {nodes: [b, a], session: s1, options: -2}").arguments,
              Json({{"nodes", {"b", "a"}}, {"session", "s1"}, {"options", -2}}));
    EXPECT_EQ(onlyStep("- make: {nodes: a, session: null}").arguments,
              Json({{"nodes", {"a"}}, {"session", nullptr}}));
    EXPECT_EQ(onlyStep("- unformat: {resources: [x, y]}").arguments,
              Json({{"resources", {"x", "y"}}}));
    EXPECT_EQ(onlyStep("- unformat: {resources: x}").arguments, Json({{"resources", {"x"}}}));
    EXPECT_EQ(onlyStep("- initAltNode: {skipImport: true}").arguments,
              Json({{"skipImport", true}}));
    EXPECT_EQ(onlyStep("- config: {mode: set, parameters: {a: b, c: [d]}}").arguments,
              Json({{"mode", "set"}, {"parameters", {{"a", "b"}, {"c", {"d"}}}}}));
}

TEST_F(ScenarioTest, FilesAreBelowTheRoot) {
    const Scenario scenario = read("provider: p.so\n"
                                   "files:\n"
                                   "  a: ''\n"
                                   "  ./b//..c: |\n"
                                   "    one\n"
                                   "    two\n");
    ASSERT_EQ(scenario.files.size(), 2u);
    EXPECT_EQ(scenario.files[0].path, "a");
    EXPECT_EQ(scenario.files[0].content, "");
    EXPECT_EQ(scenario.files[0].line, 3);
    EXPECT_EQ(scenario.files[1].path, "b/..c");
    EXPECT_EQ(scenario.files[1].content, "one\ntwo\n");
    EXPECT_EQ(scenario.files[1].line, 4);
}

TEST_F(ScenarioTest, CredentialsAreATextAsItIs) {
    EXPECT_FALSE(read("provider: p.so\n").credentials.has_value());
    EXPECT_EQ(read("provider: p.so\ncredentials: ''\n").credentials, "");
    EXPECT_EQ(read("provider: p.so\n"
                   "credentials: |\n"
                   "  [A\\B_C\\D]\n"
                   "  \"HOSTNAME\"=\"h\"\n")
                  .credentials,
              "[A\\B_C\\D]\n\"HOSTNAME\"=\"h\"\n");
}

TEST_F(ScenarioTest, StepsOfTheHostsOwnHavePathsBelowTheRoot) {
    const Step step = onlyStep("- host compare: {path: ./a//b, with: ..c}");
    EXPECT_EQ(step.operation, "host compare");
    EXPECT_EQ(step.arguments, Json({{"path", "a/b"}, {"with", "..c"}}));
}

TEST_F(ScenarioTest, AfterAnInterposeStepThereMayBeNodesThatTheScenarioDoesNotKnow) {
    const Scenario scenario = read("provider: p.so\n"
                                   "nodes: [{name: a}]\n"
                                   "steps:\n"
                                   "  - interpose\n"
                                   "  - initNode: {node: <p>a, parents: [a, g]}\n");
    EXPECT_EQ(scenario.steps[1].arguments, Json({{"node", "<p>a"}, {"parents", {"a", "g"}}}));
}

TEST_F(ScenarioTest, AStepMayBeItsOperationAlone) {
    EXPECT_EQ(onlyStep("- delLastError").operation, "delLastError");
    EXPECT_EQ(onlyStep("- delLastError:").operation, "delLastError");
    EXPECT_EQ(onlyStep("- delLastError: {}").arguments, Json::object());
}

TEST_F(ScenarioTest, AStepKnowsItsLineAndDeadline) {
    const Scenario scenario = read("provider: p.so\n"
                                   "deadline: 7\n"
                                   "steps:\n"
                                   "  - init\n"
                                   "  - delayedInit:\n"
                                   "    deadline: 0.25\n");
    EXPECT_EQ(scenario.steps.at(0).line, 4);
    EXPECT_EQ(scenario.steps.at(0).deadline, 7);
    EXPECT_EQ(scenario.steps.at(1).line, 5);
    EXPECT_EQ(scenario.steps.at(1).deadline, 0.25);
}

TEST_F(ScenarioTest, ReadsExpectations) {
    const Expectation all = onlyStep("- config: {}\n"
                                     "  expect:\n"
                                     "    status: 3\n"
                                     "    text: null\n"
                                     "    contains: [x, y]\n"
                                     "    values: {a: 1, b: null, c: [2, null], d: 'null'}\n")
                                .expect;
    EXPECT_EQ(all.status, 3);
    ASSERT_TRUE(all.text.has_value());
    EXPECT_TRUE(all.text->is_null());
    EXPECT_THAT(all.contains, ElementsAre("x", "y"));
    EXPECT_EQ(all.values, Json({{"a", "1"}, {"b", nullptr}, {"c", {"2", nullptr}}, {"d", "null"}}));

    const Expectation none = onlyStep("- config").expect;
    EXPECT_FALSE(none.status.has_value());
    EXPECT_FALSE(none.text.has_value());
    EXPECT_THAT(none.contains, IsEmpty());
    EXPECT_EQ(none.values, Json::object());

    EXPECT_EQ(onlyStep("- config\n").expect.text, std::nullopt);
    EXPECT_EQ(onlyStep("- config: {}\n  expect: {text: 'a b'}").expect.text, Json("a b"));
    EXPECT_THAT(onlyStep("- config: {}\n  expect: {contains: x}").expect.contains,
                ElementsAre("x"));
}

TEST_F(ScenarioTest, AStepIsCalledByItsTitleOrItsShortFields) {
    EXPECT_EQ(titleOf(onlyStep("- config\n")), "config");
    EXPECT_EQ(titleOf(onlyStep("- config: {node: a, mode: get}")), "config get a");
    EXPECT_EQ(titleOf(onlyStep("- config: {text: 'a long text that nobody wants to read'}")),
              "config");
    EXPECT_EQ(titleOf(onlyStep("- errMsg: {code: 7, language: de}")), "errMsg code=7 language=de");
    EXPECT_EQ(titleOf(onlyStep("- prepare: {nodes: [a], session: null}")), "prepare session=null");
    EXPECT_EQ(titleOf(onlyStep("- config: {node: a}\n  title: the defaults")), "the defaults");
}

struct Bad {
    const char* text;
    const char* complaint;
};

/// How CTest shows it: letters and digits of the complaint.
void PrintTo(const Bad& bad, std::ostream* out) {
    for (const char* c = bad.complaint; *c != '\0'; ++c) {
        *out << (std::isalnum(static_cast<unsigned char>(*c)) != 0 ? *c : ' ');
    }
}

class BadScenarioTest : public ScenarioTest, public testing::WithParamInterface<Bad> {};

TEST_P(BadScenarioTest, IsRefusedWithFileLineAndReason) {
    EXPECT_EQ(complaint(GetParam().text), GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    Head, BadScenarioTest,
    testing::Values(
        Bad{"", "s.yaml:1: the scenario is empty"},
        Bad{"- a\n", "s.yaml:1: the scenario must be a map"},
        Bad{"name: x\n", "s.yaml:1: the scenario names no provider"},
        Bad{"provider: [p]\n", "s.yaml:1: provider must be a text"},
        Bad{"provider: ''\n", "s.yaml:1: provider must not be empty"},
        Bad{"provider: p\nprovder: q\n",
            "s.yaml:2: unknown key 'provder' in the scenario; known: provider, name, fimName, "
            "language, catalogues, trace, deadline, credentials, files, nodes, steps"},
        Bad{"provider: p\nname: a\nname: b\n", "s.yaml:3: the scenario holds 'name' twice"},
        Bad{"provider: p\nname: {a: b}\n", "s.yaml:2: name must be a text"},
        Bad{"provider: p\ntrace: 6\n", "s.yaml:2: trace must be a map"},
        Bad{"provider: p\ntrace:\n  level: high\n",
            "s.yaml:3: level must be a whole number, not 'high'"},
        Bad{"provider: p\ntrace: {level: -1}\n", "s.yaml:2: level must be from 0 to 2147483647"},
        Bad{"provider: p\ntrace: {level: 99999999999}\n",
            "s.yaml:2: level must be from 0 to 2147483647"},
        Bad{"provider: p\ntrace: {level: 99999999999999999999}\n",
            "s.yaml:2: level must be a whole number, not '99999999999999999999'"},
        Bad{"provider: p\ntrace: {file: a/b}\n",
            "s.yaml:2: file must be a name without a folder; traces go below the root"},
        Bad{"provider: p\ntrace: {levl: 1}\n",
            "s.yaml:2: unknown key 'levl' in trace; known: level, file"},
        Bad{"provider: p\ndeadline: 0\n",
            "s.yaml:2: deadline must be a number of seconds above 0, not '0'"},
        Bad{"provider: p\ndeadline: soon\n",
            "s.yaml:2: deadline must be a number of seconds above 0, not 'soon'"},
        Bad{"provider: p\ndeadline: inf\n",
            "s.yaml:2: deadline must be a number of seconds above 0, not 'inf'"},
        Bad{"provider: p\nsteps: [host list]\n", "s.yaml:2: host list needs the field 'folder'"},
        Bad{"provider: p\nsteps:\n- host compare: {path: a}\n",
            "s.yaml:3: host compare needs the field 'with'"},
        Bad{"provider: p\nsteps:\n- host fill: 3\n", "s.yaml:3: host fill needs the field 'path'"},
        Bad{"provider: p\nsteps:\n- host fill: {path: a/../../b}\n",
            "s.yaml:3: path: 'a/../../b' is no path of a file below the root"},
        Bad{"provider: p\nsteps:\n- host list: {folder: /etc}\n",
            "s.yaml:3: folder: '/etc' is no path of a file below the root"},
        Bad{"provider: p\nsteps:\n- host list: {folder: null}\n",
            "s.yaml:3: folder must be a text"},
        Bad{"provider: p\ncredentials: [a]\n", "s.yaml:2: credentials must be a text"},
        Bad{"provider: p\nfiles: [a]\n", "s.yaml:2: files must be a map"},
        Bad{"provider: p\nfiles:\n  a: [b]\n", "s.yaml:3: file 'a' must be a text"},
        Bad{"provider: p\nfiles:\n  /a: b\n",
            "s.yaml:3: files: '/a' is no path of a file below the root"},
        Bad{"provider: p\nfiles:\n  a: b\n  a/../../b: c\n",
            "s.yaml:4: files: 'a/../../b' is no path of a file below the root"},
        Bad{"provider: p\nfiles: {..: a}\n",
            "s.yaml:2: files: '..' is no path of a file below the root"},
        Bad{"provider: p\nfiles: {a/: b}\n",
            "s.yaml:2: files: 'a/' is no path of a file below the root"},
        Bad{"provider: p\nfiles: {.: b}\n",
            "s.yaml:2: files: '.' is no path of a file below the root"},
        Bad{"provider: p\nfiles: {'': b}\n",
            "s.yaml:2: files: '' is no path of a file below the root"},
        Bad{"provider: p\n  name: x\n", "s.yaml:2: not YAML: illegal map value"},
        Bad{"provider: p\nnodes: {}\n", "s.yaml:2: nodes must be a list"},
        Bad{"provider: p\nsteps: init\n", "s.yaml:2: steps must be a list"}));

INSTANTIATE_TEST_SUITE_P(
    Nodes, BadScenarioTest,
    testing::Values(
        Bad{"provider: p\nnodes:\n  - a\n", "s.yaml:3: a node must be a map"},
        Bad{"provider: p\nnodes:\n  - {type: 1}\n", "s.yaml:3: a node needs a name"},
        Bad{"provider: p\nnodes:\n  - {name: a}\n  - {name: a}\n",
            "s.yaml:4: there are two nodes 'a'"},
        Bad{"provider: p\nnodes:\n  - {name: a, size: 1}\n",
            "s.yaml:3: unknown key 'size' in a node; known: name, type, owner, parameters"},
        Bad{"provider: p\nnodes:\n  - {name: a, type: 1.5}\n",
            "s.yaml:3: type must be a whole number, not '1.5'"},
        Bad{"provider: p\nnodes:\n  - {name: a, owner: z}\n",
            "s.yaml:3: owner: there is no node 'z'; known: a"},
        Bad{"provider: p\nnodes:\n  - name: a\n    owner:\n      - a\n      - z\n",
            "s.yaml:6: owner: there is no node 'z'; known: a"},
        Bad{"provider: p\nnodes:\n  - {name: a, parameters: [x]}\n",
            "s.yaml:3: parameters must be a map"},
        Bad{"provider: p\nnodes:\n  - {name: a, parameters: {x: {y: z}}}\n",
            "s.yaml:3: parameter 'x' must be a text"},
        Bad{"provider: p\nnodes:\n  - {name: a, parameters: {x: null}}\n",
            "s.yaml:3: parameter 'x' must be a text"}));

INSTANTIATE_TEST_SUITE_P(
    Steps, BadScenarioTest,
    testing::Values(
        Bad{"provider: p\nsteps:\n  - []\n", "s.yaml:3: a step must be a map"},
        Bad{"provider: p\nsteps:\n  - {}\n", "s.yaml:3: the step names no operation"},
        Bad{"provider: p\nsteps:\n  - {title: x}\n", "s.yaml:3: the step names no operation"},
        Bad{"provider: p\nsteps:\n  - init:\n    exepct: {}\n",
            "s.yaml:4: unknown operation 'exepct'; beside its operation a step has: expect, "
            "deadline, title, watch"},
        Bad{"provider: p\nsteps:\n  - frobnicate\n",
            "s.yaml:3: unknown operation 'frobnicate'; beside its operation a step has: expect, "
            "deadline, title, watch"},
        Bad{"provider: p\nsteps:\n  - ~CFiPluginBase\n",
            "s.yaml:3: unknown operation '~CFiPluginBase'; beside its operation a step has: "
            "expect, deadline, title, watch"},
        Bad{"provider: p\nsteps:\n  - init:\n    fini:\n",
            "s.yaml:4: the step names two operations, 'init' and 'fini'"},
        Bad{"provider: p\nsteps:\n  - make:\n    watch: ../B\n",
            "s.yaml:4: watch: '../B' is no path of a file below the root"},
        Bad{"provider: p\nsteps:\n  - prepare: {options: 5000000000}\n",
            "s.yaml:3: options must be from -2147483648 to 2147483647"},
        Bad{"provider: p\nsteps:\n  - init: {x: 1}\n",
            "s.yaml:3: unknown key 'x' in init; it has none"},
        Bad{"provider: p\nsteps:\n  - claim: {obj: 1}\n",
            "s.yaml:3: unknown key 'obj' in claim; known: object"},
        Bad{"provider: p\nsteps:\n  - claim: x\n", "s.yaml:3: claim must be a map"},
        Bad{"provider: p\nsteps:\n  - config:\n      node: a\n",
            "s.yaml:4: node: there is no node 'a'; the scenario has none"},
        Bad{"provider: p\nnodes: [{name: a}]\nsteps:\n  - prepare: {nodes: [a, b]}\n",
            "s.yaml:4: nodes: there is no node 'b'; known: a"},
        Bad{"provider: p\nnodes: [{name: a}]\nsteps:\n  - interpose: {node: g}\n",
            "s.yaml:4: node: there is no node 'g'; known: a"},
        Bad{"provider: p\nsteps:\n  - prepare: {nodes: {a: b}}\n",
            "s.yaml:3: nodes must be a list"},
        Bad{"provider: p\nsteps:\n  - config: {mode: fetch}\n",
            "s.yaml:3: mode must be one of: get, set, clear, getparam, set-again; not 'fetch'"},
        Bad{"provider: p\nsteps:\n  - errMsg: {code: x7}\n",
            "s.yaml:3: code must be a whole number, not 'x7'"},
        Bad{"provider: p\nsteps:\n  - initAltNode: {skipImport: maybe}\n",
            "s.yaml:3: skipImport must be true or false, not 'maybe'"},
        Bad{"provider: p\nsteps:\n  - config: {text: [a]}\n", "s.yaml:3: text must be a text"},
        Bad{"provider: p\nsteps:\n  - unformat: {resources: [[a]]}\n",
            "s.yaml:3: an item of resources must be a text"},
        Bad{"provider: p\nsteps:\n  - init:\n    expect: 3\n", "s.yaml:4: expect must be a map"},
        Bad{"provider: p\nsteps:\n  - init:\n    expect: {stauts: 3}\n",
            "s.yaml:4: unknown key 'stauts' in expect; known: status, text, contains, values"},
        Bad{"provider: p\nsteps:\n  - init:\n    expect: {status: ok}\n",
            "s.yaml:4: status must be a whole number, not 'ok'"},
        Bad{"provider: p\nsteps:\n  - init:\n    expect: {values: {a: {b: c}}}\n",
            "s.yaml:4: value 'a' must be a text"},
        Bad{"provider: p\nsteps:\n  - init:\n    expect: {values: {a: [[[b]]]}}\n",
            "s.yaml:4: value 'a' is nested deeper than any answer"},
        Bad{"provider: p\nsteps:\n  - init:\n    expect: {values: {a: &a [*a]}}\n",
            "s.yaml:4: value 'a' is nested deeper than any answer"},
        Bad{"provider: p\n---\nprovider: q\n", "s.yaml:2: a scenario is one document"},
        Bad{"provider: p\n---\n", "s.yaml:2: a scenario is one document"},
        Bad{"provider: p\n,\n", "s.yaml:2: not YAML: end of map not found"},
        Bad{",", "s.yaml:1: a scenario is one document"},
        Bad{"provider: p\nname: ../p\n",
            "s.yaml:2: name must be a name without a folder; files are called after it"},
        Bad{"provider: p\nsteps:\n  - init:\n    deadline: -1\n",
            "s.yaml:4: deadline must be a number of seconds above 0, not '-1'"}));

TEST_F(ScenarioTest, AFileThatIsNotThereIsNamed) {
    try {
        readScenario(folder.path("none.yaml"));
        FAIL();
    } catch (const CannotRun& e) {
        EXPECT_EQ(e.what(), folder.path("none.yaml") +
                                ": the file cannot be read: No such file or directory");
    }
    try {
        readScenario(folder.path());
        FAIL();
    } catch (const CannotRun& e) {
        EXPECT_EQ(e.what(), folder.path() + ": the file cannot be read: Is a directory");
    }
}

TEST_F(ScenarioTest, ComplaintsNameThePlaceWhereThereIsOne) {
    Scenario scenario;
    EXPECT_EQ(at(scenario, 3, "why"), "why");
    scenario.file = "a.yaml";
    EXPECT_EQ(at(scenario, 3, "why"), "a.yaml:3: why");
}

} // namespace
