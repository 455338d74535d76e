// kzfi-simhost trace, as a user runs it.
#include <gmock/gmock.h>

#include "command.h"
#include "trace_file.h"

namespace {

using kzfi_simhost::Json;
using kzfi_tests::CommandResult;
using kzfi_tests::readFile;
using kzfi_tests::traced;
using kzfi_tests::writeFile;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class TraceCommandTest : public testing::Test {
  protected:
    CommandResult trace(const std::string& content, const std::vector<std::string>& options = {}) {
        writeFile(file(), content);
        std::vector<std::string> arguments = {"trace", file()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return simhost(arguments);
    }

    std::string file() const { return simhost.path("x.log"); }

    kzfi_tests::SimhostCommand simhost;
};

TEST_F(TraceCommandTest, ShowsTheCallsOfEveryThreadWithTheirTimes) {
    const CommandResult result =
        trace(traced("19:53:51.114810", "Entering Function initNode [42, a.cpp]", 7) +
              traced("19:53:51.114820", "Entering Function find [9, a.cpp]", 7) +
              traced("19:53:51.114825", "other thread", 8) +
              traced("19:53:51.114830", "ERROR: no room\nat all", 7) +
              traced("19:53:51.114832", "Exiting Function find [9, a.cpp]", 7) +
              traced("19:53:52.614810", "Exiting Function initNode [42, a.cpp]", 7) +
              traced("19:53:53.000000", "WARNING: old", 8) +
              traced("19:53:53.000001", "Entering Function make [10, a.cpp]", 8) +
              traced("19:53:53.000001", "Exiting Function take [11, a.cpp]", 8));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
              "process 100, thread 7\n"
              "  2026-11-20\n"
              "  19:53:51.114810        1.50 s    initNode [42, a.cpp]\n"
              "  19:53:51.114820         12 us      find [9, a.cpp]\n"
              "  19:53:51.114830                E     ERROR: no room\n"
              "                                       at all\n"
              "\n"
              "process 100, thread 8\n"
              "  2026-11-20\n"
              "  19:53:51.114825                  other thread\n"
              "  19:53:53.000000                W WARNING: old\n"
              "  19:53:53.000001  not finished    make [10, a.cpp]\n"
              "  19:53:53.000001      no entry      take [11, a.cpp]\n"
              "\n"
              "9 messages of 2 threads, 3 calls, 1 not finished, 1 exit without entry, 1 error, "
              "1 warning\n");
}

TEST_F(TraceCommandTest, ADayThatBeginsIsShown) {
    const CommandResult result = trace("2026-12-31 23:59:59.000000 <Pid - 1 / Thread id - 1> a\n"
                                       "2027-01-01 00:00:00.000000 <Pid - 1 / Thread id - 1> b\n"
                                       "<time error> <Pid - 1 / Thread id - 1> c\n");
    EXPECT_THAT(result.out, HasSubstr("  2026-12-31\n"
                                      "  23:59:59.000000                  a\n"
                                      "  2027-01-01\n"
                                      "  00:00:00.000000                  b\n"
                                      "  no time                          c\n"));
}

TEST_F(TraceCommandTest, TheClockSetBackIsTold) {
    const CommandResult result =
        trace(traced("12:00:00.000000", "a") + traced("11:00:00.000000", "b"));
    EXPECT_THAT(result.out, HasSubstr("  11:00:00.000000                  b  (clock set back)\n"));
    EXPECT_THAT(result.out,
                HasSubstr("\ntimes are estimates where the clock was set back (1 time)\n"));
}

TEST_F(TraceCommandTest, OneThreadCanBeChosen) {
    const std::string content =
        traced("12:00:00.000000", "a", 1) + traced("12:00:00.000001", "b", 2);
    const CommandResult result = trace(content, {"--thread", "2"});
    EXPECT_THAT(result.out, StartsWith("process 100, thread 2\n"));
    EXPECT_THAT(result.out, EndsWith("\n1 message of 1 thread, 0 calls\n"));
    const CommandResult none = trace(content, {"--thread", "3"});
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(none.out, "0 messages of 0 threads, 0 calls\n");
}

TEST_F(TraceCommandTest, OnlyErrorsCanBeShown) {
    const CommandResult result =
        trace(traced("12:00:00.000000", "a", 1) +
                  traced("12:00:00.000000", "Entering Function f [1, a]", 2) +
                  traced("12:00:00.000001", "ERROR: b", 2) + traced("12:00:00.000002", "c", 2) +
                  traced("12:00:00.000003", "Exiting Function f [1, a]", 2),
              {"--errors"});
    EXPECT_EQ(result.out, "process 100, thread 2\n"
                          "  2026-11-20\n"
                          "  12:00:00.000000          3 us    f [1, a]\n"
                          "  12:00:00.000001                E   ERROR: b\n"
                          "\n"
                          "5 messages of 2 threads, 1 call, 1 error\n");
}

TEST_F(TraceCommandTest, ColoursAreAnOption) {
    const std::string content = traced("12:00:00.000000", "ERROR: a");
    EXPECT_THAT(trace(content).out, Not(HasSubstr("\033")));
    EXPECT_THAT(trace(content, {"--color", "always"}).out, HasSubstr("\033[31mERROR: a\033[0m"));
}

TEST_F(TraceCommandTest, ATextCannotCommandTheTerminal) {
    const CommandResult result = trace(traced("12:00:00.000000", "\033[2J\xff"));
    EXPECT_THAT(result.out, HasSubstr(" \\x1b[2J\xEF\xBF\xBD\n"));
}

TEST_F(TraceCommandTest, DeepCallsAreNotIndentedForever) {
    std::string content;
    for (int i = 0; i < 60; ++i) {
        content += traced("12:00:00.000000", "Entering Function f [1, a]");
    }
    EXPECT_THAT(trace(content).out, HasSubstr(std::string(80, ' ') + "(59) f [1, a]\n"));
}

TEST_F(TraceCommandTest, WhatIsNotUnderstoodIsCountedAndTold) {
    const CommandResult result =
        trace("rubbish\n" + traced("12:00:00.000000", "a") + "2026-11-20 12:00:00.000000 <Pi");
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, EndsWith("\n1 message of 1 thread, 0 calls\n"
                                     "2 lines not understood, the first in line 1\n"
                                     "the file ends within line 3\n"));
}

