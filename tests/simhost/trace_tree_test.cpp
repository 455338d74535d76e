// Entry and exit lines put together.
#include <gmock/gmock.h>

#include "support/temp_dir.h"
#include "trace/call_tree.h"
#include "trace_file.h"

namespace {

using kzfi_simhost::CallTree;
using kzfi_simhost::markOf;
using kzfi_simhost::ThreadTrace;
using kzfi_simhost::TraceEvent;
using kzfi_simhost::TraceLine;
using kzfi_simhost::TraceMark;
using kzfi_simhost::TraceReader;
using kzfi_tests::traced;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

std::string entry(const std::string& call) {
    return "Entering Function " + call;
}

std::string exitOf(const std::string& call) {
    return "Exiting Function " + call;
}

/// "  f [1, a] 5" for a call one level deep that took 5 us.
std::string drawn(const TraceEvent& event) {
    std::string text(2 * std::size_t{event.depth}, ' ');
    text += *event.text;
    if (event.kind == TraceEvent::CALL) {
        text += event.finished ? " " + std::to_string(event.end - event.start) : " not finished";
    } else if (event.kind == TraceEvent::EXIT_ONLY) {
        text += " no entry";
    } else if (event.kind == TraceEvent::ENTRY_ONLY) {
        text += " no exit";
    }
    return text;
}

class CallTreeTest : public testing::Test {
  protected:
    /// Makes the tree of the lines at 12:00:00.000000, 12:00:00.000001 and so on, of one thread.
    std::vector<std::string> treeOf(const std::vector<std::string>& texts) {
        std::string content;
        for (std::size_t i = 0; i < texts.size(); ++i) {
            content += traced("12:00:00.00000" + std::to_string(i), texts[i]);
        }
        read(content);
        return tree->threads().empty() ? std::vector<std::string>() : drawnThread(0);
    }

    void read(const std::string& content) {
        kzfi_tests::writeFile(folder.path("x.log"), content);
        TraceReader reader(folder.path("x.log"));
        tree = std::make_unique<CallTree>();
        for (TraceLine line; reader.next(line);) {
            tree->add(line);
        }
        tree->finish();
    }

    std::vector<std::string> drawnThread(std::size_t index) const {
        std::vector<std::string> lines;
        for (const TraceEvent& event : tree->threads().at(index)->events) {
            lines.push_back(drawn(event));
        }
        return lines;
    }

    /// The same, of what is shown when only errors are.
    std::vector<std::string> trouble() const {
        std::vector<std::string> lines;
        for (const TraceEvent& event : tree->threads().at(0)->events) {
            if (event.trouble) {
                lines.push_back(drawn(event));
            }
        }
        return lines;
    }

