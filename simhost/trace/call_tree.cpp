#include "call_tree.h"

#include <algorithm>
#include <cctype>

#include "../text_tools.h"

namespace kzfi_simhost {
namespace {

const std::string ENTERING = "Entering Function ";
const std::string EXIT = "Exiting Function ";

bool isWordPart(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

/// Whether text holds word with no letter, digit or underscore at its ends, where word has them.
bool holdsWord(const std::string& text, const std::string& word) {
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
        const std::size_t behind = at + word.size();
        const bool opens = at == 0 || !isWordPart(text[at - 1]);
        const bool closes =
            !isWordPart(word.back()) || behind == text.size() || !isWordPart(text[behind]);
        if (opens && closes) {
            return true;
        }
    }
    return false;
}

/// The interposer's own importNode() traces its entry alone.
bool hasNoExit(const std::string& call) {
    const std::size_t place = call.rfind(", ");
    return functionOf(call) == "importNode" && place != std::string::npos &&
           startsWith(call.substr(place + 2), "cfiplugininterposer");
}

} // namespace

std::string functionOf(const std::string& call) {
    const std::size_t place = call.rfind(" [");
    return place != std::string::npos && call.back() == ']' ? call.substr(0, place) : call;
}

TraceMark markOf(const std::string& text) {
    if (holdsWord(text, "ERROR") || holdsWord(text, "Error:")) {
        return TraceMark::ERROR;
    }
    return holdsWord(text, "WARNING") || holdsWord(text, "Warning:") ? TraceMark::WARNING
                                                                     : TraceMark::NONE;
}

CallTree::Thread& CallTree::threadOf(const TraceLine& line) {
    Thread*& place = places[{line.process, line.thread}];
    if (place == nullptr) {
        place = &all.emplace_back();
        place->trace.process = line.process;
        place->trace.thread = line.thread;
        place->lastTime = line.time;
    }
    return *place;
}

const std::string* CallTree::kept(const std::string& text) {
    return &*texts.insert(text).first;
}

void CallTree::add(const TraceLine& line) {
    ++total.messages;
    Thread& thread = threadOf(line);
    const std::size_t firstEnd = line.text.find('\n');
    const std::string first = line.text.substr(0, firstEnd);
    if (startsWith(first, ENTERING)) {
        addEntry(thread, line, first.substr(ENTERING.size()));
    } else if (startsWith(first, EXIT)) {
        addExit(thread, line, first.substr(EXIT.size()));
    } else {
        addText(thread, line, line.text);
        return;
    }
    if (firstEnd != std::string::npos) {
        addText(thread, line, line.text.substr(firstEnd + 1));
    }
}

TraceEvent& CallTree::append(Thread& thread, const TraceLine& line, const std::string& text,
                             TraceEvent::Kind kind) {
    TraceEvent event;
    event.clockSetBack = line.time < thread.lastTime;
    if (event.clockSetBack) {
        ++total.clockSetBacks;
        thread.shift += thread.lastTime - line.time;
    }
    thread.lastTime = line.time;
    event.time = line.time;
    event.start = event.end = line.time + thread.shift;
    event.timed = line.timed;
    event.text = kept(text);
    event.depth = static_cast<std::uint32_t>(thread.open.size());
    event.kind = kind;
    return thread.trace.events.emplace_back(event);
}

void CallTree::addEntry(Thread& thread, const TraceLine& line, const std::string& call) {
    ++total.calls;
    if (hasNoExit(call)) {
        append(thread, line, call, TraceEvent::ENTRY_ONLY);
        return;
    }
    TraceEvent& event = append(thread, line, call, TraceEvent::CALL);
    event.finished = false;
    const OpenCall open = {thread.trace.events.size() - 1, event.text, kept(functionOf(call))};
    thread.open.push_back(open);
    ++thread.openTexts[open.whole];
    if (open.function != open.whole) {
        ++thread.openTexts[open.function];
    }
}

void CallTree::addExit(Thread& thread, const TraceLine& line, const std::string& call) {
    // With line 0 in its hands the kit names the function alone.
    const std::string* const text = kept(call);
    TraceEvent& event = append(thread, line, call, TraceEvent::EXIT_ONLY);
    const auto count = thread.openTexts.find(text);
    if (count == thread.openTexts.end() || count->second == 0) {
        ++total.exitsOnly;
        event.trouble = true;
        markTrouble(thread);
        return;
    }
    const bool setBack = event.clockSetBack;
    const std::int64_t time = event.start;
    thread.trace.events.pop_back();
    const auto isMeant = [&] {
        return thread.open.back().whole == text || thread.open.back().function == text;
    };
    while (!isMeant()) {
        thread.trace.events[thread.open.back().event].end = time;
        closeInnermost(thread, false);
    }
    TraceEvent& closed = thread.trace.events[thread.open.back().event];
    closed.end = time;
    closed.clockSetBack = closed.clockSetBack || setBack;
    closeInnermost(thread, true);
}

void CallTree::addText(Thread& thread, const TraceLine& line, const std::string& text) {
    TraceEvent& event = append(thread, line, text, TraceEvent::LINE);
    event.mark = markOf(text);
    if (event.mark != TraceMark::NONE) {
        ++(event.mark == TraceMark::ERROR ? total.errors : total.warnings);
        event.trouble = true;
        markTrouble(thread);
    }
}

void CallTree::closeInnermost(Thread& thread, bool finished) {
    const OpenCall call = thread.open.back();
    thread.open.pop_back();
    --thread.openTexts[call.whole];
    if (call.function != call.whole) {
        --thread.openTexts[call.function];
    }
    TraceEvent& event = thread.trace.events[call.event];
    event.finished = finished;
    if (!finished) {
        ++total.notFinished;
        event.trouble = true;
        markTrouble(thread);
    }
}

/// The calls around one that is marked are marked already.
void CallTree::markTrouble(Thread& thread) {
    for (auto call = thread.open.rbegin(); call != thread.open.rend(); ++call) {
        TraceEvent& event = thread.trace.events[call->event];
        if (event.trouble) {
            return;
        }
        event.trouble = true;
    }
}

void CallTree::finish() {
    std::unordered_map<std::uint64_t, std::size_t> ranks;
    for (Thread& thread : all) {
        ranks.emplace(thread.trace.process, ranks.size());
        while (!thread.open.empty()) {
            thread.trace.events[thread.open.back().event].end = thread.lastTime + thread.shift;
            closeInnermost(thread, false);
        }
        order.push_back(&thread.trace);
    }
    std::stable_sort(order.begin(), order.end(), [&](const auto* left, const auto* right) {
        return ranks.at(left->process) < ranks.at(right->process);
    });
}

} // namespace kzfi_simhost
