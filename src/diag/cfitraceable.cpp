#include "cfitraceable.h"

#include "cfitracelog.h"

namespace kzfi_pdk_4_4 {

// Out of line: only here the trace log's class is complete.
CFiTraceable::CFiTraceable() = default;

CFiTraceable::~CFiTraceable() = default;

void CFiTraceable::registerTraceLog(const CFiTraceLogPtr& log) {
    traceLog = log;
}

} // namespace kzfi_pdk_4_4
