#include "diag/tracing.h"

namespace kzfi_pdk_4_4 {

CFiTraceLogFunction::CFiTraceLogFunction(const CFiTraceLogPtr& log, const char* function, int line,
                                         const char* sourcePath)
    : traceLog(log),
      functionName(function),
      lineNumber(line),
      fileName(sourceFileOf(sourcePath)) {
    if (functionName != nullptr && fileName != nullptr) {
        traceTo(traceLog, TRACE_FUNCTION, "Entering Function %s [%d, %s]", functionName, lineNumber,
                fileName);
    }
}

CFiTraceLogFunction::~CFiTraceLogFunction() {
    if (functionName == nullptr || fileName == nullptr) {
        return;
    }
    try {
        if (lineNumber != 0) {
            traceTo(traceLog, TRACE_FUNCTION, "Exiting Function %s [%d, %s]", functionName,
                    lineNumber, fileName);
        } else {
            traceTo(traceLog, TRACE_FUNCTION, "Exiting Function %s", functionName);
        }
    } catch (...) {
        // What a handler or the configuration throws must not leave a destructor.
    }
}

} // namespace kzfi_pdk_4_4
