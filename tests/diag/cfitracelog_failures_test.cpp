// The trace log's start and its lines when system calls fail, the disk is full or the folder is not
// writable.
#include <cerrno>
#include <string>
#include <vector>

#include "cfitracelog.h"
#include "support/disks.h"
#include "support/failing_calls.h"
#include "trace_fixture.h"

namespace {

namespace fs = std::filesystem;
using kzfi_tests::Call;
using kzfi_tests::Failing;
using kzfi_tests::Printed;
using kzfi_tests::readFile;
using kzfi_tests::SmallDisk;
using kzfi_tests::withoutPrivileges;
using testing::ElementsAre;
using testing::HasSubstr;

class TraceLogFailures : public kzfi_tests::TraceFixture {
  protected:
    std::string notInitialized(const std::string& file, const std::string& where) const {
        return "[CFiTraceLog] Error: Tracefile [" + file + "] initialization failed.[" + where;
    }
};

// ---- Start ----

TEST_F(TraceLogFailures, AStartWithoutAFileIsToldAndTheLogStaysOff) {
    configureLevel("00000003");
    Printed printed;
    {
        const Failing files(Call::OPEN, EMFILE);
        initialize(log);
    }
    EXPECT_THAT(printed.text(), HasSubstr(notInitialized(traceFile(), traceDir() + "][t]\n")));
    log.trace(1, "x");
    EXPECT_FALSE(fs::exists(traceFile()));
}

TEST_F(TraceLogFailures, AStartWithoutItsFolderIsToldAndTheLogStaysOff) {
    kzfi_tests::writeFile(configFile(), "[DEBUG_TRACE_INFO]\n\"TRACELEVEL\"=dword:00000003\n");
    Printed printed;
    {
        const Failing folders(Call::MKDIR, ENOSPC);
        initialize(log);
    }
    EXPECT_THAT(printed.text(), HasSubstr(notInitialized(defaultTraceFile(), "")));
    log.trace(1, "x");
    EXPECT_FALSE(fs::exists("/usr/tarnex/stoneleaf/logs/kwfis"));
}

TEST_F(TraceLogFailures, SettingsThatCannotBeReadLeaveTheLogOff) {
    configureLevel("00000003");
    Printed ignored;
    {
        const Failing files(Call::FOPEN, EMFILE);
        initialize(log);
    }
    log.trace(1, "x");
    EXPECT_EQ("", written());
    initialize(log);
    log.trace(1, "later");
    EXPECT_THAT(messages(), ElementsAre("later"));
}

TEST_F(TraceLogFailures, AStartInAFolderThatIsNotWritableIsTold) {
    configureLevel("00000003");
    EXPECT_TRUE(withoutPrivileges([this] {
        const kzfi_tests::ReadOnlyFolder closed(traceDir());
        Printed printed;
        initialize(log);
        log.trace(1, "x");
        EXPECT_THAT(printed.text(), HasSubstr(notInitialized(traceFile(), traceDir())));
        EXPECT_TRUE(fs::is_empty(traceDir()));
    }));
}

// ---- Lines ----

TEST_F(TraceLogFailures, OnlyTheLineOfAFailureIsLost) {
    start(3);
    const struct {
        Call call;
        int error;
    } failures[] = {{Call::OPEN, EMFILE},
                    {Call::OPEN, EACCES},
                    {Call::WRITE, ENOSPC},
                    {Call::WRITE, EIO},
                    {Call::WRITE, EAGAIN}};
    std::vector<std::string> expected;
    for (const auto& failure : failures) {
        {
            const Failing now(failure.call, failure.error);
            EXPECT_NO_THROW(log.trace(1, "lost"));
        }
        expected.push_back("after " + std::to_string(failure.error));
        log.trace(1, "%s", expected.back().c_str());
    }
    EXPECT_EQ(messages(), expected);
}

TEST_F(TraceLogFailures, AnInterruptedWriteIsRepeated) {
    start(3);
    const Failing once(Call::WRITE, EINTR, 1);
    log.trace(1, "x");
    EXPECT_THAT(messages(), ElementsAre("x"));
}

TEST_F(TraceLogFailures, LinesIntoAFolderThatIsNotWritableAreDropped) {
    start(3);
    fs::remove(traceFile());
    EXPECT_TRUE(withoutPrivileges([this] {
        const kzfi_tests::ReadOnlyFolder closed(traceDir());
        Printed printed;
        log.trace(1, "x");
        EXPECT_EQ(printed.text(), "");
    }));
    EXPECT_TRUE(fs::is_empty(traceDir()));
    log.trace(1, "later");
    EXPECT_THAT(messages(), ElementsAre("later"));
}

// A line is one write, of which the system takes what fits.
TEST_F(TraceLogFailures, AFullDiskCutsOneLineAndDropsTheOthers) {
    const SmallDisk disk;
    kzfi_tests::writeFile(configFile(), "[DEBUG_TRACE_INFO]\n\"TRACEDIR\"=\"" + disk.path("") +
                                            "\"\n\"TRACEFILE\"=\"t\"\n"
                                            "\"TRACELEVEL\"=dword:00000003\n");
    Printed ignored;
    initialize(log);
    const std::string rest(1000, 'x');
    constexpr int LINES = 100; // more than fit
    for (int line = 0; line < LINES; ++line) {
        log.trace(1, "%d %s", line, rest.c_str());
    }
    const std::string file = disk.path("t." + kzfi_tests::LocalTime::date());
    const std::string full = readFile(file);
    EXPECT_EQ(full.size(), SmallDisk::SIZE);
    const std::size_t end = full.rfind('\n') + 1;
    const std::vector<std::string> whole = messagesOf(full.substr(0, end));
    for (std::size_t line = 0; line < whole.size(); ++line) {
        EXPECT_EQ(whole[line], std::to_string(line) + " " + rest);
    }
    EXPECT_LT(50U, whole.size());
    EXPECT_LT(full.size() - end, 1100U) << "one line was cut";

    fs::remove(file);
    log.trace(1, "later");
    EXPECT_THAT(messagesOf(readFile(file)), ElementsAre("later"));
}

} // namespace
