// The calls of a trace, thread by thread: entry and exit lines put together, with what was traced
// in between.
#ifndef KZFI_SIMHOST_CALL_TREE_H
#define KZFI_SIMHOST_CALL_TREE_H

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "trace_reader.h"

namespace kzfi_simhost {

enum class TraceMark { NONE, WARNING, ERROR };

/// A trace file does not say at which level a line was written. What counts is the text: ERROR or
/// WARNING as a word, in capitals, or "Error:" or "Warning:".
TraceMark markOf(const std::string& text);

/// "initNode" of "initNode [42, cfipluginbase.cpp]"; all of it where there is no place.
std::string functionOf(const std::string& call);

/// A call, or a line between calls.
struct TraceEvent {
    enum Kind {
        CALL,       ///< text: "initNode [42, cfipluginbase.cpp]"
        ENTRY_ONLY, ///< a call of a function that traces no exit
        EXIT_ONLY,  ///< an exit without its entry
        LINE
    };

    std::int64_t time = 0;  ///< what the line says
    std::int64_t start = 0; ///< the same, but never before that of the thread's event before it
    std::int64_t end = 0; ///< on the scale of start; of a call not finished, the last that is known
    const std::string* text = nullptr; ///< the tree's
    std::uint32_t depth = 0;           ///< the calls around it
    Kind kind = LINE;
    TraceMark mark = TraceMark::NONE;
    bool timed = true;
    bool finished = true;      ///< false: a call without its exit
    bool clockSetBack = false; ///< its line, or a call's exit, is earlier than the thread's before
    /// Shown when only errors are: a marked line, an exit or a call that lacks its other half, and
    /// the calls around these.
    bool trouble = false;
};

struct ThreadTrace {
    std::uint64_t process = 0;
    std::uint32_t thread = 0;
    /// In the order of the file. What an event's call holds are the events behind it that lie
    /// deeper.
    std::vector<TraceEvent> events;
};

struct TraceCounts {
    std::size_t messages = 0;
    std::size_t calls = 0;
    std::size_t notFinished = 0;
    std::size_t exitsOnly = 0;
    std::size_t errors = 0;
    std::size_t warnings = 0;
    std::size_t clockSetBacks = 0;
};

/// Takes the messages of a trace in their order:
///
///     CallTree tree;
///     for (TraceLine line; reader.next(line);) { tree.add(line); }
///     tree.finish();
///
/// An exit closes the innermost open call of its function; calls within that one which are still
/// open then stay unfinished. Equal texts are kept once.
class CallTree {
  public:
    CallTree() = default;
    CallTree(const CallTree&) = delete;
    CallTree& operator=(const CallTree&) = delete;

    void add(const TraceLine& line);
    /// Says that no more comes.
    void finish();

    /// Complete after finish(): those of one process together, otherwise as they first appear.
    const std::vector<const ThreadTrace*>& threads() const { return order; }
    const TraceCounts& counts() const { return total; }

  private:
    struct OpenCall {
        std::size_t event;           ///< its place among the thread's events
        const std::string* whole;    ///< function and place
        const std::string* function; ///< the function alone
    };
    struct Thread {
        ThreadTrace trace;
        std::vector<OpenCall> open;
        /// How many of them are of this text, function and place or function alone.
        std::unordered_map<const std::string*, std::size_t> openTexts;
        std::int64_t lastTime = 0;
        std::int64_t shift = 0;
    };

    Thread& threadOf(const TraceLine& line);
    const std::string* kept(const std::string& text);
    TraceEvent& append(Thread& thread, const TraceLine& line, const std::string& text,
                       TraceEvent::Kind kind);
    void addEntry(Thread& thread, const TraceLine& line, const std::string& call);
    void addExit(Thread& thread, const TraceLine& line, const std::string& call);
    void addText(Thread& thread, const TraceLine& line, const std::string& text);
    void closeInnermost(Thread& thread, bool finished);
    void markTrouble(Thread& thread);

    std::deque<Thread> all;
    std::map<std::pair<std::uint64_t, std::uint32_t>, Thread*> places;
    std::unordered_set<std::string> texts;
    std::vector<const ThreadTrace*> order;
    TraceCounts total;
};

} // namespace kzfi_simhost

#endif
