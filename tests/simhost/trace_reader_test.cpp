#include "trace/trace_reader.h"

#include <gmock/gmock.h>

#include "cfitracelog.h"
#include "scenario.h"
#include "support/fixed_paths.h"
#include "support/temp_dir.h"

namespace {

using kzfi_simhost::CannotRun;
using kzfi_simhost::clockText;
using kzfi_simhost::dateText;
using kzfi_simhost::TraceLine;
using kzfi_simhost::TraceReader;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const std::string HEAD = "2026-11-20 12:00:00.000000 <Pid - 100 / Thread id - 1> ";

/// All that reading a file came to.
struct Seen {
    std::vector<TraceLine> lines;
    std::vector<std::string> texts;
    std::size_t notUnderstood = 0;
    std::size_t firstNotUnderstood = 0;
    bool endsEarly = false;
};

class TraceReaderTest : public testing::Test {
  protected:
    Seen reading(const std::string& content) {
        kzfi_tests::writeFile(folder.path("x.log"), content);
        TraceReader reader(folder.path("x.log"));
        Seen seen;
        for (TraceLine line; reader.next(line);) {
            seen.lines.push_back(line);
            seen.texts.push_back(line.text);
        }
        seen.notUnderstood = reader.notUnderstood();
        seen.firstNotUnderstood = reader.firstNotUnderstood();
        seen.endsEarly = reader.endsEarly();
        return seen;
    }

    /// A line of its own between others.
    Seen between(std::string before, const std::string& line, const std::string& behind) {
        return reading(before.append(line).append("\n").append(behind));
    }

