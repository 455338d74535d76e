#include <algorithm>
#include <sstream>

#include "../report_text.h"
#include "report.h"

namespace kzfi_simhost {
namespace {

Json toJson(const CheckResult& result) {
    Json json = {{"name", result.check->name},
                 {"rule", result.check->rule},
                 {"verdict", wordFor(result.verdict)},
                 {"seconds", result.seconds},
                 {"findings", Json::array()}};
    for (const FoundLine& line : result.findings) {
        json["findings"].push_back({{"severity", line.fails ? "fail" : "warn"},
                                    {"text", line.text},
                                    {"trace", line.trace}});
    }
    if (result.verdict == Verdict::SKIP && result.skipped) {
        json["reason"] = wordFor(*result.skipped);
    }
    if (result.verdict == Verdict::EXCEPTION) {
        json["exception"] = {{"type", result.exceptionType}, {"text", result.exceptionText}};
    }
    if (!result.detail.empty()) {
        json["detail"] = result.detail;
    }
    if (!isGreen(result.verdict)) {
        json["advice"] = result.check->advice;
        json["doing"] = result.doing;
        json["lastTrace"] = result.lastTrace;
    }
    if (!result.stacks.empty()) {
        json["stacks"] = result.stacks;
    }
    json["traceFile"] = result.traceFile;
    json["outputFile"] = result.outputFile;
    return json;
}

/// All that is known of a result in one text.
std::string allOf(const CheckResult& result) {
    std::string text = result.detail.empty() ? "" : result.detail + "\n";
    for (const FoundLine& line : result.findings) {
        text += line.text + "\n";
    }
    return text + joinedLines(result.lastTrace) + joinedLines(result.stacks) +
           result.check->advice + "\n";
}

/// What a failure says: the first finding that fails, should it be among those that are kept.
std::string firstFailure(const std::vector<FoundLine>& findings) {
    const auto found = std::find_if(findings.begin(), findings.end(),
                                    [](const FoundLine& line) { return line.fails; });
    return (found == findings.end() ? findings.front() : *found).text;
}

/// What the verdict comes from, whatever else was found.
std::string messageOf(const CheckResult& result) {
    if (result.verdict == Verdict::EXCEPTION) {
        return result.exceptionType + ": " + result.exceptionText;
    }
    return result.verdict == Verdict::FAIL ? firstFailure(result.findings) : result.detail;
}

void writeCase(std::ostream& out, const CheckResult& result) {
    const std::string& name = result.check->name;
    const std::string family = name.substr(0, name.find('.'));
    out << "    <testcase" << xmlAttribute("classname", family) << xmlAttribute("name", name)
        << xmlAttribute("time", xmlSeconds(result.seconds)) << ">";
    if (result.verdict == Verdict::SKIP) {
        out << "<skipped"
            << xmlAttribute("message", std::string(wordFor(*result.skipped)) + ": " + result.detail)
            << "/>";
    } else if (result.verdict == Verdict::FAIL) {
        out << "<failure" << xmlAttribute("message", messageOf(result)) << ">"
            << xmlText(allOf(result)) << "</failure>";
    } else if (!isGreen(result.verdict)) {
        out << "<error" << xmlAttribute("type", wordFor(result.verdict))
            << xmlAttribute("message", messageOf(result)) << ">" << xmlText(allOf(result))
            << "</error>";
    } else if (result.verdict == Verdict::WARN) {
        out << "<system-out>" << xmlText(allOf(result)) << "</system-out>";
    }
    out << "</testcase>\n";
}

} // namespace

Json toJson(const CheckReport& report) {
    Json json = {{"provider", report.provider},
                 {"root", report.root},
                 {"seed", report.seed},
                 {"green", report.isGreen() && report.unusable.empty()},
                 {"privateUsr", report.privateUsr.empty()},
                 {"checks", Json::array()}};
    if (!report.unusable.empty()) {
        json["unusable"] = report.unusable;
    }
    if (!report.privateUsr.empty()) {
        json["noPrivateUsrReason"] = report.privateUsr;
    }
    for (const CheckResult& result : report.results) {
        json["checks"].push_back(toJson(result));
    }
    return json;
}

std::string toJunit(const CheckReport& report) {
    std::size_t errors = 0;
    for (const Verdict verdict :
         {Verdict::CRASH, Verdict::HANG, Verdict::EXIT, Verdict::EXCEPTION}) {
        errors += report.count(verdict);
    }
    std::ostringstream out;
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites>\n  <testsuite"
        << xmlAttribute("name", report.provider)
        << xmlAttribute("tests", std::to_string(report.results.size()))
        << xmlAttribute("failures", std::to_string(report.count(Verdict::FAIL)))
        << xmlAttribute("errors", std::to_string(errors))
        << xmlAttribute("skipped", std::to_string(report.count(Verdict::SKIP)))
        << xmlAttribute("time", xmlSeconds(report.seconds())) << ">\n";
    for (const CheckResult& result : report.results) {
        writeCase(out, result);
    }
    out << "  </testsuite>\n</testsuites>\n";
    return out.str();
}

} // namespace kzfi_simhost
