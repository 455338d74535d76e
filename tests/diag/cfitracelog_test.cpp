#include "cfitracelog.h"

#include <ace/ACE.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <future>
#include <mutex>
#include <new>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "cfierrormgr.h"
#include "support/failing_memory.h"
#include "system_calls.h"
#include "trace_fixture.h"

using namespace kzfi_pdk_4_4;
using kzfi_tests::JumpingClock;
using kzfi_tests::LocalTime;
using kzfi_tests::Printed;
using kzfi_tests::readFile;
using kzfi_tests::writeFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
namespace fs = std::filesystem;

namespace {

struct PushedText {
    std::string text;
    int severity;
};

class TextCollector : public CFiErrorHandlerBase {
  public:
    void handleMessage(CFiMessagePtr) override { ++messages; }
    void handleText(const char* text, kfi_eseverity severity) override {
        texts.push_back({text, severity});
    }

    std::vector<PushedText> texts;
    int messages = 0;
};

// Allocates nothing.
class Counter : public CFiErrorHandlerBase {
  public:
    void handleMessage(CFiMessagePtr) override {}
    void handleText(const char*, kfi_eseverity) override { ++texts; }

    int texts = 0;
};

class Thrower : public CFiErrorHandlerBase {
  public:
    void handleMessage(CFiMessagePtr) override {}
    void handleText(const char*, kfi_eseverity) override { throw std::bad_alloc(); }
};

struct HandledLine {
    std::string text;
    int level;
};

// The same call unchecked by the compiler.
void (CFiTraceLog::*const anyFormat)(int, const char*, ...) = &CFiTraceLog::trace;

class CFiTraceLogTest : public kzfi_tests::TraceFixture {
  protected:
    CFiTraceLogTest() { handled().clear(); }

    static std::vector<HandledLine>& handled() {
        static std::vector<HandledLine> lines;
        return lines;
    }
    static void handle(const char* line, int level) { handled().push_back({line, level}); }

    void linkErrorManager() {
        CFiErrorManagerPtr manager(new CFiErrorManager);
        manager->registerHandler(&pushed);
        log.setErrorManager(manager);
    }
    // The text pushed last, without its time stamp behind the owner's name.
    std::string lastPushed(const std::string& owner = "plug") const {
        return withoutTime(pushed.texts.back().text, owner.size() + 1);
    }
    static std::string copyOf(const std::string& message) {
        return "plug: <Thread id - " + threadId() + "> " + message + "\n";
    }
    void traceList(int level, const char* format, ...) __attribute__((format(printf, 3, 4))) {
        va_list arguments;
        va_start(arguments, format);
        log.vtrace(level, format, arguments);
        va_end(arguments);
    }
    static int openDescriptors() {
        return static_cast<int>(std::distance(fs::directory_iterator("/proc/self/fd"), {}));
    }

