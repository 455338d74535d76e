// A working day under the eyes of the host: which operation it was that left something behind.
#include "context.h"

namespace kzfi_simhost {
namespace {

/// All operations, with texts that are called after the check; look() comes behind each.
void workingDay(CheckContext& c, const std::string& session,
                const std::function<void(const std::string& operation)>& look) {
    ProbeRequest request;
    request.node = c.start().nodes().first();
    request.alternate = c.stranger("another node");
    request.text = session;
    for (const Probe& probe : probes()) {
        c.ask(probe, request);
        look(probe.operation);
    }
}

void buffersComeBack(CheckContext& c) {
    workingDay(c, "watch.buffers",
               [&](const std::string& operation) { c.lookAtBuffers(operation); });
}

void referencesComeBack(CheckContext& c) {
    workingDay(c, "watch.references", [](const std::string&) {});
}

void traceIsPaired(CheckContext& c) {
    workingDay(c, "watch.trace", [](const std::string&) {});
    if (c.config().trace.level < 6) {
        c.skip(SkipReason::NOT_CONFIGURED, "trace.level 6");
    }
}

void surroundingsStay(CheckContext& c) {
    workingDay(c, "watch.environment",
               [&](const std::string& operation) { c.lookAround(operation); });
}

} // namespace

void addWatchChecks(std::vector<Check>& all) {
    all.push_back({"watch.buffers",
                   "Every buffer of the host's helpers is given back once, with its size, through "
                   "kzfi_free_buf, and not written to beyond its end.",
                   "Give back what kzfi_alloc_buf gave with the size that was asked for, and hand "
                   "it out or free it, never both.",
                   Needs::STARTED, buffersComeBack});
    all.push_back({"watch.references",
                   "Every reference to the trace log and the managers is given back.",
                   "Hold the trace log and the managers by smart pointer only, and let go of them "
                   "in fini or in the destructor.",
                   Needs::STARTED, referencesComeBack});
    all.push_back({"watch.trace", "Every traced entry has its exit, in each thread.",
                   "Open one CFiTraceLogFunction at the beginning of a function, as a local "
                   "object, and trace entries and exits by nothing else.",
                   Needs::STARTED, traceIsPaired});
    all.push_back({"watch.environment",
                   "Environment, working directory, umask, locale, signals, descriptors and "
                   "threads are after the provider's life what they were before it.",
                   "Leave what belongs to the whole process alone, open files with O_CLOEXEC and "
                   "close them, and join threads in fini.",
                   Needs::STARTED, surroundingsStay});
}

} // namespace kzfi_simhost
