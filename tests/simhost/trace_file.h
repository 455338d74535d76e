// Trace files for tests, written line by line.
#ifndef KZFI_TESTS_TRACE_FILE_H
#define KZFI_TESTS_TRACE_FILE_H

#include <string>

namespace kzfi_tests {

/// A line as the trace log writes it, on one day: clock is "12:00:00.000001".
inline std::string traced(const std::string& clock, const std::string& text, int thread = 1,
                          int process = 100) {
    return "2026-11-20 " + clock + " <Pid - " + std::to_string(process) + " / Thread id - " +
           std::to_string(thread) + "> " + text + "\n";
}

} // namespace kzfi_tests

#endif
