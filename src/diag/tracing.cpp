#include "diag/tracing.h"

#include <cstring>

namespace kzfi_pdk_4_4 {

void traceTo(const CFiTraceLogPtr& log, int level, const char* format, ...) {
    if (log) {
        va_list arguments;
        va_start(arguments, format);
        log->vtrace(level, format, arguments);
        va_end(arguments);
    }
}

const char* sourceFileOf(const char* sourcePath) {
    if (sourcePath == nullptr) {
        return nullptr;
    }
    const char* slash = std::strrchr(sourcePath, '/');
    return slash != nullptr ? slash + 1 : "include/cfitracelog.h";
}

} // namespace kzfi_pdk_4_4
