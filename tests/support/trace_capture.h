// A trace log whose lines a test reads back.
#ifndef KZFI_TESTS_TRACE_CAPTURE_H
#define KZFI_TESTS_TRACE_CAPTURE_H

#include <ostream>
#include <string>
#include <vector>

#include "cfitracelog.h"

namespace kzfi_tests {

/// One traced line without its time and thread.
struct TracedLine {
    int level;
    std::string text;

    bool operator==(const TracedLine& other) const {
        return level == other.level && text == other.text;
    }
};

/// Collects what is written to its log; one capture at a time. Nothing guards the lines: only the
/// thread that has the capture may trace meanwhile.
class TraceCapture {
  public:
    explicit TraceCapture(int level = 6) : traceLog(new kzfi_pdk_4_4::CFiTraceLog) {
        collected().clear();
        traceLog->registerLogHandler(&TraceCapture::collect, level);
    }
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;
    ~TraceCapture() { traceLog->unregisterLogHandler(); }

    const kzfi_pdk_4_4::CFiTraceLogPtr& log() const { return traceLog; }

    /// All lines since the last call.
    std::vector<TracedLine> all() {
        std::vector<TracedLine> lines;
        lines.swap(collected());
        return lines;
    }

    /// The lines since the last call, without entries and exits of functions.
    std::vector<TracedLine> lines() {
        std::vector<TracedLine> kept;
        for (const TracedLine& line : all()) {
            if (!isScope(line)) {
                kept.push_back(line);
            }
        }
        return kept;
    }

    static bool isScope(const TracedLine& line) {
        return line.text.rfind("Entering Function ", 0) == 0 ||
               line.text.rfind("Exiting Function ", 0) == 0;
    }

  private:
    static std::vector<TracedLine>& collected() {
        static std::vector<TracedLine> lines;
        return lines;
    }

    static void collect(const char* line, int level) {
        const std::string text(line);
        const std::size_t mark = text.find("> ");
        collected().push_back(
            {level, mark != text.npos ? text.substr(mark + 2) : "BROKEN " + text});
    }

    kzfi_pdk_4_4::CFiTraceLogPtr traceLog;
};

inline void PrintTo(const TracedLine& line, std::ostream* out) {
    *out << line.level << ": " << line.text;
}

} // namespace kzfi_tests

#endif