    kzfi_tests::TempDir folder;
};

TEST_F(TraceReaderTest, ReadsTimeProcessThreadAndText) {
    const Seen seen =
        reading("2026-11-20 19:53:51.114810 <Pid - 4711 / Thread id - 4294967295> some text\n");
    ASSERT_THAT(seen.lines, SizeIs(1));
    const TraceLine& line = seen.lines[0];
    EXPECT_EQ(line.time, 1795204431114810);
    EXPECT_EQ(dateText(line.time), "2026-11-20");
    EXPECT_EQ(clockText(line.time), "19:53:51.114810");
    EXPECT_TRUE(line.timed);
    EXPECT_EQ(line.process, 4711u);
    EXPECT_EQ(line.thread, 4294967295u);
    EXPECT_EQ(line.text, "some text");
    EXPECT_EQ(seen.notUnderstood, 0u);
    EXPECT_FALSE(seen.endsEarly);
}

TEST_F(TraceReaderTest, ReadsWhatTheTraceLogWrites) {
    std::string written;
    static std::string* sink;
    sink = &written;
    kzfi_pdk_4_4::CFiTraceLog log;
    log.registerLogHandler([](const char* line, int) { *sink = line; }, 3);
    log.trace(3, "a message");
    // A handler gets a colon where a file has a blank.
    written.replace(written.find(":<Pid"), 1, " ");
    const Seen seen = reading(written + "\n");
    EXPECT_THAT(seen.texts, ElementsAre("a message"));
    EXPECT_EQ(seen.lines[0].process, static_cast<std::uint64_t>(getpid()));
    EXPECT_EQ(seen.notUnderstood, 0u);
}

TEST_F(TraceReaderTest, ALineWithoutAHeadContinuesTheTextBefore) {
    EXPECT_THAT(reading(HEAD + "a\nb\n\n  c\n" + HEAD + "d\n").texts,
                ElementsAre("a\nb\n\n  c", "d"));
    // Times and heads within a text are no heads.
    EXPECT_THAT(reading(HEAD + "a\nsee " + HEAD + "b\n2026\n").texts,
                ElementsAre("a\nsee " + HEAD + "b\n2026"));
}

TEST_F(TraceReaderTest, LineEndsAtTheEndOfATextAreNoneOfIt) {
    EXPECT_THAT(reading(HEAD + "a\n\n\n" + HEAD + "\n").texts, ElementsAre("a", ""));
}

TEST_F(TraceReaderTest, ReadsFilesWithCarriageReturns) {
    EXPECT_THAT(reading(HEAD + "a\r\nb\r\n" + HEAD + "c\r\n").texts, ElementsAre("a\nb", "c"));
}

TEST_F(TraceReaderTest, AnEmptyFileHasNoLines) {
    const Seen seen = reading("");
    EXPECT_THAT(seen.lines, IsEmpty());
    EXPECT_EQ(seen.notUnderstood, 0u);
    EXPECT_FALSE(seen.endsEarly);
}

TEST_F(TraceReaderTest, KeepsBytesThatAreNoText) {
    const std::string bytes("\xff\0\x1b[31m", 7);
    EXPECT_THAT(reading(HEAD + bytes + "\n").texts, ElementsAre(bytes));
}

TEST_F(TraceReaderTest, CountsWhatStandsBeforeTheFirstMessage) {
    const Seen seen = reading("\nrubbish\n\r\nmore\n" + HEAD + "a\n");
    EXPECT_THAT(seen.texts, ElementsAre("a"));
    EXPECT_EQ(seen.notUnderstood, 2u);
    EXPECT_EQ(seen.firstNotUnderstood, 2u);
}

TEST_F(TraceReaderTest, CountsHeadsThatAreDamaged) {
    for (const std::string damaged : {
             "2026-11-20 12:00:00.000000 <Pid - x / Thread id - 1> text",
             "2026-11-20 12:00:00.000000 <Pid - 100 / Thread id - 4294967296> text",
             "2026-11-20 12:00:00.000000 <Pid - 99999999999999999999 / Thread id - 1> text",
             "2026-11-20 12:00:00.000000 <Pid -  / Thread id - 1> text",
             "2026-11-20 12:00:00.000000 text",
             "<time error> text",
         }) {
        const Seen seen = between(HEAD + "a\n", damaged, HEAD + "b\n");
        EXPECT_THAT(seen.texts, ElementsAre("a", "b")) << damaged;
        EXPECT_EQ(seen.notUnderstood, 1u) << damaged;
        EXPECT_EQ(seen.firstNotUnderstood, 2u) << damaged;
    }
}

TEST_F(TraceReaderTest, WhatIsNoTimeIsNoHead) {
    for (const std::string& other : std::vector<std::string>{
             "2026-13-20 12:00:00.000000 <Pid - 100 / Thread id - 1> text",
             "2026-02-30 12:00:00.000000 <Pid - 100 / Thread id - 1> text",
             "2026-11-20 24:00:00.000000 <Pid - 100 / Thread id - 1> text",
             "2026-11-20 12:60:00.000000 <Pid - 100 / Thread id - 1> text",
             "2026-11-20 12:00:00,000000 <Pid - 100 / Thread id - 1> text",
             " " + HEAD + "text",
         }) {
        EXPECT_THAT(between(HEAD + "a\n", other, "").texts, ElementsAre("a\n" + other));
    }
}

TEST_F(TraceReaderTest, ALastLineMayBeCutOffAnywhere) {
    const std::string last = "2026-11-20 12:00:01.000000 <Pid - 100 / Thread id - 1> text";
    const std::size_t head = HEAD.size();
    for (std::size_t length = 1; length <= last.size(); ++length) {
        const Seen seen = reading(HEAD + "a\n" + last.substr(0, length));
        EXPECT_TRUE(seen.endsEarly) << length;
        EXPECT_EQ(seen.notUnderstood, length < head ? 1u : 0u) << length;
        ASSERT_THAT(seen.texts, SizeIs(length < head ? 1 : 2)) << length;
        EXPECT_EQ(seen.texts[0], "a") << length;
    }
}

TEST_F(TraceReaderTest, ALineWithoutATimeTakesThatOfTheLineBefore) {
    const Seen seen = reading(HEAD + "a\n<time error> <Pid - 100 / Thread id - 1> b\n");
    EXPECT_THAT(seen.texts, ElementsAre("a", "b"));
    EXPECT_FALSE(seen.lines[1].timed);
    EXPECT_EQ(seen.lines[1].time, seen.lines[0].time);
}

TEST_F(TraceReaderTest, KeepsNoMoreThanTheBeginningOfAnEndlessText) {
    const std::string endless(3 * TraceReader::LONGEST, 'x');
    const Seen seen = reading(HEAD + endless + "\n" + HEAD + "a\n" + endless + "\n" + HEAD + "b\n");
    ASSERT_THAT(seen.texts, SizeIs(3));
    EXPECT_EQ(seen.texts[0], endless.substr(0, TraceReader::LONGEST - HEAD.size()));
    EXPECT_LE(seen.texts[1].size(), TraceReader::LONGEST);
    EXPECT_EQ(seen.texts[2], "b");
    std::string many = HEAD + "a\n";
    for (int i = 0; i < 1000; ++i) {
        many += std::string(1000, 'x') + "\n";
    }
    EXPECT_LE(reading(many).texts.at(0).size(), TraceReader::LONGEST);
}

TEST_F(TraceReaderTest, TellsTimesBefore1970) {
    const Seen seen = reading("1969-12-31 23:59:59.999999 <Pid - 1 / Thread id - 1> a\n");
    ASSERT_THAT(seen.lines, SizeIs(1));
    EXPECT_EQ(dateText(seen.lines[0].time), "1969-12-31");
    EXPECT_EQ(clockText(seen.lines[0].time), "23:59:59.999999");
}

TEST_F(TraceReaderTest, AFileThatCannotBeReadIsNamedWithTheReason) {
    const auto reasonFor = [](const std::string& path) -> std::string {
        try {
            TraceReader reader(path);
            TraceLine line;
            reader.next(line);
        } catch (const CannotRun& failure) {
            return failure.what();
        }
        return "";
    };
    EXPECT_EQ(reasonFor(folder.path("none")),
              folder.path("none") + ": the file cannot be read: No such file or directory");
    EXPECT_EQ(reasonFor(folder.path()),
              folder.path() + ": the file cannot be read: Is a directory");
}

} // namespace
