#include <algorithm>
#include <iomanip>

#include "report.h"
#include "terminal.h"
#include "text_tools.h"

namespace kzfi_simhost {
namespace {

const std::size_t NAME_WIDTH = 34;
const std::size_t BAR_WIDTH = 24;
const char* const DETAIL_INDENT = "             ";

const char* colourOf(Verdict verdict) {
    switch (verdict) {
    case Verdict::PASS:
        return GREEN;
    case Verdict::WARN:
    case Verdict::SKIP:
        return YELLOW;
    default:
        return RED;
    }
}

/// What stands beside the verdict: the exception, why it was skipped, how the process ended.
std::string reasonOf(const CheckResult& result) {
    if (result.skipped && result.verdict == Verdict::SKIP) {
        return std::string(wordFor(*result.skipped)) + ": " + result.detail;
    }
    if (result.verdict == Verdict::EXCEPTION) {
        return result.exceptionType +
               (result.exceptionText.empty() ? "" : ": " + result.exceptionText) + " " +
               result.detail;
    }
    return result.detail;
}

/// The trace that belongs to a result: before its first line that fails, else before its end.
const std::vector<std::string>& traceOf(const CheckResult& result) {
    for (const FoundLine& line : result.findings) {
        if (line.fails && result.verdict == Verdict::FAIL && !line.trace.empty()) {
            return line.trace;
        }
    }
    return result.lastTrace;
}

} // namespace

std::string CheckConsole::coloured(const char* code, const std::string& text) const {
    return colours ? inColour(code, text) : text;
}

void CheckConsole::begin(const Check& check, std::size_t index, std::size_t count) {
    if (width == 0) {
        return;
    }
    const std::size_t done = BAR_WIDTH * index / count;
    const std::string line = "[" + std::string(done, '#') + std::string(BAR_WIDTH - done, ' ') +
                             "] " + std::to_string(index + 1) + "/" + std::to_string(count) + "  " +
                             check.name;
    clearBar();
    // The last column would make the terminal go to the next line.
    shown = std::min(line.size(), width - 1);
    stream << line.substr(0, shown) << std::flush;
}

/// With blanks: they work on every terminal.
void CheckConsole::clearBar() {
    if (shown > 0) {
        stream << "\r" << std::string(shown, ' ') << "\r";
        shown = 0;
    }
}

void CheckConsole::end(const CheckResult& result) {
    clearBar();
    stream << "  " << coloured(colourOf(result.verdict), fitted(wordFor(result.verdict), 9)) << "  "
           << fitted(result.check->name, NAME_WIDTH) << "  " << std::setw(9)
           << (result.verdict == Verdict::SKIP ? "" : timeText(result.seconds)) << "\n";
    if (const std::string reason = reasonOf(result); !reason.empty()) {
        stream << DETAIL_INDENT << harmless(reason) << "\n";
    }
    for (const FoundLine& line : result.findings) {
        stream << DETAIL_INDENT << harmless(line.text) << "\n";
    }
    stream << std::flush;
}

void CheckConsole::explain(const CheckResult& result) {
    stream << "\n"
           << coloured(BOLD, result.check->name) << "  " << wordFor(result.verdict)
           << "\n  rule:   " << result.check->rule << "\n  to do:  " << result.check->advice
           << "\n";
    for (const std::string& line : traceOf(result)) {
        stream << "    " << harmless(line) << "\n";
    }
    if (!result.stacks.empty()) {
        stream << "  stacks:\n";
    }
    for (const std::string& line : result.stacks) {
        stream << "    " << harmless(line) << "\n";
    }
    if (!result.traceFile.empty()) {
        stream << "  trace:  " << harmless(result.traceFile) << "\n";
    }
    if (!result.outputFile.empty()) {
        stream << "  output: " << harmless(result.outputFile) << "\n";
    }
}

void CheckConsole::summary(const CheckReport& report) {
    clearBar();
    for (const CheckResult& result : report.results) {
        if (!isGreen(result.verdict)) {
            explain(result);
        }
    }
    const bool green = report.isGreen() && report.unusable.empty();
    stream << "\n"
           << coloured(green ? GREEN : RED, green ? "PASSED" : "FAILED") << "  "
           << report.results.size() << " checks";
    const char* separator = ": ";
    for (const Verdict verdict :
         {Verdict::PASS, Verdict::WARN, Verdict::FAIL, Verdict::CRASH, Verdict::HANG, Verdict::EXIT,
          Verdict::EXCEPTION, Verdict::SKIP}) {
        if (report.count(verdict) > 0) {
            stream << separator << report.count(verdict) << " " << wordFor(verdict);
            separator = ", ";
        }
    }
    stream << "; " << timeText(report.seconds()) << "\n"
           << fitted("root", 10) << harmless(report.root) << "\n"
           << fitted("seed", 10) << report.seed << "\n";
    if (!report.unusable.empty()) {
        stream << fitted("provider", 10) << "cannot be used: " << harmless(report.unusable) << "\n";
    }
    if (!report.privateUsr.empty()) {
        stream << fitted("/usr", 10) << "not private, so the provider could change /usr/tarnex: "
               << harmless(report.privateUsr) << "\n";
    }
    stream << std::flush;
}

void listChecks(std::ostream& out, const std::vector<const Check*>& selected) {
    for (const Check* const check : selected) {
        out << fitted(check->name, NAME_WIDTH) << "  " << check->rule << "\n";
    }
}

} // namespace kzfi_simhost
