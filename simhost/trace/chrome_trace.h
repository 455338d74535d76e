// A call tree as a file that trace viewers open.
#ifndef KZFI_SIMHOST_CHROME_TRACE_H
#define KZFI_SIMHOST_CHROME_TRACE_H

#include <ostream>

#include "call_tree.h"

namespace kzfi_simhost {

/// Writes the tree as a JSON array of events, in the form that is called "Trace Event Format"
/// (chrome://tracing, ui.perfetto.dev): complete events ("X") for calls, instant events ("i") for
/// lines, metadata ("M") for names. Times are microseconds since the earliest line of the trace.
/// A call that is not finished lasts as long as the call around it, or to its thread's last line,
/// and says so in its arguments.
void writeChromeTrace(std::ostream& out, const CallTree& tree);

} // namespace kzfi_simhost

#endif
