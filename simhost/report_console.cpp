#include <algorithm>
#include <cstdint>
#include <iomanip>
#include <set>
#include <sstream>

#include "report.h"
#include "terminal.h"
#include "text_tools.h"

namespace kzfi_simhost {
namespace {

const std::size_t WIDEST_TITLE = 60;
const std::size_t COLUMN = 56;
const char* const INDENT = "           ";

const char* colourOf(Result result) {
    switch (result) {
    case Result::PASSED:
        return GREEN;
    case Result::NOT_RUN:
        return YELLOW;
    default:
        return RED;
    }
}

std::string shownResult(Result result) {
    return result == Result::PASSED ? "ok" : wordFor(result);
}

std::string statusOf(const Stage& stage) {
    return stage.outcome && stage.outcome->status ? std::to_string(*stage.outcome->status) : "-";
}

std::string inHex(std::uint32_t number) {
    std::ostringstream text;
    text << "0x" << std::hex << number;
    return text.str();
}

std::string nameIn(const Json& node) {
    return node["name"].get<std::string>();
}

/// A name, or what stands for it where there is none.
std::string shownName(const Json& name) {
    return name.is_string() ? harmless(name.get<std::string>()) : "(none)";
}

/// Names of the nodes that lie below others.
std::set<std::string> lowerNames(const Json& nodes) {
    std::set<std::string> names;
    for (const Json& node : nodes) {
        for (const Json& name : node["below"]) {
            names.insert(name.get<std::string>());
        }
    }
    return names;
}

/// "3 failed, " for three.
std::string counted(const RunReport& report, Result result) {
    const std::size_t count = report.count(result);
    return count == 0 ? "" : ", " + std::to_string(count) + " " + wordFor(result);
}

} // namespace

void writeExcerpt(std::ostream& out, const std::string& heading,
                  const std::vector<std::string>& lines) {
    if (!lines.empty()) {
        out << "\n" << heading << "\n";
    }
    for (const std::string& line : lines) {
        out << "  " << harmless(line) << "\n";
    }
}

std::string ConsoleReport::coloured(const char* code, const std::string& text) const {
    return colours ? inColour(code, text) : text;
}

void ConsoleReport::label(const char* name, const std::string& value) {
    stream << fitted(name, 10) << harmless(value) << "\n";
}

void ConsoleReport::begin(const Scenario& scenario, const HostRoot& root) {
    scenarioFile = scenario.file;
    for (const Step& step : scenario.steps) {
        titleWidth = std::max(titleWidth, lengthOf(harmless(titleOf(step))));
    }
    titleWidth = std::min(std::max<std::size_t>(titleWidth, 12), WIDEST_TITLE);
    label("scenario", scenario.file);
    label("provider", scenario.provider);
    label("root", root.path());
    stream << "\n" << std::flush;
}

void ConsoleReport::stage(const Stage& stage) {
    const bool ran = stage.result != Result::NOT_RUN;
    stream << "  " << coloured(colourOf(stage.result), fitted(shownResult(stage.result), 9))
           << fitted(harmless(stage.title), titleWidth) << "  " << std::setw(4)
           << (ran ? statusOf(stage) : "") << "  " << std::setw(9)
           << (ran ? timeText(stage.seconds) : "");
    if (ran && stage.result != Result::PASSED && stage.line > 0) {
        stream << "  " << scenarioFile << ":" << stage.line;
    }
    stream << "\n";
    if (!stage.reason.empty()) {
        stream << INDENT << harmless(stage.reason) << "\n";
    }
    for (const Mismatch& mismatch : stage.mismatches) {
        difference(mismatch);
    }
    if (!stage.note.empty()) {
        stream << INDENT << harmless(stage.note) << "\n";
    }
    stream << std::flush;
}

void ConsoleReport::difference(const Mismatch& mismatch) {
    stream << INDENT << coloured(BOLD, harmless(mismatch.what)) << "\n"
           << INDENT << fitted("expected", COLUMN) << "   actual\n";
    const std::vector<std::string> rows =
        sideBySide(harmless(mismatch.expected), harmless(mismatch.actual), COLUMN);
    for (const std::string& row : rows) {
        stream << INDENT << row << "\n";
    }
}

void ConsoleReport::tree(const RunReport& report) {
    stream << "\nnodes\n";
    if (report.tree.is_null()) {
        stream << "  not known: the run did not come to the end of its steps\n";
    }
    NodesByName nodes;
    for (const Json& node : report.tree) {
        nodes[nameIn(node)] = &node;
    }
    std::set<std::string> shown;
    const std::set<std::string> lower = lowerNames(report.tree);
    for (const Json& node : report.tree) {
        if (lower.count(nameIn(node)) == 0) {
            branch(nodes, node, 1, shown);
        }
    }
    // What is left lies below itself.
    for (const Json& node : report.tree) {
        if (shown.count(nameIn(node)) == 0) {
            branch(nodes, node, 1, shown);
        }
    }
    stream << std::flush;
}

void ConsoleReport::branch(const NodesByName& nodes, const Json& node, std::size_t depth,
                           std::set<std::string>& shown) {
    const std::string indent(2 * depth, ' ');
    stream << indent << harmless(nameIn(node));
    if (!shown.insert(nameIn(node)).second) {
        stream << "  (see above)\n";
        return;
    }
    stream << "  type " << node["type"] << ", flags " << inHex(node["flags"].get<std::uint32_t>())
           << ", support level "
           << (node["supportLevel"].is_null() ? "(none)" : oneLine(node["supportLevel"])) << "\n";
    for (const Json& association : node["associations"]) {
        stream << indent << "- " << shownName(association[0]) << " / " << shownName(association[1])
               << " / " << shownName(association[2]) << "\n";
    }
    for (const Json& name : node["below"]) {
        const auto found = nodes.find(name.get<std::string>());
        if (found != nodes.end()) {
            branch(nodes, *found->second, depth + 1, shown);
        }
    }
}

void ConsoleReport::end(const RunReport& report) {
    writeExcerpt(stream, LAST_TRACE, report.lastTrace);
    writeExcerpt(stream, LAST_OUTPUT, report.lastOutput);
    stream << "\n"
           << coloured(report.passed() ? GREEN : RED, report.passed() ? "PASSED" : "FAILED") << "  "
           << report.stages.size() << " steps: " << report.count(Result::PASSED) << " passed";
    for (const Result result :
         {Result::FAILED, Result::CRASHED, Result::EXITED, Result::HUNG, Result::NOT_RUN}) {
        stream << counted(report, result);
    }
    stream << "; " << timeText(report.seconds()) << "\n";
    label("trace", report.traceFile.empty() ? "none" : report.traceFile);
    if (!report.outputFile.empty()) {
        label("output", report.outputFile);
    }
    if (!report.privateUsr.empty()) {
        label("/usr",
              "not private, so the provider could change /usr/tarnex: " + report.privateUsr);
    }
    stream << std::flush;
}

} // namespace kzfi_simhost
