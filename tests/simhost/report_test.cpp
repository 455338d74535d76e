#include "report.h"

#include <gmock/gmock.h>

#include <sstream>

#include "support/temp_dir.h"

namespace {

using namespace kzfi_simhost;
using testing::HasSubstr;
using testing::Not;

Stage stage(const std::string& title, Result result) {
    Stage stage;
    stage.title = title;
    stage.operation = "config";
    stage.line = 4;
    stage.result = result;
    stage.seconds = 0.25;
    if (result == Result::PASSED || result == Result::FAILED) {
        stage.outcome = Outcome();
        stage.outcome->status = 3;
    }
    if (result == Result::FAILED) {
        stage.mismatches = {{"text", "a\nb", "a\n<c>\033"}};
    }
    if (result == Result::CRASHED) {
        stage.reason = "the provider's process was killed";
    }
    return stage;
}

RunReport sample() {
    RunReport report;
    report.scenario = "s.yaml";
    report.provider = "/p.so";
    report.name = "p";
    report.fimName = "f";
    report.root = "/r";
    report.traceFile = "/r/trace/p.log.112126";
    report.stages = {stage("first", Result::PASSED), stage("second & <last>", Result::FAILED),
                     stage("third", Result::CRASHED), stage("fourth", Result::NOT_RUN)};
    report.lastTrace = {"one", "two & three"};
    return report;
}

class ReportTest : public testing::Test {
  protected:
    std::string console(const RunReport& report, bool colours = false) {
        std::ostringstream out;
        ConsoleReport console(out, colours);
        Scenario scenario;
        scenario.file = "s.yaml";
        scenario.provider = "/p.so";
        console.begin(scenario, HostRoot(folder.path()));
        for (const Stage& each : report.stages) {
            console.stage(each);
        }
        console.end(report);
        return out.str();
    }

