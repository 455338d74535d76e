/* The host's portable C helpers, each a thin name for its plain C counterpart. */
#ifndef KZFI_PORTABLE_H
#define KZFI_PORTABLE_H

#include <stdarg.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

#ifdef __cplusplus
extern "C" {
#endif

/** vsnprintf: at most size bytes with the NUL; returns the length the whole text would have. */
__attribute__((format(printf, 3, 0))) static inline int
K_vsnprintf(char* buffer, size_t size, const char* format, va_list arguments) {
    return vsnprintf(buffer, size, format, arguments);
}

/** snprintf. */
__attribute__((format(printf, 3, 4))) static inline int K_snprintf(char* buffer, size_t size,
                                                                   const char* format, ...) {
    va_list arguments;
    int result;
    va_start(arguments, format);
    result = vsnprintf(buffer, size, format, arguments);
    va_end(arguments);
    return result;
}

/** sscanf. */
__attribute__((format(scanf, 2, 3))) static inline int K_sscanf(const char* text,
                                                                const char* format, ...) {
    va_list arguments;
    int result;
    va_start(arguments, format);
    result = vsscanf(text, format, arguments);
    va_end(arguments);
    return result;
}

/**
 * Copies at most size - 1 characters of source and always terminates; a size of 0 writes nothing.
 * Returns target.
 */
static inline char* K_strlncpy(char* target, const char* source, size_t size) {
    if (size > 0) {
        const char* const end = (const char*)memchr(source, '\0', size - 1);
        const size_t length = end ? (size_t)(end - source) : size - 1;
        memcpy(target, source, length);
        target[length] = '\0';
    }
    return target;
}

#if defined(__cplusplus) || defined(_POSIX_C_SOURCE)
/** localtime_r: the broken-down local time in *result, or null. Strict C does not declare it. */
static inline struct tm* K_localtime(const time_t* when, struct tm* result) {
    return localtime_r(when, result);
}
#endif

#ifdef __cplusplus
}
#endif

#endif
