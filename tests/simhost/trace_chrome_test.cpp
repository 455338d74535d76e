// The file for trace viewers, read back.
#include <gmock/gmock.h>

#include <sstream>

#include "json.h"
#include "support/temp_dir.h"
#include "trace/chrome_trace.h"
#include "trace_file.h"

namespace {

using kzfi_simhost::CallTree;
using kzfi_simhost::Json;
using kzfi_simhost::TraceLine;
using kzfi_simhost::TraceReader;
using kzfi_tests::traced;
using testing::SizeIs;

class ChromeTraceTest : public testing::Test {
  protected:
    Json eventsOf(const std::string& content) {
        kzfi_tests::writeFile(folder.path("x.log"), content);
        TraceReader reader(folder.path("x.log"));
        CallTree tree;
        for (TraceLine line; reader.next(line);) {
            tree.add(line);
        }
        tree.finish();
        std::ostringstream out;
        writeChromeTrace(out, tree);
        return Json::parse(out.str());
    }

    /// The events of this phase.
    static std::vector<Json> phase(const Json& events, const std::string& wanted) {
        std::vector<Json> found;
        for (const Json& event : events) {
            if (event["ph"] == wanted) {
                found.push_back(event);
            }
        }
        return found;
    }

    kzfi_tests::TempDir folder;
};

TEST_F(ChromeTraceTest, AnEmptyTraceIsAnEmptyArray) {
    EXPECT_EQ(eventsOf(""), Json::array());
}

TEST_F(ChromeTraceTest, ACallIsACompleteEvent) {
    const Json events = eventsOf(traced("12:00:01.000000", "first", 7, 5) +
                                 traced("12:00:01.000010", "Entering Function f [1, a.cpp]", 7, 5) +
                                 traced("12:00:01.000025", "Exiting Function f [1, a.cpp]", 7, 5));
    const std::vector<Json> calls = phase(events, "X");
    ASSERT_THAT(calls, SizeIs(1));
    EXPECT_EQ(calls[0],
              Json({{"name", "f"},
                    {"cat", "call"},
                    {"ph", "X"},
                    {"ts", 10},
                    {"dur", 15},
                    {"pid", 5},
                    {"tid", 7},
                    {"args", {{"text", "f [1, a.cpp]"}, {"time", "2026-11-20 12:00:01.000010"}}}}));
}

TEST_F(ChromeTraceTest, LinesAreInstantEventsOfTheirThread) {
    const std::string wide(200, 'x');
    const Json events = eventsOf(traced("12:00:01.000000", "ERROR: a\nb") +
                                 traced("12:00:01.000002", "WARNING: " + wide) +
                                 traced("12:00:01.000003", "Exiting Function g [1, a.cpp]"));
    const std::vector<Json> lines = phase(events, "i");
    ASSERT_THAT(lines, SizeIs(3));
    EXPECT_EQ(lines[0],
              Json({{"name", "ERROR: a"},
                    {"cat", "line,error"},
                    {"ph", "i"},
                    {"ts", 0},
                    {"s", "t"},
                    {"pid", 100},
                    {"tid", 1},
                    {"cname", "terrible"},
                    {"args", {{"text", "ERROR: a\nb"}, {"time", "2026-11-20 12:00:01.000000"}}}}));
    EXPECT_EQ(lines[1]["ts"], 2);
    EXPECT_EQ(lines[1]["cat"], "line,warning");
    EXPECT_EQ(lines[1]["name"], ("WARNING: " + wide).substr(0, 120));
    EXPECT_EQ(lines[1]["args"]["text"], "WARNING: " + wide);
    EXPECT_EQ(lines[2]["cat"], "exit");
    EXPECT_EQ(lines[2]["name"], "g");
}

TEST_F(ChromeTraceTest, ProcessesAndThreadsHaveNames) {
    const Json events =
        eventsOf(traced("12:00:00.000000", "a", 1, 10) + traced("12:00:00.000000", "b", 2, 10) +
                 traced("12:00:00.000000", "c", 1, 20));
    std::vector<std::string> names;
    for (const Json& event : phase(events, "M")) {
        names.push_back(event["name"].get<std::string>() + " " + event["pid"].dump() + " " +
                        event["tid"].dump() + " " + event["args"]["name"].get<std::string>());
    }
    EXPECT_THAT(names,
                testing::ElementsAre("process_name 10 1 process 10", "thread_name 10 1 thread 1",
                                     "thread_name 10 2 thread 2", "process_name 20 1 process 20",
                                     "thread_name 20 1 thread 1"));
}

TEST_F(ChromeTraceTest, ACallThatIsNotFinishedSaysSo) {
    const Json events = eventsOf(traced("12:00:00.000000", "Entering Function f [1, a]") +
                                 traced("12:00:00.000009", "last words"));
    const std::vector<Json> calls = phase(events, "X");
    ASSERT_THAT(calls, SizeIs(1));
    EXPECT_EQ(calls[0]["dur"], 9);
    EXPECT_EQ(calls[0]["cat"], "call,not finished");
    EXPECT_EQ(calls[0]["args"]["finished"], false);
}

TEST_F(ChromeTraceTest, WhatIsNoTextIsReplaced) {
    const Json events = eventsOf(traced("12:00:00.000000", "a\xff"
                                                           "b\x1b"));
    EXPECT_EQ(phase(events, "i").at(0)["name"], "a\xEF\xBF\xBD"
                                                "b\x1b");
}

TEST_F(ChromeTraceTest, ANameIsNotCutWithinACharacter) {
    const Json events = eventsOf(traced("12:00:00.000000", std::string(119, 'x') + "für"));
    EXPECT_EQ(phase(events, "i").at(0)["name"], std::string(119, 'x') + "f");
    const Json other = eventsOf(traced("12:00:00.000000", std::string(119, 'x') + "übel"));
    EXPECT_EQ(phase(other, "i").at(0)["name"], std::string(119, 'x'));
}

/// Says what of the calls of a thread, in the order of the file, does not lie within the call
/// around it.
std::string wrongNesting(const Json& events, const Json& thread) {
    std::vector<std::pair<std::int64_t, std::int64_t>> around;
    std::int64_t latest = 0;
    for (const Json& event : events) {
        if (event["ph"] == "M" || event["tid"] != thread["tid"] || event["pid"] != thread["pid"]) {
            continue;
        }
        const std::int64_t start = event["ts"];
        const std::int64_t end = start + event.value("dur", 0);
        if (start < latest || end < start) {
            return "not in order: " + event.dump();
        }
        latest = start;
        while (!around.empty() && around.back().second <= start) {
            around.pop_back();
        }
        if (!around.empty() && end > around.back().second) {
            return "not within the call around it: " + event.dump();
        }
        if (event["ph"] == "X") {
            around.emplace_back(start, end);
        }
    }
    return "";
}

TEST_F(ChromeTraceTest, CallsNestWhateverTheLinesAre) {
    unsigned int random = 1;
    const auto next = [&](unsigned int below) {
        random = random * 1103515245 + 12345;
        return random / 65536 % below;
    };
    for (int round = 0; round < 50; ++round) {
        std::string content;
        unsigned int time = 100;
        for (int i = 0; i < 200; ++i) {
            // Now and then the clock goes back.
            time = next(20) == 0 ? next(100) : time + next(3);
            char clock[40];
            std::snprintf(clock, sizeof clock, "12:00:00.%06u", time);
            const std::string call = std::string(1, static_cast<char>('f' + next(4))) + " [1, a]";
            const char* const kinds[] = {"Entering Function ", "Exiting Function ", "line "};
            content += traced(clock, kinds[next(3)] + call, static_cast<int>(next(2)));
        }
        const Json events = eventsOf(content);
        std::size_t threads = 0;
        for (const Json& event : phase(events, "M")) {
            if (event["name"] == "thread_name") {
                ++threads;
                EXPECT_EQ(wrongNesting(events, event), "") << content;
            }
        }
        EXPECT_EQ(threads, 2u);
    }
}

} // namespace