TEST_F(TraceCommandTest, AFileThatIsNoTraceIsNotAsExpected) {
    const CommandResult result = trace("This is no trace.\n");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, HasSubstr("1 line not understood, the first in line 1\n"));
}

TEST_F(TraceCommandTest, AnEmptyFileIsFine) {
    const CommandResult result = trace("");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "0 messages of 0 threads, 0 calls\n");
}

TEST_F(TraceCommandTest, AFileThatCannotBeReadIsTwo) {
    const CommandResult missing = simhost({"trace", simhost.path("none")});
    EXPECT_EQ(missing.status, 2);
    EXPECT_EQ(missing.out, "");
    EXPECT_EQ(missing.err, "kzfi-simhost: " + simhost.path("none") +
                               ": the file cannot be read: No such file or directory\n");
    EXPECT_EQ(simhost({"trace", simhost.path("")}).status, 2);
    EXPECT_EQ(simhost({"trace"}).status, 2);
}

TEST_F(TraceCommandTest, WritesAFileForTraceViewers) {
    const CommandResult result =
        trace(traced("12:00:00.000000", "a"), {"--chrome", simhost.path("x.json")});
    EXPECT_EQ(result.status, 0);
    const Json events = Json::parse(readFile(simhost.path("x.json")));
    ASSERT_EQ(events.size(), 3u);
    EXPECT_EQ(events[2]["name"], "a");
}

TEST_F(TraceCommandTest, AViewersFileThatCannotBeWrittenIsTwo) {
    const std::string content = traced("12:00:00.000000", "a");
    const std::string target = simhost.path("none/x.json");
    const CommandResult result = trace(content, {"--chrome", target});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "kzfi-simhost: cannot write " + target + ": No such file or directory\n");
    EXPECT_EQ(trace(content, {"--chrome", "/dev/full"}).status, 2);
}

TEST_F(TraceCommandTest, TheTraceFileIsNotWrittenOver) {
    const std::string content = traced("12:00:00.000000", "a");
    const CommandResult result = trace(content, {"--chrome", file()});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "kzfi-simhost: cannot write " + file() + ": it is the trace file\n");
    EXPECT_EQ(readFile(file()), content);
}

TEST_F(TraceCommandTest, ShowsTheTraceOfARun) {
    const CommandResult run =
        simhost({"run", KZFI_HELLO_FOLDER "/hello.yaml", "--root", simhost.path("root")});
    ASSERT_EQ(run.status, 0) << run.out << run.err;
    const std::size_t start = run.out.find("trace     ") + 10;
    const CommandResult result =
        simhost({"trace", run.out.substr(start, run.out.find('\n', start) - start)});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out,
                testing::ContainsRegex(" prepare \\[[0-9]+, hello.cpp\\]\n.*E   "
                                       "ERROR: no room for a snapshot of /dev/disk1\n"));
    EXPECT_THAT(result.out, Not(HasSubstr("not finished")));
    EXPECT_THAT(result.out, Not(HasSubstr("not understood")));
}

} // namespace
