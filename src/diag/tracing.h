// How the kit's own code traces: through these two, which do nothing without a trace log.
#ifndef KZFI_DIAG_TRACING_H
#define KZFI_DIAG_TRACING_H

#include "cfitracelog.h"

namespace kzfi_pdk_4_4 {

/// Trace levels that the kit writes at.
enum TraceLevel { TRACE_ERROR = 1, TRACE_WARNING = 2, TRACE_INFO = 3, TRACE_FUNCTION = 6 };

/// Traces one line to log when there is one.
void traceTo(const CFiTraceLogPtr& log, int level, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

/// The part of a source path behind its last slash; null for null. A path without a slash gives the
/// trace log's own header, on purpose.
const char* sourceFileOf(const char* sourcePath);

} // namespace kzfi_pdk_4_4

/// Traces the entry of the enclosing function to log now and its exit when the scope ends. The
/// file name is the part of __FILE__ behind its last slash.
#define KZFI_TRACE_SCOPE(log)                                                                      \
    const ::kzfi_pdk_4_4::CFiTraceLogFunction kzfiTraceScope(log, __func__, __LINE__, __FILE__)

#endif