    kzfi_tests::TempDir folder;
};

TEST_F(ReportTest, ShowsALineForEveryStage) {
    const std::string text = console(sample());
    EXPECT_THAT(text, HasSubstr("  ok       first            3     250 ms\n"));
    EXPECT_THAT(text, HasSubstr("  failed   second & ...     3     250 ms  s.yaml:4\n"));
    EXPECT_THAT(text, HasSubstr("  crashed  third            -     250 ms  s.yaml:4\n"
                                "           the provider's process was killed\n"));
    EXPECT_THAT(text, HasSubstr("  not run  fourth"));
}

TEST_F(ReportTest, ShowsExpectedAndActualSideBySide) {
    const std::string text = console(sample());
    const std::string gap(55, ' ');
    EXPECT_THAT(text, HasSubstr("           text\n"
                                "           expected" +
                                std::string(51, ' ') + "actual\n" + "           a" + gap +
                                "   a\n" + "           b" + gap + " | <c>\\x1b\n"));
}

TEST_F(ReportTest, EndsWithASummary) {
    const std::string text = console(sample());
    EXPECT_THAT(text, HasSubstr("\nlast lines of the trace:\n  one\n  two & three\n"));
    EXPECT_THAT(text, HasSubstr("\nFAILED  4 steps: 1 passed, 1 failed, 1 crashed, 1 not run; "
                                "1.00 s\ntrace     /r/trace/p.log.112126\n"));
    EXPECT_THAT(text, Not(HasSubstr("output")));
    EXPECT_THAT(text, Not(HasSubstr("/usr")));
}

TEST_F(ReportTest, SaysSoWhenUsrIsNotPrivate) {
    RunReport report = sample();
    report.privateUsr = "no rights";
    EXPECT_THAT(console(report), HasSubstr("/usr      not private, so the provider could change "
                                           "/usr/tarnex: no rights\n"));
}

TEST_F(ReportTest, ColoursOnlyWhenAsked) {
    EXPECT_THAT(console(sample()), Not(HasSubstr("\033")));
    EXPECT_THAT(console(sample(), true), HasSubstr("\033[32mok       \033[0m"));
    EXPECT_THAT(console(sample(), true), HasSubstr("\033[31mFAILED\033[0m"));
}

TEST_F(ReportTest, ARunPassesWhenAllOfItPassed) {
    RunReport report = sample();
    EXPECT_FALSE(report.passed());
    report.stages.resize(1);
    EXPECT_TRUE(report.passed());
    report.stages.push_back(stage("x", Result::NOT_RUN));
    EXPECT_FALSE(report.passed());
}

TEST_F(ReportTest, JsonHoldsEverything) {
    const Json json = toJson(sample());
    EXPECT_EQ(json["scenario"], "s.yaml");
    EXPECT_EQ(json["provider"], "/p.so");
    EXPECT_EQ(json["root"], "/r");
    EXPECT_EQ(json["traceFile"], "/r/trace/p.log.112126");
    EXPECT_EQ(json["passed"], false);
    EXPECT_EQ(json["privateUsr"], true);
    EXPECT_EQ(json["steps"].size(), 4u);
    EXPECT_EQ(json["steps"][1],
              Json({{"title", "second & <last>"},
                    {"operation", "config"},
                    {"result", "failed"},
                    {"seconds", 0.25},
                    {"line", 4},
                    {"answer", {{"status", 3}, {"values", Json::object()}}},
                    {"mismatches",
                     {{{"what", "text"}, {"expected", "a\nb"}, {"actual", "a\n<c>\033"}}}}}));
    EXPECT_EQ(json["steps"][2]["reason"], "the provider's process was killed");
    EXPECT_EQ(json["steps"][3]["result"], "not run");
    EXPECT_EQ(json["lastTrace"], Json({"one", "two & three"}));
}

TEST_F(ReportTest, JunitIsWellFormedWhateverTheTexts) {
    EXPECT_EQ(toJunit(sample()),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<testsuites>\n"
              "  <testsuite name=\"s.yaml\" tests=\"4\" failures=\"1\" errors=\"1\" "
              "skipped=\"1\" time=\"1.000000\">\n"
              "    <testcase classname=\"p\" name=\"first\" time=\"0.250000\"></testcase>\n"
              "    <testcase classname=\"p\" name=\"second &amp; &lt;last&gt;\" "
              "time=\"0.250000\"><failure message=\"text differs\">text\nexpected: a\nb\n"
              "actual: a\n&lt;c&gt;\\x1b\n</failure></testcase>\n"
              "    <testcase classname=\"p\" name=\"third\" time=\"0.250000\">"
              "<error type=\"crashed\" message=\"the provider&#39;s process was killed\">"
              "one\ntwo &amp; three\n</error></testcase>\n"
              "    <testcase classname=\"p\" name=\"fourth\" time=\"0.250000\"><skipped/>"
              "</testcase>\n"
              "  </testsuite>\n"
              "</testsuites>\n");
}

TEST_F(ReportTest, JunitsErrorHasTheLastOutput) {
    RunReport report = sample();
    report.lastOutput = {"said\xEF\xBF\xBF", "last"};
    EXPECT_THAT(toJunit(report),
                HasSubstr(">one\ntwo &amp; three\nlast lines of the provider&#39;s "
                          "output:\nsaid\\uffff\nlast\n</error>"));
    report.lastTrace.clear();
    EXPECT_THAT(toJunit(report), HasSubstr(">last lines of the provider&#39;s output:\nsaid"));
}

TEST_F(ReportTest, JunitHoldsNoCharacterThatXmlHasNot) {
    RunReport report = sample();
    report.scenario = "a\x01\xEF\xBF\xBE";
    report.stages[0].title = "b\xEF\xBF\xBF\xC2\x9B\xED\xA0\x80";
    const std::string text = toJunit(report);
    EXPECT_THAT(text, HasSubstr("name=\"a\\x01\\ufffe\""));
    EXPECT_THAT(text, HasSubstr("name=\"b\\uffff\\x9b\xEF\xBF\xBD"));
    for (const char* const refused : {"\x01", "\xEF\xBF\xBE", "\xEF\xBF\xBF", "\xED\xA0\x80"}) {
        EXPECT_THAT(text, Not(HasSubstr(refused)));
    }
}

TEST_F(ReportTest, AFileThatCannotBeWrittenIsNamed) {
    writeReport(folder.path("r.json"), "text");
    EXPECT_EQ(kzfi_tests::readFile(folder.path("r.json")), "text");
    try {
        writeReport(folder.path("none/r.json"), "text");
        FAIL();
    } catch (const CannotRun& e) {
        EXPECT_EQ(e.what(),
                  "cannot write " + folder.path("none/r.json") + ": No such file or directory");
    }
}

Json node(const std::string& name, const std::vector<std::string>& below) {
    return {{"name", name},        {"type", 1},
            {"flags", 72},         {"supportLevel", nullptr},
            {"displayName", ""},   {"associations", Json::array()},
            {"below", Json(below)}};
}

std::string treeOf(const Json& nodes) {
    RunReport report;
    report.tree = nodes;
    std::ostringstream out;
    ConsoleReport(out, false).tree(report);
    return out.str();
}

TEST(TreeTest, LowerNodesAreIndentedAndShownInFullOnce) {
    const std::string all = "  type 1, flags 0x48, support level (none)\n";
    EXPECT_EQ(treeOf(Json::array({node("a", {}), node("A", {"a", "g"}), node("g", {}),
                                  node("B", {"A", "g", "gone"})})),
              "\nnodes\n  B" + all + "    A" + all + "      a" + all + "      g" + all +
                  "    g  (see above)\n");
}

TEST(TreeTest, NodesBelowThemselvesAreShown) {
    const std::string all = "  type 1, flags 0x48, support level (none)\n";
    EXPECT_EQ(treeOf(Json::array({node("a", {"b"}), node("b", {"a"})})),
              "\nnodes\n  a" + all + "    b" + all + "      a  (see above)\n");
}

TEST(TreeTest, NamesCannotCommandATerminal) {
    Json bad = node("a\033b", {});
    bad["associations"] = Json::array({{"x\033", nullptr, "g"}});
    EXPECT_EQ(treeOf(Json::array({bad})),
              "\nnodes\n  a\\x1bb  type 1, flags 0x48, support level (none)\n"
              "  - x\\x1b / (none) / g\n");
}

} // namespace
