// What the tests of the child process runner share.
#ifndef KZFI_TESTS_EXEC_FIXTURE_H
#define KZFI_TESTS_EXEC_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "cfiexecpipe.h"
#include "support/temp_dir.h"
#include "support/trace_capture.h"

namespace kzfi_tests {

using Texts = std::vector<std::string>;
using Lines = std::vector<TracedLine>;
using Clock = std::chrono::steady_clock;

inline double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

inline void pauseFor(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

/// The command line that has the shell run text, which holds no single quote.
inline std::string shell(const std::string& text) {
    return "/bin/sh -c '" + text + "'";
}

inline std::string joined(const Texts& texts) {
    std::string all;
    for (const std::string& text : texts) {
        all += text;
    }
    return all;
}

/// What waitpid() answers, as the runner traces it.
inline TracedLine gotStatus(int status) {
    return {6, "CFiExecPipePosix::WaitPid : waitpid got status " + std::to_string(status)};
}

/// The lines of a command that ends with a status other than 0.
inline Lines exited(int status) {
    return {gotStatus(status << 8), {2, "Command exited with status " + std::to_string(status)}};
}

/// The lines of a command that a signal ends.
inline Lines killed(int signal) {
    return {gotStatus(signal), {2, "Command terminated by signal " + std::to_string(signal)}};
}

/// The lines of a child that failed before its program ran.
inline Lines failedInChild(const std::string& text) {
    return {{1, "CFiExecPipePosix::ExecPipe ERROR: " + text},
            gotStatus(1 << 8),
            {2, "Command exited with status 1"}};
}

inline std::size_t openDescriptors() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

/// A runner whose lines are captured.
class ExecTest : public testing::Test {
  protected:
    ExecTest() { runner.registerTraceLog(trace.log()); }

    /// Runs command with a limit of silence in seconds.
    int run(const std::string& command, unsigned long timeout = 20,
            const std::string& inputFile = "") {
        return runner.ExecMain(command, output, inputFile, timeout, "", "", "");
    }

    int runOnFile(const std::string& command, const std::string& content) {
        writeFile(temp.path("input"), content);
        return run(command, 20, temp.path("input"));
    }

    int start(const std::string& command) { return runner.ExecPipe(command, ""); }

    /// The next line, or "" when there is none.
    std::string readLine(long timeout = 20, int size = 8191) {
        std::vector<char> buffer(static_cast<std::size_t>(size) + 1, 'z');
        got = runner.ReadLine(buffer.data(), size, &timedOut, timeout);
        return got ? buffer.data() : "";
    }

    void expectRecord(const std::string& command, int code, int detail,
                      const std::wstring& message) {
        const kzfi_pdk_4_4::EFiExecPipe record = runner.getLastError();
        EXPECT_EQ(record.command, command);
        EXPECT_EQ(record.code, code);
        EXPECT_EQ(record.detail, detail);
        EXPECT_EQ(record.message, message);
    }

    TempDir temp;
    TraceCapture trace;
    kzfi_pdk_4_4::CFiExecPipePosix runner{0};
    Texts output;
    bool got = false;
    unsigned char timedOut = 0;
};

} // namespace kzfi_tests

#endif
