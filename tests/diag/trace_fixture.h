// A product and a plug-in configuration of the test's own, and tiny verbs around a trace log.
#ifndef KZFI_TESTS_DIAG_TRACE_FIXTURE_H
#define KZFI_TESTS_DIAG_TRACE_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "cfitracelog.h"
#include "support/product_paths.h"
#include "support/temp_dir.h"
#include "support/throwing_host.h"

namespace kzfi_tests {

/// Moves local time: it is noon, and can be made past midnight of the next day. The time zone is
/// put back at the end.
class LocalTime {
  public:
    LocalTime()
        : old(std::getenv("TZ") != nullptr ? std::getenv("TZ") : ""),
          hours(utcHour() - 12) {
        setZone(hours);
    }
    LocalTime(const LocalTime&) = delete;
    LocalTime& operator=(const LocalTime&) = delete;
    ~LocalTime() {
        old.empty() ? unsetenv("TZ") : setenv("TZ", old.c_str(), 1);
        tzset();
    }

    void nextDay() { setZone(hours - 12); }
    void sameDay() { setZone(hours); }

    /// MMDDYY
    static std::string date() {
        const std::time_t now = std::time(nullptr);
        char text[16];
        struct tm local;
        std::strftime(text, sizeof text, "%m%d%Y", localtime_r(&now, &local));
        return std::string(text).erase(4, 2);
    }

  private:
    static int utcHour() {
        const std::time_t now = std::time(nullptr);
        struct tm utc;
        return gmtime_r(&now, &utc)->tm_hour;
    }
    static void setZone(int hoursWest) {
        setenv("TZ", ("TST" + std::to_string(hoursWest)).c_str(), 1);
        tzset();
    }

    const std::string old;
    const int hours;
};

/// What is printed to standard output while it lives.
class Printed {
  public:
    Printed() { testing::internal::CaptureStdout(); }
    Printed(const Printed&) = delete;
    Printed& operator=(const Printed&) = delete;
    ~Printed() {
        if (!taken) {
            testing::internal::GetCapturedStdout();
        }
    }
    std::string text() {
        taken = true;
        return testing::internal::GetCapturedStdout();
    }

  private:
    bool taken = false;
};

/// The plug-in is called "plug"; its traces go to the file "t" below a folder of the test.
class TraceFixture : public testing::Test {
  protected:
    void SetUp() override {
        KZFI_NEEDS_PRIVATE_USR();
        std::filesystem::create_directories("/usr/tarnex/stoneleaf/logs");
        std::filesystem::create_directories(temp.path("lib/kzfi/configfiles"));
        std::filesystem::create_directories(traceDir());
        kzfi_platform_set_install_root(temp.path().c_str());
    }
    void TearDown() override { throwCFiErrorFromHost(0); }

    // ---- Where things are ----

    std::string traceDir() const { return temp.path("traces"); }
    std::string traceFile() const { return traceDir() + "/t." + LocalTime::date(); }
    std::string configFile() const { return temp.path("lib/kzfi/configfiles/plug.conf"); }
    static std::string mainFile() { return "/usr/tarnex/stoneleaf/kw.conf"; }
    static std::string defaultTraceFile() {
        return "/usr/tarnex/stoneleaf/logs/kwfis//plug.log." + LocalTime::date();
    }

    // ---- Files ----

    void configure(const std::string& keys) {
        writeFile(configFile(), "[DEBUG_TRACE_INFO]\n" + keys);
    }
    // Traces to traceFile() at a level.
    void configureLevel(const std::string& hexLevel, const std::string& more = "") {
        configure("\"TRACEDIR\"=\"" + traceDir() +
                  "\"\n\"TRACEFILE\"=\"t\"\n\"TRACELEVEL\"=dword:" + hexLevel + "\n" + more);
    }
    static void setMainFile(const std::string& text) { writeFile(mainFile(), text); }
    std::string written() const { return readFile(traceFile()); }

    // ---- The log ----

    void initialize(kzfi_pdk_4_4::CFiTraceLog& target, int level = 3, bool echo = false) {
        target.initialize("plug", "", "", level, echo);
    }
    // A log that is set up and traces at level; what it prints is thrown away.
    void start(int level, bool echo = false, const std::string& more = "") {
        configureLevel(std::to_string(level), more);
        Printed ignored;
        initialize(log, level, echo);
    }

    // ---- Lines ----

    // Behind the time stamp of a line of this thread.
    static std::string origin() {
        return "<Pid - " + std::to_string(getpid()) + " / Thread id - " + threadId() + "> ";
    }
    static std::string threadId() {
        return std::to_string(static_cast<std::uint32_t>(pthread_self()));
    }
    // The text without its first occurrence of a time stamp; fails without one.
    static std::string withoutTime(const std::string& text, std::size_t at = 0) {
        const std::string form = "dddd-dd-dd dd:dd:dd.dddddd";
        if (text.size() < at + form.size()) {
            ADD_FAILURE() << "no room for a time stamp: " << text;
            return text;
        }
        for (std::size_t i = 0; i < form.size(); ++i) {
            const char c = text[at + i];
            const bool fits = form[i] == 'd' ? c >= '0' && c <= '9' : c == form[i];
            if (!fits) {
                ADD_FAILURE() << "no time stamp: " << text;
                return text;
            }
        }
        return text.substr(0, at) + text.substr(at + form.size());
    }
    // The messages of the trace file, each line checked for its head.
    std::vector<std::string> messages() const { return messagesOf(written()); }
    static std::vector<std::string> messagesOf(const std::string& text) {
        std::vector<std::string> found;
        std::size_t start = 0;
        for (std::size_t end = text.find('\n'); end != std::string::npos;
             end = text.find('\n', start)) {
            const std::string line = withoutTime(text.substr(start, end - start));
            const std::string head = " " + origin();
            EXPECT_EQ(head, line.substr(0, head.size()));
            found.push_back(line.substr(std::min(head.size(), line.size())));
            start = end + 1;
        }
        EXPECT_EQ(text.size(), start) << "the last line is not ended";
        return found;
    }

    EmptyProduct product;
    TempDir temp;
    LocalTime localTime;
    kzfi_pdk_4_4::CFiTraceLog log;
};

} // namespace kzfi_tests

#endif
