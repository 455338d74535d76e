#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "cfistringtool.h"
#include "report.h"
#include "report_text.h"
#include "text_tools.h"

namespace kzfi_simhost {
namespace {

Json toJson(const Mismatch& mismatch) {
    return {{"what", mismatch.what}, {"expected", mismatch.expected}, {"actual", mismatch.actual}};
}

Json toJson(const Stage& stage) {
    Json json = {{"title", stage.title},
                 {"operation", stage.operation},
                 {"result", wordFor(stage.result)},
                 {"seconds", stage.seconds}};
    if (stage.line > 0) {
        json["line"] = stage.line;
    }
    if (stage.outcome) {
        json["answer"] = stage.outcome->toJson();
    }
    for (const Mismatch& mismatch : stage.mismatches) {
        json["mismatches"].push_back(toJson(mismatch));
    }
    if (!stage.reason.empty()) {
        json["reason"] = stage.reason;
    }
    if (!stage.note.empty()) {
        json["note"] = stage.note;
    }
    return json;
}

/// All differences of a stage in one text.
std::string differences(const Stage& stage) {
    std::string text = stage.reason.empty() ? "" : stage.reason + "\n";
    for (const Mismatch& mismatch : stage.mismatches) {
        text += mismatch.what + "\nexpected: " + mismatch.expected +
                "\nactual: " + mismatch.actual + "\n";
    }
    return text;
}

/// What the provider said before it ended.
std::string lastWords(const RunReport& report) {
    const std::string output = joinedLines(report.lastOutput);
    return joinedLines(report.lastTrace) +
           (output.empty() ? "" : std::string(LAST_OUTPUT) + "\n" + output);
}

void writeCase(std::ostream& out, const RunReport& report, const Stage& stage) {
    out << "    <testcase" << xmlAttribute("classname", report.name)
        << xmlAttribute("name", stage.title) << xmlAttribute("time", xmlSeconds(stage.seconds))
        << ">";
    if (stage.result == Result::FAILED) {
        out << "<failure" << xmlAttribute("message", stage.mismatches.front().what + " differs")
            << ">" << xmlText(differences(stage)) << "</failure>";
    } else if (isEnd(stage.result)) {
        out << "<error" << xmlAttribute("type", wordFor(stage.result))
            << xmlAttribute("message", stage.reason) << ">" << xmlText(lastWords(report))
            << "</error>";
    } else if (stage.result == Result::NOT_RUN) {
        out << "<skipped/>";
    }
    out << "</testcase>\n";
}

} // namespace

std::string xmlText(const std::string& text) {
    return kzfi_pdk_4_4::CFiStringTool::convertToXmlSpecialCharacters(harmless(text));
}

std::string xmlAttribute(const char* name, const std::string& value) {
    return std::string(" ") + name + "=\"" + xmlText(value) + "\"";
}

std::string xmlSeconds(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6f", seconds);
    return text;
}

std::string joinedLines(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

Json toJson(const RunReport& report) {
    Json json = {{"scenario", report.scenario},
                 {"provider", report.provider},
                 {"name", report.name},
                 {"fimName", report.fimName},
                 {"root", report.root},
                 {"traceFile", report.traceFile},
                 {"outputFile", report.outputFile},
                 {"privateUsr", report.privateUsr.empty()},
                 {"passed", report.passed()},
                 {"steps", Json::array()}};
    if (!report.privateUsr.empty()) {
        json["noPrivateUsrReason"] = report.privateUsr;
    }
    for (const Stage& stage : report.stages) {
        json["steps"].push_back(toJson(stage));
    }
    if (!report.tree.is_null()) {
        json["tree"] = report.tree;
    }
    if (!report.lastTrace.empty()) {
        json["lastTrace"] = report.lastTrace;
    }
    if (!report.lastOutput.empty()) {
        json["lastOutput"] = report.lastOutput;
    }
    return json;
}

std::string toJunit(const RunReport& report) {
    const std::size_t errors =
        report.count(Result::CRASHED) + report.count(Result::EXITED) + report.count(Result::HUNG);
    std::ostringstream out;
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites>\n  <testsuite"
        << xmlAttribute("name", report.scenario)
        << xmlAttribute("tests", std::to_string(report.stages.size()))
        << xmlAttribute("failures", std::to_string(report.count(Result::FAILED)))
        << xmlAttribute("errors", std::to_string(errors))
        << xmlAttribute("skipped", std::to_string(report.count(Result::NOT_RUN)))
        << xmlAttribute("time", xmlSeconds(report.seconds())) << ">\n";
    for (const Stage& stage : report.stages) {
        writeCase(out, report, stage);
    }
    out << "  </testsuite>\n</testsuites>\n";
    return out.str();
}

std::string jsonText(const Json& report) {
    return report.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

void writeReport(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file) {
        throw CannotRun("cannot write " + path + ": " + std::strerror(errno));
    }
}

} // namespace kzfi_simhost
