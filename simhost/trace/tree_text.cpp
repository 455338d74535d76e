#include "tree_text.h"

#include <algorithm>
#include <iomanip>

#include "../terminal.h"
#include "../text_tools.h"

namespace kzfi_simhost {
namespace {

const std::size_t CLOCK_WIDTH = 15;
const int LENGTH_WIDTH = 12;
/// Deeper calls are not indented further.
const std::uint32_t DEEPEST_INDENT = 40;

std::string lengthOfCall(const TraceEvent& event) {
    switch (event.kind) {
    case TraceEvent::CALL:
        break;
    case TraceEvent::ENTRY_ONLY:
        return "-";
    case TraceEvent::EXIT_ONLY:
        return "no entry";
    case TraceEvent::LINE:
        return "";
    }
    if (!event.finished) {
        return "not finished";
    }
    const std::int64_t length = event.end - event.start;
    return length < 1000 ? std::to_string(length) + " us"
                         : timeText(static_cast<double>(length) / 1e6);
}

const char* letterOf(TraceMark mark) {
    switch (mark) {
    case TraceMark::NONE:
        break;
    case TraceMark::WARNING:
        return "W";
    case TraceMark::ERROR:
        return "E";
    }
    return " ";
}

const char* colourOf(const TraceEvent& event) {
    if (event.mark == TraceMark::ERROR) {
        return RED;
    }
    const bool unpaired = event.kind == TraceEvent::EXIT_ONLY || !event.finished;
    return event.mark == TraceMark::WARNING || unpaired ? YELLOW : nullptr;
}

/// "3 calls", "1 call".
std::string counted(std::size_t count, const char* what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/// What there may be none of: ", 3 errors".
std::string further(std::size_t count, const char* what) {
    return count == 0 ? "" : ", " + counted(count, what);
}

} // namespace

std::string TreeText::coloured(const char* code, const std::string& text) const {
    return options.colours && code != nullptr ? inColour(code, text) : text;
}

void TreeText::print(const ThreadTrace& thread) {
    const auto isShown = [&](const TraceEvent& event) {
        return event.trouble || !options.onlyTrouble;
    };
    if (std::none_of(thread.events.begin(), thread.events.end(), isShown)) {
        return;
    }
    stream << coloured(BOLD, "process " + std::to_string(thread.process) + ", thread " +
                                 std::to_string(thread.thread))
           << "\n";
    shownDate.clear();
    for (const TraceEvent& event : thread.events) {
        if (isShown(event)) {
            print(event);
        }
    }
    stream << "\n";
}

void TreeText::print(const TraceEvent& event) {
    printDate(event.time);
    std::string clock = event.timed ? clockText(event.time) : "no time";
    for (const std::string& line : linesOf(harmless(*event.text))) {
        printLine(clock, event, line);
        clock.clear();
    }
}

/// The first line of an event has a time, further ones stand below its text.
void TreeText::printLine(const std::string& clock, const TraceEvent& event,
                         const std::string& text) {
    const bool first = !clock.empty();
    const std::size_t indent = 2 * std::size_t{std::min(event.depth, DEEPEST_INDENT)};
    stream << "  " << fitted(clock, CLOCK_WIDTH) << "  " << std::setw(LENGTH_WIDTH)
           << (first ? lengthOfCall(event) : "") << "  "
           << coloured(colourOf(event), first ? letterOf(event.mark) : " ") << " "
           << std::string(indent, ' ');
    if (first && event.depth > DEEPEST_INDENT) {
        stream << "(" << event.depth << ") ";
    }
    stream << coloured(colourOf(event), text);
    if (first && event.clockSetBack) {
        stream << coloured(YELLOW, "  (clock set back)");
    }
    stream << "\n";
}

void TreeText::printDate(std::int64_t time) {
    const std::string date = dateText(time);
    if (date != shownDate) {
        stream << "  " << date << "\n";
        shownDate = date;
    }
}

void TreeText::printSummary(const CallTree& tree, const TraceReader& reader) {
    const TraceCounts& counts = tree.counts();
    stream << counted(counts.messages, "message") << " of "
           << counted(tree.threads().size(), "thread") << ", " << counted(counts.calls, "call");
    if (counts.notFinished > 0) {
        stream << ", " << coloured(YELLOW, std::to_string(counts.notFinished) + " not finished");
    }
    if (counts.exitsOnly > 0) {
        stream << ", " << coloured(YELLOW, counted(counts.exitsOnly, "exit") + " without entry");
    }
    stream << coloured(RED, further(counts.errors, "error"))
           << coloured(YELLOW, further(counts.warnings, "warning")) << "\n";
    if (counts.clockSetBacks > 0) {
        stream << "times are estimates where the clock was set back ("
               << counted(counts.clockSetBacks, "time") << ")\n";
    }
    if (reader.notUnderstood() > 0) {
        stream << counted(reader.notUnderstood(), "line") << " not understood, the first in line "
               << reader.firstNotUnderstood() << "\n";
    }
    if (reader.endsEarly()) {
        stream << "the file ends within line " << reader.lines() << "\n";
    }
}

} // namespace kzfi_simhost