    kzfi_tests::TempDir folder;
    std::unique_ptr<CallTree> tree;
};

TEST_F(CallTreeTest, NestsCallsAndLines) {
    EXPECT_THAT(treeOf({"before", entry("f [1, a.cpp]"), "in f", entry("g [2, a.cpp]"), "in g",
                        exitOf("g [2, a.cpp]"), "in f again", exitOf("f [1, a.cpp]"), "behind"}),
                ElementsAre("before", "f [1, a.cpp] 6", "  in f", "  g [2, a.cpp] 2", "    in g",
                            "  in f again", "behind"));
    EXPECT_EQ(tree->counts().messages, 9u);
    EXPECT_EQ(tree->counts().calls, 2u);
    EXPECT_EQ(tree->counts().notFinished, 0u);
}

TEST_F(CallTreeTest, AFunctionMayCallItself) {
    EXPECT_THAT(
        treeOf({entry("f [1, a]"), entry("f [1, a]"), exitOf("f [1, a]"), "x", exitOf("f [1, a]")}),
        ElementsAre("f [1, a] 4", "  f [1, a] 1", "  x"));
}

TEST_F(CallTreeTest, AnExitMayNameTheFunctionAlone) {
    EXPECT_THAT(treeOf({entry("f [0, a]"), "x", exitOf("f"), "y"}),
                ElementsAre("f [0, a] 2", "  x", "y"));
    EXPECT_THAT(treeOf({entry("f [0, a]"), exitOf("f"), exitOf("f")}),
                ElementsAre("f [0, a] 1", "f no entry"));
    // What has no end is no place.
    EXPECT_THAT(treeOf({entry("f [0, a"), exitOf("f")}),
                ElementsAre("f [0, a not finished", "  f no entry"));
}

TEST_F(CallTreeTest, FunctionsOfOneNameAreToldApartByTheirPlace) {
    EXPECT_THAT(treeOf({entry("f [1, a]"), entry("f [1, b]"), exitOf("f [1, a]"), "x"}),
                ElementsAre("f [1, a] 2", "  f [1, b] not finished", "x"));
    EXPECT_THAT(treeOf({entry("f [1, a]"), exitOf("f [2, a]")}),
                ElementsAre("f [1, a] not finished", "  f [2, a] no entry"));
}

TEST_F(CallTreeTest, NamesMayHoldBrackets) {
    EXPECT_THAT(treeOf({entry("T f() [with T = int] [3, a]"), exitOf("T f() [with T = int]")}),
                ElementsAre("T f() [with T = int] [3, a] 1"));
}

TEST_F(CallTreeTest, CallsAreNotFinishedWhereTheTraceEnds) {
    EXPECT_THAT(treeOf({entry("f [1, a]"), entry("g [2, a]"), "last words"}),
                ElementsAre("f [1, a] not finished", "  g [2, a] not finished", "    last words"));
    EXPECT_EQ(tree->counts().notFinished, 2u);
}

TEST_F(CallTreeTest, AnUnfinishedCallEndsWithTheCallAroundIt) {
    EXPECT_THAT(
        treeOf({entry("f [1, a]"), entry("g [2, a]"), "in g", exitOf("f [1, a]"), "behind"}),
        ElementsAre("f [1, a] 3", "  g [2, a] not finished", "    in g", "behind"));
    EXPECT_EQ(tree->counts().notFinished, 1u);
    const std::vector<TraceEvent>& events = tree->threads()[0]->events;
    EXPECT_EQ(events[0].end, events[1].end);
}

TEST_F(CallTreeTest, AnExitMayLackItsEntry) {
    EXPECT_THAT(
        treeOf({exitOf("f [1, a]"), entry("g [2, a]"), exitOf("h [3, a]"), exitOf("g [2, a]"),
                exitOf("g [2, a]")}),
        ElementsAre("f [1, a] no entry", "g [2, a] 2", "  h [3, a] no entry", "g [2, a] no entry"));
    EXPECT_EQ(tree->counts().exitsOnly, 3u);
    EXPECT_EQ(tree->counts().calls, 1u);
}

TEST_F(CallTreeTest, TheInterposersImportNodeHasNoExit) {
    const std::string own = "importNode [34, cfiplugininterposer_resources.cpp]";
    EXPECT_THAT(treeOf({entry("f [1, a]"), entry(own), "in f", exitOf("f [1, a]"), entry(own)}),
                ElementsAre("f [1, a] 3", "  " + own + " no exit", "  in f", own + " no exit"));
    EXPECT_EQ(tree->counts().calls, 3u);
    EXPECT_EQ(tree->counts().notFinished, 0u);
    EXPECT_THAT(trouble(), IsEmpty());
    // That of a provider has.
    EXPECT_THAT(treeOf({entry("importNode [9, mine.cpp]"), "x"}),
                ElementsAre("importNode [9, mine.cpp] not finished", "  x"));
}

TEST_F(CallTreeTest, WhatFollowsAnEntryOnFurtherLinesIsALineOfItsOwn) {
    EXPECT_THAT(treeOf({entry("f [1, a]") + "\nmore", exitOf("f [1, a]") + "\nand more"}),
                ElementsAre("f [1, a] 1", "  more", "and more"));
}

TEST_F(CallTreeTest, ThreadsAndProcessesAreApart) {
    read(traced("12:00:00.000000", entry("f [1, a]"), 1, 200) +
         traced("12:00:00.000001", entry("f [1, a]"), 2, 100) +
         traced("12:00:00.000002", entry("g [1, a]"), 3, 200) +
         traced("12:00:00.000005", exitOf("f [1, a]"), 1, 200) +
         traced("12:00:00.000007", exitOf("f [1, a]"), 2, 100) +
         traced("12:00:00.000009", "same thread id", 1, 100));
    std::vector<std::pair<std::uint64_t, std::uint32_t>> ids;
    for (const ThreadTrace* thread : tree->threads()) {
        ids.emplace_back(thread->process, thread->thread);
    }
    using Id = std::pair<std::uint64_t, std::uint32_t>;
    EXPECT_THAT(ids, ElementsAre(Id(200, 1), Id(200, 3), Id(100, 2), Id(100, 1)));
    EXPECT_THAT(drawnThread(0), ElementsAre("f [1, a] 5"));
    EXPECT_THAT(drawnThread(1), ElementsAre("g [1, a] not finished"));
    EXPECT_THAT(drawnThread(2), ElementsAre("f [1, a] 6"));
    EXPECT_THAT(drawnThread(3), ElementsAre("same thread id"));
}

TEST_F(CallTreeTest, CallsLastOverMidnight) {
    read("2026-12-31 23:59:59.999999 <Pid - 1 / Thread id - 1> " + entry("f [1, a]") +
         "\n2027-01-01 00:00:00.000001 <Pid - 1 / Thread id - 1> " + exitOf("f [1, a]") + "\n");
    EXPECT_THAT(drawnThread(0), ElementsAre("f [1, a] 2"));
    EXPECT_EQ(tree->counts().clockSetBacks, 0u);
}

TEST_F(CallTreeTest, WhereTheClockIsSetBackTimeStandsStill) {
    read(traced("12:00:00.000000", entry("f [1, a]")) + traced("12:00:00.000010", "x") +
         traced("11:00:00.000000", "y") + traced("11:00:00.000003", exitOf("f [1, a]")) +
         traced("11:00:00.000004", entry("g [1, a]")) +
         traced("10:00:00.000000", exitOf("g [1, a]")));
    EXPECT_THAT(drawnThread(0), ElementsAre("f [1, a] 13", "  x", "  y", "g [1, a] 0"));
    const std::vector<TraceEvent>& events = tree->threads()[0]->events;
    EXPECT_FALSE(events[0].clockSetBack);
    EXPECT_TRUE(events[2].clockSetBack);
    EXPECT_TRUE(events[3].clockSetBack);
    EXPECT_EQ(events[2].start, events[1].start);
    EXPECT_EQ(events[1].time - events[2].time, 3600000010);
    EXPECT_EQ(tree->counts().clockSetBacks, 2u);
}

TEST_F(CallTreeTest, AnotherThreadsEarlierTimeIsNoSetBack) {
    read(traced("12:00:00.000002", "x", 1) + traced("12:00:00.000001", "y", 2));
    EXPECT_EQ(tree->counts().clockSetBacks, 0u);
}

TEST_F(CallTreeTest, ErrorsAndWarningsMarkTheCallsAroundThem) {
    treeOf({entry("f [1, a]"), entry("g [2, a]"), exitOf("g [2, a]"), entry("h [3, a]"), "x",
            "ERROR: y", "WARNING: z", exitOf("h [3, a]"), exitOf("f [1, a]")});
    EXPECT_THAT(trouble(),
                ElementsAre("f [1, a] 8", "  h [3, a] 4", "    ERROR: y", "    WARNING: z"));
    EXPECT_EQ(tree->counts().errors, 1u);
    EXPECT_EQ(tree->counts().warnings, 1u);
}

TEST_F(CallTreeTest, WhatIsUnpairedMarksTheCallsAroundIt) {
    treeOf({entry("f [1, a]"), entry("g [2, a]"), exitOf("f [1, a]"), entry("h [1, a]"),
            exitOf("i [1, a]"), exitOf("h [1, a]"), "x"});
    EXPECT_THAT(trouble(), ElementsAre("f [1, a] 2", "  g [2, a] not finished", "h [1, a] 2",
                                       "  i [1, a] no entry"));
}

TEST_F(CallTreeTest, MarksAreWordsOfTheText) {
    for (const char* const text :
         {"ERROR: x", "ERROR", "X::f ERROR: x", "[ERROR] x", "Error: x", "a\nERROR: x"}) {
        EXPECT_EQ(markOf(text), TraceMark::ERROR) << text;
    }
    for (const char* const text : {"WARNING: x", "Warning: x", "x WARNING"}) {
        EXPECT_EQ(markOf(text), TraceMark::WARNING) << text;
    }
    for (const char* const text : {"", "MSG_ERROR_HELLO_0001", "ERRORS", "NOERROR", "Error x",
                                   "error: x", "aError: x", "WARNINGS", "KZFI_ERR"}) {
        EXPECT_EQ(markOf(text), TraceMark::NONE) << text;
    }
    EXPECT_EQ(markOf("WARNING: ERROR"), TraceMark::ERROR);
}

TEST_F(CallTreeTest, ManyUnpairedLinesTakeNoMoreThanTheirNumber) {
    // Quadratic in the number of lines this would not end within the test's time.
    CallTree many;
    TraceLine line;
    const int count = 200000;
    for (int i = 0; i < count; ++i) {
        line.text = entry("f" + std::to_string(i % 7) + " [1, a]");
        many.add(line);
    }
    line.text = exitOf("nobody [1, a]");
    for (int i = 0; i < count; ++i) {
        many.add(line);
    }
    line.text = "ERROR";
    for (int i = 0; i < count; ++i) {
        many.add(line);
    }
    many.finish();
    EXPECT_EQ(many.counts().notFinished, std::size_t{count});
    EXPECT_EQ(many.counts().exitsOnly, std::size_t{count});
    EXPECT_EQ(many.counts().errors, std::size_t{count});
    EXPECT_THAT(many.threads().at(0)->events, SizeIs(3 * count));
}

} // namespace
