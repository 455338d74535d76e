#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "cfitracelog.h"
#include "count_of.h"
#include "support/trace_capture.h"

using namespace kzfi_pdk_4_4;
using kzfi_tests::countOf;
using kzfi_tests::TraceCapture;
using kzfi_tests::TracedLine;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class CFiTraceLogFunctionTest : public testing::Test {
  protected:
    std::vector<TracedLine> linesOf(const char* function, int line, const char* path) {
        { const CFiTraceLogFunction scope(capture.log(), function, line, path); }
        return capture.all();
    }

    TraceCapture capture;
};

TEST_F(CFiTraceLogFunctionTest, EntryAndExitAreTracedAtLevel6) {
    EXPECT_THAT(linesOf("initNode", 42, "src/frame/cfipluginbase.cpp"),
                ElementsAre(TracedLine{6, "Entering Function initNode [42, cfipluginbase.cpp]"},
                            TracedLine{6, "Exiting Function initNode [42, cfipluginbase.cpp]"}));
}

TEST_F(CFiTraceLogFunctionTest, EntryComesAtOnceAndExitAtTheEnd) {
    {
        const CFiTraceLogFunction scope(capture.log(), "f", 1, "/a.cpp");
        EXPECT_EQ(1U, capture.all().size());
        capture.log()->trace(1, "inside");
        EXPECT_EQ(1U, capture.all().size());
    }
    EXPECT_EQ(1U, capture.all().size());
}

TEST_F(CFiTraceLogFunctionTest, LineZeroChangesTheExitOnly) {
    EXPECT_THAT(linesOf("f", 0, "/x/a.cpp"),
                ElementsAre(TracedLine{6, "Entering Function f [0, a.cpp]"},
                            TracedLine{6, "Exiting Function f"}));
}

TEST_F(CFiTraceLogFunctionTest, NegativeLineIsALine) {
    EXPECT_THAT(linesOf("f", -1, "/a.cpp"),
                ElementsAre(TracedLine{6, "Entering Function f [-1, a.cpp]"},
                            TracedLine{6, "Exiting Function f [-1, a.cpp]"}));
}

TEST_F(CFiTraceLogFunctionTest, PathWithoutASlashNamesTheLogsHeader) {
    const std::vector<TracedLine> lines = linesOf("f", 1, "a.cpp");
    ASSERT_EQ(2U, lines.size());
    EXPECT_THAT(lines[0].text, HasSubstr("cfitracelog"));
    EXPECT_THAT(lines[1].text, HasSubstr("cfitracelog"));
}

TEST_F(CFiTraceLogFunctionTest, PathThatEndsInASlashNamesNoFile) {
    EXPECT_THAT(linesOf("f", 1, "src/"), ElementsAre(TracedLine{6, "Entering Function f [1, ]"},
                                                     TracedLine{6, "Exiting Function f [1, ]"}));
}

TEST_F(CFiTraceLogFunctionTest, WithoutFunctionOrPathNothingIsTraced) {
    EXPECT_THAT(linesOf(nullptr, 1, "/a.cpp"), IsEmpty());
    EXPECT_THAT(linesOf("f", 1, nullptr), IsEmpty());
    EXPECT_THAT(linesOf("f", 0, nullptr), IsEmpty());
}

TEST_F(CFiTraceLogFunctionTest, WithoutALogNothingHappens) {
    { const CFiTraceLogFunction scope(CFiTraceLogPtr(), "f", 1, "/a.cpp"); }
    EXPECT_THAT(capture.all(), IsEmpty());
}

TEST_F(CFiTraceLogFunctionTest, LogIsCountedWhileTheGuardLives) {
    const std::uint32_t before = countOf(capture.log());
    {
        const CFiTraceLogFunction scope(capture.log(), "f", 1, "/a.cpp");
        EXPECT_EQ(before + 1, countOf(capture.log()));
    }
    EXPECT_EQ(before, countOf(capture.log()));
}

TEST_F(CFiTraceLogFunctionTest, GuardKeepsTheLogAlive) {
    static std::vector<std::string> lines;
    lines.clear();
    CFiTraceLogPtr log(new CFiTraceLog);
    log->registerLogHandler([](const char* line, int) { lines.push_back(line); }, 6);
    {
        const CFiTraceLogFunction scope(log, "f", 1, "/a.cpp");
        log.release();
        EXPECT_EQ(1U, lines.size());
    }
    ASSERT_EQ(2U, lines.size());
    EXPECT_THAT(lines[1], HasSubstr("Exiting Function f [1, a.cpp]"));
}

TEST_F(CFiTraceLogFunctionTest, EntryLineLetsThroughWhatAHandlerThrows) {
    capture.log()->registerLogHandler([](const char*, int) { throw std::runtime_error("x"); }, 6);
    const std::uint32_t before = countOf(capture.log());
    EXPECT_THROW(CFiTraceLogFunction(capture.log(), "f", 1, "/a.cpp"), std::runtime_error);
    EXPECT_EQ(before, countOf(capture.log()));
}

TEST_F(CFiTraceLogFunctionTest, ExitLineSwallowsWhatAHandlerThrows) {
    {
        const CFiTraceLogFunction scope(capture.log(), "f", 1, "/a.cpp");
        capture.log()->registerLogHandler([](const char*, int) { throw 1; }, 6);
        EXPECT_THROW(capture.log()->trace(1, "thrown"), int);
    }
    EXPECT_EQ(1U, capture.all().size());
}

} // namespace
