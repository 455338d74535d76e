#include "diag/tracing.h"

namespace kzfi_pdk_4_4 {

void traceTo(const CFiTraceLogPtr& log, int level, const char* format, ...) {
    if (log) {
        va_list arguments;
        va_start(arguments, format);
        log->vtrace(level, format, arguments);
        va_end(arguments);
    }
}

} // namespace kzfi_pdk_4_4
