#include "../trace/call_tree.h"
#include "host_watch.h"

namespace kzfi_simhost {
namespace {

void judge(const TraceEvent& event, std::vector<Finding>& found) {
    if (event.kind == TraceEvent::CALL && !event.finished) {
        found.push_back({true, "trace: " + *event.text + " was entered and never left"});
    } else if (event.kind == TraceEvent::EXIT_ONLY) {
        found.push_back({true, "trace: " + *event.text + " was left and never entered"});
    }
}

} // namespace

std::vector<Finding> unpaired(const std::string& traceFile) {
    TraceReader reader(traceFile);
    CallTree tree;
    for (TraceLine line; reader.next(line);) {
        tree.add(line);
    }
    tree.finish();
    std::vector<Finding> found;
    for (const ThreadTrace* const thread : tree.threads()) {
        for (const TraceEvent& event : thread->events) {
            judge(event, found);
        }
    }
    return found;
}

} // namespace kzfi_simhost