    TextCollector pushed;
};

// ---- A line ----

TEST_F(CFiTraceLogTest, LineHasTimeProcessThreadAndMessage) {
    start(3);
    log.trace(3, "%s is %d", "answer", 42);
    EXPECT_EQ(" <Pid - " + std::to_string(getpid()) + " / Thread id - " + threadId() +
                  "> answer is 42\n",
              withoutTime(written()));
}

TEST_F(CFiTraceLogTest, TimeIsWrittenAsACEWritesIt) {
    start(3);
    for (int line = 0; line < 100; ++line) {
        fs::remove(traceFile());
        char before[128];
        char after[128];
        ASSERT_NE(nullptr, ACE::timestamp(before, sizeof before));
        log.trace(1, "x");
        ASSERT_NE(nullptr, ACE::timestamp(after, sizeof after));
        const std::string time = written().substr(0, written().find(" <Pid"));
        EXPECT_EQ(std::strlen(before), time.size());
        EXPECT_LE(before, time);
        EXPECT_LE(time, after);
    }
    EXPECT_EQ(" 12:", written().substr(10, 4)) << "local time";
}

TEST_F(CFiTraceLogTest, ChildWritesItsOwnProcessId) {
    start(3);
    log.trace(1, "parent");
    const pid_t child = fork();
    if (child == 0) {
        log.trace(1, "child");
        _exit(0);
    }
    ASSERT_LT(0, child);
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    log.trace(1, "parent again");
    EXPECT_THAT(written(), HasSubstr("<Pid - " + std::to_string(child) + " / Thread id - " +
                                     threadId() + "> child\n"));
    EXPECT_THAT(written(), HasSubstr(origin() + "parent\n"));
    EXPECT_THAT(written(), HasSubstr(origin() + "parent again\n"));
}

TEST_F(CFiTraceLogTest, LinesFollowEachOther) {
    start(3);
    log.trace(1, "one");
    log.trace(2, "%s", "two");
    log.trace(3, "three");
    EXPECT_THAT(messages(), ElementsAre("one", "two", "three"));
}

TEST_F(CFiTraceLogTest, ArgumentsMayComeAsAList) {
    start(3);
    traceList(1, "%s %d %s", "a", 7, std::string(2000, 'x').c_str());
    EXPECT_THAT(messages(), ElementsAre("a 7 " + std::string(2000, 'x')));
}

TEST_F(CFiTraceLogTest, NoFormatIsNoLineButAnEmptyMessageIsOne) {
    start(3);
    linkErrorManager();
    (log.*anyFormat)(1, nullptr);
    (log.*anyFormat)(1, "");
    EXPECT_EQ("", written());
    EXPECT_THAT(pushed.texts, IsEmpty());
    log.trace(1, "%s", "");
    EXPECT_THAT(messages(), ElementsAre(""));
    EXPECT_EQ(1U, pushed.texts.size());
}

TEST_F(CFiTraceLogTest, LogThatIsOffDoesNothing) {
    start(0, true);
    linkErrorManager();
    Printed printed;
    log.trace(0, "not above the log's level");
    log.trace(-5, "x");
    EXPECT_EQ("", printed.text());
    EXPECT_THAT(pushed.texts, IsEmpty());
    EXPECT_TRUE(fs::is_empty(traceDir()));

    log.registerLogHandler(nullptr, 0);
    Printed ignored;
    log.trace(0, "on");
    EXPECT_THAT(messages(), ElementsAre("on"));
    EXPECT_EQ(1U, pushed.texts.size());
}

TEST_F(CFiTraceLogTest, LineOfAnUnknownTimeTellsSo) {
    log.registerLogHandler(&CFiTraceLogTest::handle, 3);
    linkErrorManager();
    const kzfi_tests::EndOfTime end;
    log.trace(1, "x");
    ASSERT_EQ(1U, handled().size());
    EXPECT_EQ("<time error>:" + origin() + "x", handled()[0].text);
    EXPECT_EQ(":<time error> <Thread id - " + threadId() + "> x\n", pushed.texts[0].text);
}

// ---- Long and broken messages ----

TEST_F(CFiTraceLogTest, MessageUpTo8190CharactersIsWholeALongerOneCut) {
    start(3);
    for (std::size_t length : {1u, 1021u, 1022u, 1023u, 1024u, 1025u, 2047u, 2048u, 4096u, 8189u,
                               8190u, 8191u, 8192u, 9000u, 100000u}) {
        fs::remove(traceFile());
        std::string text;
        while (text.size() < length) {
            text += std::to_string(text.size()) + ".";
        }
        text.resize(length);
        log.trace(1, "%s", text.c_str());
        EXPECT_THAT(messages(), ElementsAre(length <= 8190 ? text : text.substr(0, 1023)))
            << length;
    }
}

TEST_F(CFiTraceLogTest, EveryPassStartsWithTheFirstArgument) {
    start(3);
    const std::string filler(3000, 'x');
    log.trace(1, "%d %s %ld %c %s", 1, "two", 3L, '4', filler.c_str());
    EXPECT_THAT(messages(), ElementsAre("1 two 3 4 " + filler));
}

TEST_F(CFiTraceLogTest, WhatCannotBeFormattedIsKeptUpToTheError) {
    start(3);
    const wchar_t noCharacter[] = {static_cast<wchar_t>(0xd800), 0};
    log.trace(1, "before %d %ls after", 1, noCharacter);
    EXPECT_THAT(messages(), ElementsAre("before 1 "));
    log.trace(1, "%s%ls", std::string(5000, 'x').c_str(), noCharacter);
    EXPECT_THAT(messages(), ElementsAre("before 1 ", std::string(5000, 'x')));
}

TEST_F(CFiTraceLogTest, NulEndsTheMessage) {
    start(3);
    log.trace(1, "ab%ccd", '\0');
    EXPECT_THAT(messages(), ElementsAre("ab"));
}

TEST_F(CFiTraceLogTest, WithoutMemoryALineIsDroppedAndNothingElse) {
    if (!kzfi_tests::controlsAllocations()) {
        GTEST_SKIP() << "the sanitizer owns the allocator";
    }
    start(3);
    Counter copies;
    CFiErrorManagerPtr manager(new CFiErrorManager);
    manager->registerHandler(&copies);
    log.setErrorManager(manager);
    setMainFile("A = 1\n" + std::string(300, '#'));
    const std::string text(5000, 'x');
    int failing = 0;
    for (bool failed = true; failed;) {
        fs::remove(traceFile());
        copies.texts = 0;
        kzfi_tests::failAllocation(++failing);
        EXPECT_NO_THROW(log.trace(3, "%s", text.c_str()));
        EXPECT_NO_THROW(log.trace(6, "%s", text.c_str()));
        failed = kzfi_tests::allocationFailed();
        if (fs::exists(traceFile())) {
            EXPECT_THAT(messages(), ElementsAre(text));
        }
        EXPECT_GE(2, copies.texts);
    }
    EXPECT_LT(5, failing) << "several allocations were made to fail";
    EXPECT_THAT(messages(), ElementsAre(text));
    EXPECT_EQ(2, copies.texts);
}

// ---- Level ----

TEST_F(CFiTraceLogTest, LevelsUpToTheLogsAreWritten) {
    start(3);
    for (const int level : {-1, 0, 1, 2, 3, 4, 6, 9, 100}) {
        log.trace(level, "%d", level);
    }
    EXPECT_THAT(messages(), ElementsAre("-1", "0", "1", "2", "3"));
}

TEST_F(CFiTraceLogTest, VerboseSettingOfTheProductLetsMoreThrough) {
    const struct {
        const char* text;
        std::vector<std::string> levels;
    } cases[] = {
        {"", {"3"}},
        {"KWFIS_VERBOSE = 9\n", {"3", "4", "6", "9"}},
        {"KWFIS_VERBOSE = 8\n", {"3"}},
        {"VERBOSE = 10\n", {"3", "4", "6", "9", "10"}},
        {"VERBOSE = 8\n", {"3"}},
        {"VERBOSE = 10\nKWFIS_VERBOSE = 8\n", {"3"}},
        {"VERBOSE = 5\nKWFIS_VERBOSE = 9\n", {"3", "4", "6", "9"}},
        {"KWFIS_VERBOSE = -1\n", {"3"}},
        {"KWFIS_VERBOSE = on\n", {"3"}},
        {"KWFIS_VERBOSE\nVERBOSE = 9\n", {"3"}},
    };
    start(3);
    for (const auto& verbose : cases) {
        fs::remove(traceFile());
        setMainFile(verbose.text);
        for (const int level : {3, 4, 6, 9, 10, 11}) {
            log.trace(level, "%d", level);
        }
        EXPECT_EQ(verbose.levels, messages()) << verbose.text;
    }
}

TEST_F(CFiTraceLogTest, VerboseSettingIsLookedAtOnEveryLine) {
    start(3);
    log.trace(6, "no");
    setMainFile("KWFIS_VERBOSE = 9\n");
    log.trace(6, "yes");
    fs::remove(mainFile());
    log.trace(6, "no");
    EXPECT_THAT(messages(), ElementsAre("yes"));
}

TEST_F(CFiTraceLogTest, VerboseSettingDoesNotSwitchALogOn) {
    setMainFile("KWFIS_VERBOSE = 9\n");
    configureLevel("00000000");
    initialize(log);
    log.trace(1, "x");
    EXPECT_FALSE(fs::exists(traceFile()));
}

TEST_F(CFiTraceLogTest, MainFileThatIsAPipeOrAFolderSetsNothing) {
    start(3);
    ASSERT_EQ(0, mkfifo(mainFile().c_str(), 0600));
    log.trace(6, "x");
    fs::remove(mainFile());
    fs::create_directory(mainFile());
    log.trace(6, "x");
    EXPECT_EQ("", written());
}

// ---- Level that follows the configuration ----

TEST_F(CFiTraceLogTest, RuntimeUpdateReadsTheLevelOnEveryLine) {
    const std::string update = "\"TRACERUNTIMEUPDATE\"=dword:00000001\n";
    start(3, false, update);
    log.trace(5, "no");
    configureLevel("00000005", update);
    log.trace(5, "yes");
    configureLevel("00000001", update);
    log.trace(2, "no");
    EXPECT_THAT(messages(), ElementsAre("yes"));
}

TEST_F(CFiTraceLogTest, WithoutRuntimeUpdateTheLevelStays) {
    for (const char* flag : {"00000000", "00000002"}) {
        fs::remove(traceFile());
        CFiTraceLog other;
        configureLevel("00000003", std::string("\"TRACERUNTIMEUPDATE\"=dword:") + flag + "\n");
        Printed ignored;
        initialize(other);
        configureLevel("00000005");
        other.trace(5, "no");
        EXPECT_EQ("", written());
    }
}

TEST_F(CFiTraceLogTest, RuntimeUpdateComesBeforeAllElse) {
    start(3, false, "\"TRACERUNTIMEUPDATE\"=dword:00000001\n");
    configureLevel("00000005");
    (log.*anyFormat)(1, nullptr);
    fs::remove(configFile());
    log.trace(5, "the level that the call without a format read");
    EXPECT_EQ(1U, messages().size());
}

TEST_F(CFiTraceLogTest, RuntimeUpdateLetsExceptionsPass) {
    start(3, false, "\"TRACERUNTIMEUPDATE\"=dword:00000001\n");
    kzfi_tests::throwRuntimeErrorFromHost(1);
    EXPECT_THROW(log.trace(1, "x"), std::runtime_error);
    kzfi_tests::throwCFiErrorFromHost(1);
    EXPECT_THROW(log.trace(1, "x"), CFiError);
    log.trace(1, "back");
    EXPECT_THAT(messages(), ElementsAre("back"));
}

TEST_F(CFiTraceLogTest, RuntimeUpdateGoesOnWhileTheLogIsOff) {
    start(0, false, "\"TRACERUNTIMEUPDATE\"=dword:00000001\n");
    kzfi_tests::throwRuntimeErrorFromHost(1);
    EXPECT_THROW(log.trace(1, "x"), std::runtime_error);

    log.registerLogHandler(&CFiTraceLogTest::handle, 0);
    configureLevel("00000005");
    log.trace(5, "yes");
    EXPECT_EQ(1U, handled().size());
}

TEST_F(CFiTraceLogTest, WithoutRuntimeUpdateTheConfigurationIsNotTouched) {
    start(3);
    kzfi_tests::throwRuntimeErrorFromHost(1);
    EXPECT_NO_THROW(log.trace(1, "x"));
}

// ---- Standard output ----

TEST_F(CFiTraceLogTest, EchoHasTheOwnersNameInFront) {
    start(3, true);
    Printed printed;
    log.trace(3, "hello");
    log.trace(4, "filtered out");
    const std::string text = printed.text();
    EXPECT_EQ("plug:" + written(), text);
    EXPECT_EQ("plug: " + origin() + "hello\n", withoutTime(text, 5));
}

TEST_F(CFiTraceLogTest, EchoComesAlsoWithoutAFile) {
    start(3, true);
    fs::remove_all(traceDir());
    Printed printed;
    log.trace(3, "hello");
    EXPECT_EQ("plug: " + origin() + "hello\n", withoutTime(printed.text(), 5));
}

TEST_F(CFiTraceLogTest, WithoutEchoNothingIsPrinted) {
    start(3);
    Printed printed;
    log.trace(3, "hello");
    EXPECT_EQ("", printed.text());
}

// ---- The file ----

TEST_F(CFiTraceLogTest, FileIsNotHeldOpen) {
    start(3);
    const int before = openDescriptors();
    log.trace(1, "one");
    EXPECT_EQ(before, openDescriptors());

    const std::string rotated = traceFile() + ".old";
    fs::rename(traceFile(), rotated);
    log.trace(1, "two");
    EXPECT_THAT(messagesOf(readFile(rotated)), ElementsAre("one"));
    EXPECT_THAT(messages(), ElementsAre("two"));
}

TEST_F(CFiTraceLogTest, FileThatCannotBeOpenedIsSilent) {
    start(3);
    fs::remove(traceFile());
    fs::create_directory(traceFile());
    Printed printed;
    EXPECT_NO_THROW(log.trace(1, "x"));
    EXPECT_EQ("", printed.text());
    fs::remove(traceFile());
    log.trace(1, "y");
    EXPECT_THAT(messages(), ElementsAre("y"));
}

TEST_F(CFiTraceLogTest, PipeAtTheFilesPathDoesNotWait) {
    start(3);
    fs::remove(traceFile());
    ASSERT_EQ(0, mkfifo(traceFile().c_str(), 0600));
    const int pipe = open(traceFile().c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    ASSERT_LE(0, pipe);
    char buffer[4096] = "";
    while (write(pipe, buffer, sizeof buffer) > 0) {
    }
    ASSERT_EQ(EAGAIN, errno) << "the pipe is full";
    auto call = std::async(std::launch::async, [this] { log.trace(1, "x"); });
    EXPECT_EQ(std::future_status::ready, call.wait_for(std::chrono::seconds(10)));
    while (read(pipe, buffer, sizeof buffer) > 0) { // so that a call that waits ends
    }
    close(pipe);
}

TEST_F(CFiTraceLogTest, LinkPlantedDuringTheDayIsFollowed) {
    start(3);
    fs::remove(traceFile());
    fs::create_symlink(temp.path("target"), traceFile());
    Printed printed;
    log.trace(1, "x");
    EXPECT_EQ("", printed.text());
    EXPECT_THAT(messagesOf(readFile(temp.path("target"))), ElementsAre("x"));
}

// ---- The change of day ----

TEST_F(CFiTraceLogTest, NewDayHasANewFile) {
    start(3);
    log.trace(1, "today");
    const std::string yesterdays = traceFile();
    localTime.nextDay();
    ASSERT_NE(yesterdays, traceFile());
    Printed printed;
    log.trace(1, "tomorrow");
    log.trace(1, "later");
    EXPECT_EQ("Failed to lstat " + traceFile() + "\n", printed.text());
    EXPECT_THAT(messages(), ElementsAre("tomorrow", "later"));
    EXPECT_THAT(messagesOf(readFile(yesterdays)), ElementsAre("today"));
}

TEST_F(CFiTraceLogTest, LinkAtTheNewDaysPathIsRemoved) {
    start(3);
    localTime.nextDay();
    const std::string victim = temp.path("victim");
    writeFile(victim, "precious");
    fs::create_symlink(victim, traceFile());
    Printed printed;
    log.trace(1, "x");
    EXPECT_EQ("A symbolic link with the name " + traceFile() + " exists.Removing link\n",
              printed.text());
    EXPECT_THAT(messages(), ElementsAre("x"));
    EXPECT_EQ("precious", readFile(victim));
}

TEST_F(CFiTraceLogTest, LinkThatCannotBeRemovedIsFollowed) {
    start(3);
    localTime.nextDay();
    fs::create_symlink(temp.path("target"), traceFile());
    Printed printed;
    {
        const kzfi_tests::FailingUnlink failing;
        log.trace(1, "first");
    }
    log.trace(1, "second");
    EXPECT_EQ("A symbolic link with the name " + traceFile() +
                  " exists.Removing link\nFailed to unlink trace file\n",
              printed.text());
    EXPECT_THAT(messagesOf(readFile(temp.path("target"))), ElementsAre("first", "second"));
}

TEST_F(CFiTraceLogTest, LinkThatAppearsBehindTheCheckIsNotFollowed) {
    start(3);
    localTime.nextDay();
    const std::string path = traceFile();
    const kzfi_tests::AfterLstat planted(path,
                                         [&] { fs::create_symlink(temp.path("victim"), path); });
    Printed printed;
    log.trace(1, "x");
    EXPECT_EQ("Failed to lstat " + path + "\n", printed.text());
    EXPECT_TRUE(fs::is_symlink(path));
    EXPECT_FALSE(fs::exists(temp.path("victim")));
}

TEST_F(CFiTraceLogTest, NobodyFollowsALinkWhileANewDaysFileIsChecked) {
    start(3);
    localTime.nextDay();
    fs::create_symlink(temp.path("victim"), traceFile());
    const kzfi_tests::AfterLstat meanwhile(
        traceFile(), [&] { std::thread([&] { log.trace(1, "other"); }).join(); });
    Printed printed;
    log.trace(1, "first");
    log.trace(1, "second");
    EXPECT_EQ("A symbolic link with the name " + traceFile() + " exists.Removing link\n",
              printed.text());
    EXPECT_FALSE(fs::exists(temp.path("victim")));
    EXPECT_THAT(messages(), ElementsAre("first", "second"));
}

TEST_F(CFiTraceLogTest, OnlyTheFirstLineOfADayLooksForALink) {
    start(3);
    localTime.nextDay();
    Printed printed;
    log.trace(1, "first");
    fs::remove(traceFile());
    fs::create_symlink(temp.path("target"), traceFile());
    const std::string told = "Failed to lstat " + traceFile() + "\n";
    log.trace(1, "second");
    EXPECT_EQ(told, printed.text());
    EXPECT_THAT(messagesOf(readFile(temp.path("target"))), ElementsAre("second"));
}

TEST_F(CFiTraceLogTest, DayIsNotChangedByALineThatIsNotWritten) {
    start(3);
    localTime.nextDay();
    Printed printed;
    log.trace(4, "x");
    EXPECT_EQ("", printed.text());
    EXPECT_FALSE(fs::exists(traceFile()));
}

TEST_F(CFiTraceLogTest, ClockPutBackGoesOnWithTheOldFile) {
    start(3);
    log.trace(1, "first");
    localTime.nextDay();
    Printed ignored;
    log.trace(1, "ahead");
    localTime.sameDay();
    log.trace(1, "second");
    EXPECT_THAT(messages(), ElementsAre("first", "second"));
}

// ---- The log handler ----

TEST_F(CFiTraceLogTest, HandlerGetsTheLineInPlaceOfTheFile) {
    start(3, true);
    log.registerLogHandler(&CFiTraceLogTest::handle, 5);
    Printed printed;
    log.trace(5, "hello %d", 5);
    log.trace(6, "filtered out");
    EXPECT_EQ("", printed.text());
    EXPECT_EQ("", written());
    ASSERT_EQ(1U, handled().size());
    EXPECT_EQ(":" + origin() + "hello 5", withoutTime(handled()[0].text));
    EXPECT_EQ(5, handled()[0].level);
}

TEST_F(CFiTraceLogTest, HandlerAloneSwitchesALogOn) {
    log.registerLogHandler(&CFiTraceLogTest::handle, 2);
    log.trace(1, "x");
    log.trace(3, "y");
    EXPECT_EQ(1U, handled().size());
}

TEST_F(CFiTraceLogTest, HandlerFollowsTheVerboseSettingToo) {
    setMainFile("KWFIS_VERBOSE = 9\n");
    log.registerLogHandler(&CFiTraceLogTest::handle, 2);
    log.trace(9, "x");
    ASSERT_EQ(1U, handled().size());
    EXPECT_EQ(9, handled()[0].level);
}

TEST_F(CFiTraceLogTest, HandlerDoesNotStartTheNewDay) {
    start(3);
    log.registerLogHandler(&CFiTraceLogTest::handle, 3);
    localTime.nextDay();
    Printed printed;
    log.trace(1, "x");
    EXPECT_EQ("", printed.text());
}

TEST_F(CFiTraceLogTest, WithoutTheHandlerLinesGoToTheFileAtItsLevel) {
    start(3);
    log.registerLogHandler(&CFiTraceLogTest::handle, 5);
    log.unregisterLogHandler();
    log.trace(5, "at the handler's level");
    log.unregisterLogHandler();
    log.trace(6, "above it");
    EXPECT_THAT(handled(), IsEmpty());
    EXPECT_THAT(messages(), ElementsAre("at the handler's level"));
}

TEST_F(CFiTraceLogTest, NoHandlerIsNone) {
    start(3);
    log.registerLogHandler(nullptr, 4);
    log.trace(4, "x");
    EXPECT_THAT(messages(), ElementsAre("x"));
}

TEST_F(CFiTraceLogTest, WhatTheHandlerThrowsPassesAndThereIsNoCopy) {
    linkErrorManager();
    log.registerLogHandler([](const char*, int) { throw std::runtime_error("handler"); }, 3);
    EXPECT_THROW(log.trace(1, "x"), std::runtime_error);
    log.registerLogHandler([](const char*, int) { throw std::bad_alloc(); }, 3);
    EXPECT_THROW(log.trace(1, "x"), std::bad_alloc);
    EXPECT_THAT(pushed.texts, IsEmpty());
}

TEST_F(CFiTraceLogTest, LogThatWasNeverInitializedHasNoFile) {
    linkErrorManager();
    log.registerLogHandler(nullptr, 4);
    Printed printed;
    log.trace(1, "x");
    EXPECT_EQ("", printed.text());
    EXPECT_FALSE(fs::exists("/." + LocalTime::date()));
    ASSERT_EQ(1U, pushed.texts.size());
    EXPECT_EQ(": <Thread id - " + threadId() + "> x\n", lastPushed(""));
}

// ---- The copy for the error manager ----

TEST_F(CFiTraceLogTest, ErrorManagerGetsACopy) {
    start(3);
    linkErrorManager();
    log.trace(1, "hello %s", "there");
    ASSERT_EQ(1U, pushed.texts.size());
    EXPECT_EQ(copyOf("hello there"), lastPushed());
    EXPECT_EQ(0, pushed.messages);
    EXPECT_EQ(written().substr(0, 26), pushed.texts[0].text.substr(5, 26)) << "the same time";
}

TEST_F(CFiTraceLogTest, SeverityFollowsTheLevel) {
    start(3);
    linkErrorManager();
    const struct {
        int level;
        int severity;
    } cases[] = {{1, 3}, {2, 2}, {3, 1}, {4, 4}, {5, 4},  {6, 4},
                 {7, 6}, {8, 7}, {9, 4}, {0, 4}, {-1, 4}, {100, 4}};
    for (const auto& mapped : cases) {
        log.trace(mapped.level, "x");
        EXPECT_EQ(mapped.severity, pushed.texts.back().severity) << mapped.level;
        if (mapped.level == 7 || mapped.level == 8) {
            EXPECT_EQ("x\n", pushed.texts.back().text) << mapped.level;
        } else {
            EXPECT_EQ(copyOf("x"), lastPushed()) << mapped.level;
        }
    }
}

TEST_F(CFiTraceLogTest, CopyIsMadeOfFilteredLinesToo) {
    start(3);
    linkErrorManager();
    log.trace(6, "not written");
    EXPECT_EQ("", written());
    ASSERT_EQ(1U, pushed.texts.size());
    EXPECT_EQ(copyOf("not written"), lastPushed());
    EXPECT_EQ(4, pushed.texts[0].severity);
}

TEST_F(CFiTraceLogTest, CopyIsMadeBesideTheHandlerToo) {
    start(3);
    linkErrorManager();
    log.registerLogHandler(&CFiTraceLogTest::handle, 3);
    log.trace(1, "x");
    EXPECT_EQ(1U, handled().size());
    EXPECT_EQ(1U, pushed.texts.size());
}

TEST_F(CFiTraceLogTest, CopyComesBehindTheFileAndTheHandler) {
    class Looker : public CFiErrorHandlerBase {
      public:
        explicit Looker(const std::function<bool()>& lookAtLine) : look(lookAtLine) {}
        void handleMessage(CFiMessagePtr) override {}
        void handleText(const char*, kfi_eseverity) override { seen.push_back(look()); }

        std::function<bool()> look;
        std::vector<bool> seen;
    };
    start(3);
    Looker looker([this] { return !written().empty() || !handled().empty(); });
    CFiErrorManagerPtr manager(new CFiErrorManager);
    manager->registerHandler(&looker);
    log.setErrorManager(manager);
    log.trace(1, "to the file");
    fs::remove(traceFile());
    log.trace(6, "nowhere");
    log.registerLogHandler(&CFiTraceLogTest::handle, 3);
    log.trace(1, "to the handler");
    EXPECT_THAT(looker.seen, ElementsAre(true, false, true));
}

TEST_F(CFiTraceLogTest, WhatAnErrorHandlerThrowsPasses) {
    start(3);
    Thrower thrower;
    CFiErrorManagerPtr manager(new CFiErrorManager);
    manager->registerHandler(&thrower);
    log.setErrorManager(manager);
    EXPECT_THROW(log.trace(1, "x"), std::bad_alloc);
    EXPECT_THROW(log.trace(6, "x"), std::bad_alloc);
    EXPECT_THAT(messages(), ElementsAre("x"));
}

TEST_F(CFiTraceLogTest, LevelBelowAllWritesNothingAndCopiesAll) {
    configureLevel("ffffffff");
    Printed ignored;
    initialize(log);
    linkErrorManager();
    log.trace(1, "x");
    log.trace(0, "x");
    EXPECT_EQ("", written());
    EXPECT_EQ(2U, pushed.texts.size());
}

TEST_F(CFiTraceLogTest, CopyOfALongMessageIsWhole) {
    start(3);
    linkErrorManager();
    for (const std::size_t length : {800u, 1000u, 1022u, 1023u, 1024u, 1025u, 8190u}) {
        const std::string text(length, 'x');
        log.trace(6, "%s", text.c_str());
        EXPECT_EQ(copyOf(text), lastPushed()) << length;
    }
    log.trace(6, "%s", std::string(8191, 'x').c_str());
    EXPECT_EQ(copyOf(std::string(1023, 'x')), lastPushed());
}

// The copy is formatted into the message's buffer, which gets 256 bytes more when less are left.
TEST_F(CFiTraceLogTest, CopyWithALongOwnersNameIsCut) {
    const struct {
        std::size_t message;
        std::size_t copy;
    } cases[] = {{10, 1023},   {768, 1023},  {769, 1279},  {1022, 1279}, {1023, 2047},
                 {1024, 2047}, {1025, 1282}, {8190, 8447}, {8191, 1279}};
    linkErrorManager();
    const std::string owner(9000, 'o');
    log.initialize(owner.c_str(), "", "", 0, false);
    log.registerLogHandler(&CFiTraceLogTest::handle, 0);
    for (const auto& cut : cases) {
        log.trace(1, "%s", std::string(cut.message, 'x').c_str());
        EXPECT_EQ(std::string(cut.copy, 'o'), pushed.texts.back().text) << cut.message;
    }
}

TEST_F(CFiTraceLogTest, ManagerWithoutHandlersGetsNothingAndALaterHandlerAll) {
    start(3);
    CFiErrorManagerPtr manager(new CFiErrorManager);
    log.setErrorManager(manager);
    log.trace(1, "before");
    log.trace(6, "before");
    manager->registerHandler(&pushed);
    log.trace(6, "after");
    ASSERT_EQ(1U, pushed.texts.size());
    EXPECT_EQ(copyOf("after"), lastPushed());
    EXPECT_EQ(nullptr, manager->getLastError()) << "plain texts are not kept";
}

TEST_F(CFiTraceLogTest, ErrorManagerIsSharedAndCanBeTakenAway) {
    start(3);
    CFiErrorManagerPtr manager(new CFiErrorManager);
    manager->registerHandler(&pushed);
    {
        CFiTraceLog other;
        other.setErrorManager(manager);
        log.setErrorManager(manager);
        EXPECT_EQ(3U, manager->getCount());
    }
    EXPECT_EQ(2U, manager->getCount());
    log.setErrorManager(CFiErrorManagerPtr());
    EXPECT_EQ(1U, manager->getCount());
    log.trace(1, "x");
    EXPECT_THAT(pushed.texts, IsEmpty());
}

// ---- Threads ----

class Threads {
  public:
    template <class Work>
    Threads(int count, Work work) {
        for (int number = 0; number < count; ++number) {
            threads.emplace_back(work, number);
        }
    }
    ~Threads() {
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

  private:
    std::vector<std::thread> threads;
};

// The messages of all threads, whatever the thread ids are.
std::multiset<std::string> messagesOfAll(const std::string& text) {
    std::multiset<std::string> found;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t end = line.find("> ");
        found.insert(end == std::string::npos ? "torn: " + line : line.substr(end + 2));
    }
    return found;
}

TEST_F(CFiTraceLogTest, EightThreadsLoseAndTearNoLine) {
    constexpr int COUNT = 8;
    constexpr int LINES = 250;
    start(3);
    const auto text = [](int thread, int line) {
        const std::size_t length = line % 50 == 0 ? 7000 : 20;
        return std::to_string(thread) + "." + std::to_string(line) + " " +
               std::string(length, static_cast<char>('a' + thread));
    };
    localTime.nextDay();
    Printed ignored;
    {
        const Threads threads(COUNT, [&](int thread) {
            for (int line = 0; line < LINES; ++line) {
                log.trace(1, "%s", text(thread, line).c_str());
                log.trace(6, "filtered out");
            }
        });
    }
    std::multiset<std::string> expected;
    for (int thread = 0; thread < COUNT; ++thread) {
        for (int line = 0; line < LINES; ++line) {
            expected.insert(text(thread, line));
        }
    }
    EXPECT_EQ(expected, messagesOfAll(written()));
}

// The days of the lines in a file, as the date in the file's name is written.
std::set<std::string> daysOf(const std::string& text) {
    std::set<std::string> days;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        days.insert(line.size() < 10 ? "torn: " + line
                                     : line.substr(5, 2) + line.substr(8, 2) + line.substr(2, 2));
    }
    return days;
}

TEST_F(CFiTraceLogTest, EightThreadsFollowAClockThatJumpsOverMidnight) {
    constexpr int COUNT = 8;
    constexpr int LINES = 400;
    setenv("TZ", "UTC0", 1);
    tzset();
    constexpr time_t LAST_SECOND = 1798761599; // 2026-12-31 23:59:59
    JumpingClock clock(LAST_SECOND);
    start(3);
    Printed ignored;
    {
        const Threads threads(COUNT, [&](int thread) {
            for (int line = 0; line < LINES; ++line) {
                clock.jumpTo(LAST_SECOND + line / 5 % 2);
                log.trace(1, "%d.%d", thread, line);
            }
        });
    }
    const std::string oldYear = readFile(traceDir() + "/t.123126");
    const std::string newYear = readFile(traceDir() + "/t.010127");
    EXPECT_THAT(daysOf(oldYear), ElementsAre("123126"));
    EXPECT_THAT(daysOf(newYear), ElementsAre("010127"));
    std::multiset<std::string> expected;
    for (int thread = 0; thread < COUNT; ++thread) {
        for (int line = 0; line < LINES; ++line) {
            expected.insert(std::to_string(thread) + "." + std::to_string(line));
        }
    }
    EXPECT_EQ(expected, messagesOfAll(oldYear + newYear)) << "each line once, and whole";
    EXPECT_EQ(2, std::distance(fs::directory_iterator(traceDir()), fs::directory_iterator()));
}

TEST_F(CFiTraceLogTest, EightThreadsEchoWholeLines) {
    start(3, true);
    Printed printed;
    {
        const Threads threads(8, [&](int thread) {
            for (int line = 0; line < 50; ++line) {
                log.trace(1, "%d", thread);
            }
        });
    }
    const std::multiset<std::string> echoed = messagesOfAll(printed.text());
    for (int thread = 0; thread < 8; ++thread) {
        EXPECT_EQ(50U, echoed.count(std::to_string(thread)));
    }
    EXPECT_EQ(400U, echoed.size());
}

TEST_F(CFiTraceLogTest, NoThreadWritesThroughALinkPlantedForTheNewDay) {
    start(3);
    Printed ignored;
    for (int day = 1; day <= 100; ++day) {
        day % 2 == 1 ? localTime.nextDay() : localTime.sameDay();
        fs::remove(traceFile());
        fs::create_symlink(temp.path("victim"), traceFile());
        std::atomic<int> waiting(4);
        {
            const Threads threads(4, [&](int thread) {
                for (--waiting; waiting > 0;) {
                }
                log.trace(1, "%d", thread);
            });
        }
        ASSERT_FALSE(fs::exists(temp.path("victim"))) << day;
        ASSERT_FALSE(fs::is_symlink(traceFile())) << day;
        ASSERT_LE(1U, messagesOfAll(written()).size()) << day;
    }
}

TEST_F(CFiTraceLogTest, SettingsMayChangeWhileOthersTrace) {
    static std::mutex mutex;
    static std::multiset<std::string> taken;
    taken.clear();
    start(3, false, "\"TRACERUNTIMEUPDATE\"=dword:00000001\n");
    {
        const Threads threads(4, [&](int thread) {
            for (int line = 0; line < 50; ++line) {
                if (thread == 0) {
                    log.registerLogHandler(
                        [](const char* text, int) {
                            const std::lock_guard<std::mutex> guard(mutex);
                            taken.merge(messagesOfAll(text));
                        },
                        6);
                    log.unregisterLogHandler();
                } else {
                    log.trace(1, "%d.%d", thread, line);
                }
            }
        });
    }
    taken.merge(messagesOfAll(written()));
    std::multiset<std::string> expected;
    for (int thread = 1; thread < 4; ++thread) {
        for (int line = 0; line < 50; ++line) {
            expected.insert(std::to_string(thread) + "." + std::to_string(line));
        }
    }
    EXPECT_EQ(expected, taken) << "each line once, in the file or at the handler";
    fs::remove(traceFile());
    log.trace(1, "end");
    EXPECT_THAT(messages(), ElementsAre("end"));
}

} // namespace
