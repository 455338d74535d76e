#include "chrome_trace.h"

#include <algorithm>
#include <limits>
#include <set>

#include "../json.h"

namespace kzfi_simhost {
namespace {

/// Of a text that is the name of an event; all of it stands in the arguments.
const std::size_t LONGEST_EVENT_NAME = 120;

class Writer {
  public:
    Writer(std::ostream& out, std::int64_t originTime) : stream(out), origin(originTime) {}

    void thread(const ThreadTrace& trace) {
        current = &trace;
        if (named.insert(trace.process).second) {
            name("process_name", "process " + std::to_string(trace.process));
        }
        name("thread_name", "thread " + std::to_string(trace.thread));
        for (const TraceEvent& event : trace.events) {
            write(toJson(event));
        }
    }

    void write(const Json& event) {
        stream << (first ? "[\n" : ",\n") << oneLine(event);
        first = false;
    }

    void end() { stream << (first ? "[" : "") << "\n]\n"; }

  private:
    void name(const char* what, const std::string& value) {
        Json event = {{"name", what}, {"ph", "M"}};
        addPlace(event);
        event["args"]["name"] = value;
        write(event);
    }

    void addPlace(Json& event) const {
        event["pid"] = current->process;
        event["tid"] = current->thread;
    }

    Json toJson(const TraceEvent& event) const {
        const bool isCall = event.kind == TraceEvent::CALL;
        const std::string& text = *event.text;
        Json json;
        json["name"] = nameOf(event);
        json["cat"] = categoryOf(event);
        json["ph"] = isCall ? "X" : "i";
        json["ts"] = event.start - origin;
        if (isCall) {
            json["dur"] = event.end - event.start;
        } else {
            json["s"] = "t";
        }
        addPlace(json);
        if (event.mark == TraceMark::ERROR) {
            json["cname"] = "terrible";
        } else if (event.mark == TraceMark::WARNING) {
            json["cname"] = "bad";
        }
        json["args"]["text"] = text;
        if (event.timed) {
            json["args"]["time"] = dateText(event.time) + " " + clockText(event.time);
        }
        if (!event.finished) {
            json["args"]["finished"] = false;
        }
        return json;
    }

    static std::string nameOf(const TraceEvent& event) {
        const std::string& text = *event.text;
        if (event.kind != TraceEvent::LINE) {
            return functionOf(text);
        }
        std::size_t end = std::min(text.find('\n'), LONGEST_EVENT_NAME);
        // A character is not cut in two.
        while (end < text.size() && end > 0 && (text[end] & 0xC0) == 0x80) {
            --end;
        }
        return text.substr(0, end);
    }

    static const char* categoryOf(const TraceEvent& event) {
        switch (event.kind) {
        case TraceEvent::CALL:
            return event.finished ? "call" : "call,not finished";
        case TraceEvent::ENTRY_ONLY:
            return "entry";
        case TraceEvent::EXIT_ONLY:
            return "exit";
        case TraceEvent::LINE:
            break;
        }
        if (event.mark == TraceMark::NONE) {
            return "line";
        }
        return event.mark == TraceMark::ERROR ? "line,error" : "line,warning";
    }

    std::ostream& stream;
    const std::int64_t origin;
    const ThreadTrace* current = nullptr;
    std::set<std::uint64_t> named;
    bool first = true;
};

std::int64_t earliest(const CallTree& tree) {
    std::int64_t time = std::numeric_limits<std::int64_t>::max();
    for (const ThreadTrace* thread : tree.threads()) {
        if (!thread->events.empty()) {
            time = std::min(time, thread->events.front().start);
        }
    }
    return time;
}

} // namespace

void writeChromeTrace(std::ostream& out, const CallTree& tree) {
    Writer writer(out, earliest(tree));
    for (const ThreadTrace* thread : tree.threads()) {
        writer.thread(*thread);
    }
    writer.end();
}

} // namespace kzfi_simhost
