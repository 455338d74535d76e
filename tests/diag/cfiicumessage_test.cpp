#include <gmock/gmock.h>
#include <unicode/measunit.h>
#include <unicode/measure.h>

#include <cstring>
#include <memory>
#include <stdexcept>

#include "cfiicucatalog.h"
#include "cfistringtool.h"

using namespace kzfi_pdk_4_4;
using icu::Formattable;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

Formattable text(const char* utf8) {
    return Formattable(icu::UnicodeString::fromUTF8(utf8));
}

Formattable date(double when) {
    return Formattable(when, Formattable::kIsDate);
}

// One word for each argument: its kind and its value.
std::vector<std::string> argumentsOf(const CFiIcuMessage& message) {
    std::vector<std::string> words;
    EXPECT_EQ(message.getArguments().getType(), Formattable::kArray);
    std::int32_t count = 0;
    const Formattable* const values = message.getArguments().getArray(count);
    for (std::int32_t i = 0; i < count; ++i) {
        std::string utf8;
        switch (values[i].getType()) {
        case Formattable::kDouble:
            words.push_back("double " + CFiStringTool::double2str(values[i].getDouble()));
            break;
        case Formattable::kLong:
            words.push_back("long " + std::to_string(values[i].getLong()));
            break;
        case Formattable::kString:
            words.push_back("string " + values[i].getString().toUTF8String(utf8));
            break;
        default:
            words.push_back("other");
        }
    }
    return words;
}

class IcuMessage : public testing::Test {
  protected:
    static CFiIcuMessage* make(const std::vector<Formattable>& arguments,
                               const std::string& key = "MSG_ERROR_ABC_0003") {
        return new CFiIcuMessage(key, 3, "store.cpp", 42, arguments);
    }
    static std::string serialized(const std::vector<Formattable>& arguments,
                                  const std::string& key = "MSG_ERROR_ABC_0003") {
        const std::unique_ptr<CFiIcuMessage> message(make(arguments, key));
        return message->serialize()->text;
    }
    // The value part of the one argument's line.
    static std::string valueText(const Formattable& argument) {
        const std::string whole = serialized({argument});
        const std::size_t begin = whole.find('>', whole.find("<ARGVALUE")) + 1;
        return whole.substr(begin, whole.find("</ARGVALUE>\n") - begin);
    }
    void read(const std::string& from) {
        const kfi_msg_info info = {from.c_str(), 0};
        message.deserialize(&info);
    }
    // What comes out on the other side.
    std::vector<std::string> afterTheJourney(const std::vector<Formattable>& arguments) {
        read(serialized(arguments));
        return argumentsOf(message);
    }
    static std::string formatted(const std::string& pattern,
                                 const std::vector<Formattable>& arguments) {
        const std::unique_ptr<CFiIcuMessage> filled(make(arguments));
        return filled->formatMessage(pattern.c_str()).c_str();
    }

    CFiIcuMessage message;
};

// ---- Construction ----

TEST_F(IcuMessage, StartsEmpty) {
    EXPECT_EQ(message.getMessageId(), "");
    EXPECT_EQ(message.getFileName(), "");
    EXPECT_EQ(message.getLineNumber(), 0);
    EXPECT_THAT(argumentsOf(message), IsEmpty());
}

TEST_F(IcuMessage, TakesItsFields) {
    const std::unique_ptr<CFiIcuMessage> made(make({text("disk1"), Formattable(42), 1.5}));
    EXPECT_EQ(made->getMessageId(), "MSG_ERROR_ABC_0003");
    EXPECT_EQ(made->getSeverity(), 3);
    EXPECT_EQ(made->getFileName(), "store.cpp");
    EXPECT_EQ(made->getLineNumber(), 42);
    EXPECT_THAT(argumentsOf(*made), ElementsAre("string disk1", "long 42", "double 1.5"));
}

// ---- serialize ----

TEST_F(IcuMessage, SerializesLineByLine) {
    EXPECT_EQ(serialized({text("disk1"), Formattable(42)}),
              "<SERIALIZED_MESSAGE MSGID=MSG_ERROR_ABC_0003 SEVERITY=3>\n"
              "\t<ARGVALUE INDEX=0 TYPE=3>disk1</ARGVALUE>\n"
              "\t<ARGVALUE INDEX=1 TYPE=2>42</ARGVALUE>\n"
              "</SERIALIZED_MESSAGE>\n");
}

TEST_F(IcuMessage, WithoutArgumentsSerializesToAnEmptyText) {
    const std::unique_ptr<CFiIcuMessage> made(make({}));
    for (CFiIcuMessage* const empty : {made.get(), &message}) {
        const kfi_msg_info* const info = empty->serialize();
        ASSERT_NE(info, nullptr);
        ASSERT_NE(info->text, nullptr);
        EXPECT_STREQ(info->text, "");
        EXPECT_EQ(info->length, 0u);
    }
}

TEST_F(IcuMessage, GivesTheSameRecordEveryTime) {
    const std::unique_ptr<CFiIcuMessage> made(make({text("a")}));
    const kfi_msg_info* const first = made->serialize();
    const std::string before = first->text;
    EXPECT_EQ(first->length, before.size());
    EXPECT_EQ(made->serialize(), first);
    EXPECT_EQ(first->text, before);
}

TEST_F(IcuMessage, SerializesAnewAfterDeserialize) {
    const std::unique_ptr<CFiIcuMessage> made(make({text("a")}));
    made->serialize();
    const std::string other = "<SERIALIZED_MESSAGE MSGID=K SEVERITY=6>\n"
                              "\t<ARGVALUE INDEX=0 TYPE=2>7</ARGVALUE>\n"
                              "</SERIALIZED_MESSAGE>\n";
    const kfi_msg_info info = {other.c_str(), static_cast<std::uint32_t>(other.size())};
    made->deserialize(&info);
    EXPECT_EQ(made->serialize()->text, other);
    EXPECT_EQ(made->serialize()->length, other.size());
}

TEST_F(IcuMessage, WritesEachKindOfValue) {
    EXPECT_EQ(valueText(Formattable(-7)), "-7");
    EXPECT_EQ(valueText(Formattable(1.5)), "1.5");
    EXPECT_EQ(valueText(Formattable(1.0 / 3)), "0.333333");
    EXPECT_EQ(valueText(Formattable(1234567.0)), "1.23457e+06");
    EXPECT_EQ(valueText(date(86400000.0)), "8.64e+07");
    EXPECT_EQ(valueText(text("Größe 木")), "Größe 木");
    EXPECT_EQ(valueText(text("")), "");
    EXPECT_EQ(valueText(Formattable(std::int64_t(1) << 40)), "");
    const Formattable inner[] = {Formattable(1)};
    EXPECT_EQ(valueText(Formattable(inner, 1)), "");
}

TEST_F(IcuMessage, WritesTheNumberOfEachKind) {
    const Formattable inner[] = {Formattable(1)};
    const std::string whole = serialized({date(0), 1.5, Formattable(1), text("x"),
                                          Formattable(inner, 1), Formattable(std::int64_t(1))});
    EXPECT_EQ(whole, "<SERIALIZED_MESSAGE MSGID=MSG_ERROR_ABC_0003 SEVERITY=3>\n"
                     "\t<ARGVALUE INDEX=0 TYPE=0>0</ARGVALUE>\n"
                     "\t<ARGVALUE INDEX=1 TYPE=1>1.5</ARGVALUE>\n"
                     "\t<ARGVALUE INDEX=2 TYPE=2>1</ARGVALUE>\n"
                     "\t<ARGVALUE INDEX=3 TYPE=3>x</ARGVALUE>\n"
                     "\t<ARGVALUE INDEX=4 TYPE=4></ARGVALUE>\n"
                     "\t<ARGVALUE INDEX=5 TYPE=5></ARGVALUE>\n"
                     "</SERIALIZED_MESSAGE>\n");
}

TEST_F(IcuMessage, ObjectIsWrittenWithoutAValue) {
    UErrorCode status = U_ZERO_ERROR;
    const Formattable length(
        new icu::Measure(Formattable(1), icu::MeasureUnit::createMeter(status), status));
    ASSERT_TRUE(U_SUCCESS(status));
    EXPECT_EQ(serialized({length}), "<SERIALIZED_MESSAGE MSGID=MSG_ERROR_ABC_0003 SEVERITY=3>\n"
                                    "\t<ARGVALUE INDEX=0 TYPE=6></ARGVALUE>\n"
                                    "</SERIALIZED_MESSAGE>\n");
}

TEST_F(IcuMessage, NothingIsEscaped) {
    EXPECT_EQ(valueText(text("a&b<c>\"'\t\n")), "a&b<c>\"'\t\n");
}

TEST_F(IcuMessage, LongValueIsWrittenWhole) {
    const std::string value(5000, 'v');
    EXPECT_EQ(valueText(text(value.c_str())), value);
    EXPECT_THAT(afterTheJourney({text(value.c_str()), Formattable(1)}),
                ElementsAre("string " + value, "long 1"));
}

TEST_F(IcuMessage, HeaderOfAnOverlongKeyIsCut) {
    const std::string key(2000, 'K');
    const std::string whole = serialized({Formattable(1)}, key);
    const std::string header = ("<SERIALIZED_MESSAGE MSGID=" + key).substr(0, 1023);
    EXPECT_EQ(whole, header + "\t<ARGVALUE INDEX=0 TYPE=2>1</ARGVALUE>\n"
                              "</SERIALIZED_MESSAGE>\n");
}

TEST_F(IcuMessage, LongestKeyThatFitsTravels) {
    // 1023 characters with all that stands around the key.
    const std::string key(1023 - std::strlen("<SERIALIZED_MESSAGE MSGID= SEVERITY=3>\n"), 'K');
    read(serialized({Formattable(1)}, key));
    EXPECT_EQ(message.getMessageId(), key);
    EXPECT_EQ(message.getSeverity(), 3);
}

// ---- deserialize ----

TEST_F(IcuMessage, ReadsWhatWasWritten) {
    read("<SERIALIZED_MESSAGE MSGID=MSG_ERROR_ABC_0003 SEVERITY=5>\n"
         "\t<ARGVALUE INDEX=0 TYPE=3>disk1</ARGVALUE>\n"
         "\t<ARGVALUE INDEX=1 TYPE=2>42</ARGVALUE>\n"
         "\t<ARGVALUE INDEX=2 TYPE=1>-2.5</ARGVALUE>\n"
         "</SERIALIZED_MESSAGE>\n");
    EXPECT_EQ(message.getMessageId(), "MSG_ERROR_ABC_0003");
    EXPECT_EQ(message.getSeverity(), 5);
    EXPECT_THAT(argumentsOf(message), ElementsAre("string disk1", "long 42", "double -2.5"));
}

TEST_F(IcuMessage, DeserializeLeavesFileAndLine) {
    const std::unique_ptr<CFiIcuMessage> made(make({}));
    const std::string other = serialized({Formattable(1)}, "OTHER");
    const kfi_msg_info info = {other.c_str(), 0};
    made->deserialize(&info);
    EXPECT_EQ(made->getMessageId(), "OTHER");
    EXPECT_EQ(made->getFileName(), "store.cpp");
    EXPECT_EQ(made->getLineNumber(), 42);
}

TEST_F(IcuMessage, DeserializeDoesNotReadTheLength) {
    const std::string whole = serialized({text("disk1")});
    for (const std::uint32_t length : {0u, 1u, 4000000000u}) {
        CFiIcuMessage target;
        const kfi_msg_info info = {whole.c_str(), length};
        target.deserialize(&info);
        EXPECT_THAT(argumentsOf(target), ElementsAre("string disk1"));
    }
}

TEST_F(IcuMessage, TextWithoutAHeaderCharacterChangesNothing) {
    const std::unique_ptr<CFiIcuMessage> made(make({text("kept")}));
    const kfi_msg_info nothing = {nullptr, 0};
    const kfi_msg_info empty = {"", 0};
    const kfi_msg_info foreign = {"plain words, 123 and > too; BCFHJKNOPQTUVWXY", 0};
    for (const kfi_msg_info* const info :
         {static_cast<const kfi_msg_info*>(nullptr), &nothing, &empty, &foreign}) {
        made->deserialize(info);
        EXPECT_EQ(made->getMessageId(), "MSG_ERROR_ABC_0003");
        EXPECT_EQ(made->getSeverity(), 3);
        EXPECT_THAT(argumentsOf(*made), ElementsAre("string kept"));
    }
}

TEST_F(IcuMessage, WhatStandsBeforeTheHeaderIsSkipped) {
    read("noise: <SERIALIZED_MESSAGE MSGID=K SEVERITY=2>\n"
         "\t<ARGVALUE INDEX=0 TYPE=2>1</ARGVALUE>\n</SERIALIZED_MESSAGE>\n");
    EXPECT_EQ(message.getMessageId(), "K");
    EXPECT_EQ(message.getSeverity(), 2);
}

// The search for the header goes for any of its characters.
TEST_F(IcuMessage, HeaderIsMissedBehindEachOfItsCharacters) {
    for (const char* character = "<SERIALIZED_MESSAGE"; *character != '\0'; ++character) {
        const std::unique_ptr<CFiIcuMessage> made(make({text("old")}));
        const std::string from =
            std::string("x") + *character + " " + serialized({text("new")}, "OTHER");
        const kfi_msg_info info = {from.c_str(), 0};
        made->deserialize(&info);
        EXPECT_EQ(made->getMessageId(), "") << *character;
        EXPECT_EQ(made->getSeverity(), 3) << *character;
        EXPECT_THAT(argumentsOf(*made), ElementsAre("string new")) << *character;
    }
}

TEST_F(IcuMessage, ForeignTextWithAHeaderCharacterClearsKeyAndArguments) {
    const std::unique_ptr<CFiIcuMessage> made(make({text("old")}));
    const kfi_msg_info info = {"Error: disk full", 0};
    made->deserialize(&info);
    EXPECT_EQ(made->getMessageId(), "");
    EXPECT_EQ(made->getSeverity(), 3);
    EXPECT_THAT(argumentsOf(*made), IsEmpty());
}

// The search for the first argument goes for any of the characters of its own opening.
TEST_F(IcuMessage, FirstArgumentIsMissedBehindEachOfItsCharacters) {
    for (const char* const note : {"A", "R", "G", "V", "L", "U", "E"}) {
        read(std::string("<SERIALIZED_MESSAGE MSGID=K SEVERITY=2> note ") + note +
             " <ARGVALUE INDEX=0 TYPE=2>1</ARGVALUE>\n"
             "\t<ARGVALUE INDEX=1 TYPE=2>2</ARGVALUE>\n</SERIALIZED_MESSAGE>\n");
        EXPECT_THAT(argumentsOf(message), ElementsAre("long 2")) << note;
    }
}

TEST_F(IcuMessage, FirstArgumentIsFoundBehindOtherCharactersOfTheHeader) {
    read("<SERIALIZED_MESSAGE MSGID=K SEVERITY=2> S M D Z _ I "
         "<ARGVALUE INDEX=0 TYPE=2>1</ARGVALUE>\n"
         "\t<ARGVALUE INDEX=1 TYPE=2>2</ARGVALUE>\n</SERIALIZED_MESSAGE>\n");
    EXPECT_THAT(argumentsOf(message), ElementsAre("long 1", "long 2"));
}

TEST_F(IcuMessage, LaterArgumentsAreFoundByTheWholeWord) {
    read("<SERIALIZED_MESSAGE MSGID=K SEVERITY=2>\n"
         "\t<ARGVALUE INDEX=0 TYPE=2>1</ARGVALUE> A <ARGUMENT> \n"
         "\t<ARGVALUE INDEX=1 TYPE=2>2</ARGVALUE>\n</SERIALIZED_MESSAGE>\n");
    EXPECT_THAT(argumentsOf(message), ElementsAre("long 1", "long 2"));
}

TEST_F(IcuMessage, IndicesDoNotCount) {
    read("<SERIALIZED_MESSAGE MSGID=K SEVERITY=2>\n"
         "\t<ARGVALUE INDEX=5 TYPE=3>five</ARGVALUE>\n"
         "\t<ARGVALUE INDEX=2 TYPE=3>two</ARGVALUE>\n</SERIALIZED_MESSAGE>\n");
    EXPECT_THAT(argumentsOf(message), ElementsAre("string five", "string two"));
}

TEST_F(IcuMessage, TagsAreReadByTheRulesOfScanf) {
    read("<SERIALIZED_MESSAGE \t MSGID= K\nSEVERITY= +4 whatever>"
         "\n<ARGVALUEINDEX=-1\tTYPE= 2 more>1</ARGVALUE>"
         "<ARGVALUE   INDEX=4294967298 TYPE=4294967298>2</ARGVALUE>"
         "<ARGVALUE INDEX=0 TYPE=0x10>3</ARGVALUE></SERIALIZED_MESSAGE>");
    EXPECT_EQ(message.getMessageId(), "K");
    EXPECT_EQ(message.getSeverity(), 4);
    EXPECT_THAT(argumentsOf(message), ElementsAre("long 1", "long 2", "double 3"));
}

TEST_F(IcuMessage, SeverityThatIsNoNumberStays) {
    const std::unique_ptr<CFiIcuMessage> made(make({}));
    const kfi_msg_info info = {"<SERIALIZED_MESSAGE MSGID=K SEVERITY=high>", 0};
    made->deserialize(&info);
    EXPECT_EQ(made->getMessageId(), "K");
    EXPECT_EQ(made->getSeverity(), 3);
}

TEST_F(IcuMessage, KeyWithABlankLosesTheSeverity) {
    const std::unique_ptr<CFiIcuMessage> made(make({}));
    const kfi_msg_info info = {"<SERIALIZED_MESSAGE MSGID=ONE TWO SEVERITY=5>", 0};
    made->deserialize(&info);
    EXPECT_EQ(made->getMessageId(), "ONE");
    EXPECT_EQ(made->getSeverity(), 3);
}

TEST_F(IcuMessage, EmptyKeyReadsTheSeverityInItsPlace) {
    read(serialized({Formattable(1)}, ""));
    EXPECT_EQ(message.getMessageId(), "SEVERITY=3>");
    EXPECT_EQ(message.getSeverity(), 0);
}

TEST_F(IcuMessage, OverlongKeyIsCutOnReading) {
    const std::string key(3000, 'K');
    read("<SERIALIZED_MESSAGE MSGID=" + key + " SEVERITY=5>");
    EXPECT_EQ(message.getMessageId(), key.substr(0, 1023));
    EXPECT_EQ(message.getSeverity(), 0);
}

TEST_F(IcuMessage, HeaderAloneGivesAnEmptyList) {
    for (const char* const header :
         {"<SERIALIZED_MESSAGE MSGID=K SEVERITY=5>", "<SERIALIZED_MESSAGE MSGID=K SEVERITY=5>\n",
          "<SERIALIZED_MESSAGE MSGID=K SEVERITY=5"}) {
        const std::unique_ptr<CFiIcuMessage> made(make({text("old")}));
        const kfi_msg_info info = {header, 0};
        made->deserialize(&info);
        EXPECT_EQ(made->getMessageId(), "K") << header;
        EXPECT_EQ(made->getSeverity(), 5) << header;
        EXPECT_THAT(argumentsOf(*made), IsEmpty()) << header;
    }
}

TEST_F(IcuMessage, TagThatIsNotUnderstoodGivesNoArgument) {
    read("<SERIALIZED_MESSAGE MSGID=K SEVERITY=2>\n"
         "\t<ARGVALUE INDEX=0 TYPE=2>1</ARGVALUE>\n"
         "\t<ARGVALUE TYPE=2 INDEX=1>2</ARGVALUE>\n"
         "\t<ARGVALUE INDEX=2 TYPE=two>3</ARGVALUE>\n"
         "\t<ARGVALUE INDEX=x TYPE=2>4</ARGVALUE>\n"
         "\t<ARGVALUE INDEX=4 TYPE=2>5</ARGVALUE>\n</SERIALIZED_MESSAGE>\n");
    EXPECT_THAT(argumentsOf(message), ElementsAre("long 1", "long 5"));
}

TEST_F(IcuMessage, OtherKindsGiveNoArgument) {
    for (const int type : {4, 5, 6, 7, 99, -1}) {
        read("<SERIALIZED_MESSAGE MSGID=K SEVERITY=2>\n\t<ARGVALUE INDEX=0 TYPE=" +
             std::to_string(type) + ">1</ARGVALUE>\n</SERIALIZED_MESSAGE>\n");
        EXPECT_THAT(argumentsOf(message), IsEmpty()) << type;
    }
}

TEST_F(IcuMessage, EmptyValuesAreZeroOrEmpty) {
    read("<SERIALIZED_MESSAGE MSGID=K SEVERITY=2>\n"
         "\t<ARGVALUE INDEX=0 TYPE=1></ARGVALUE>\n"
         "\t<ARGVALUE INDEX=1 TYPE=2></ARGVALUE>\n"
         "\t<ARGVALUE INDEX=2 TYPE=3></ARGVALUE>\n</SERIALIZED_MESSAGE>\n");
    EXPECT_THAT(argumentsOf(message), ElementsAre("double 0", "long 0", "string "));
}

TEST_F(IcuMessage, ElevenCharactersAreSkippedBehindAValue) {
    read("<SERIALIZED_MESSAGE MSGID=K SEVERITY=2>\n"
         "\t<ARGVALUE INDEX=0 TYPE=2>1<ARGVALUE!!<ARGVALUE INDEX=1 TYPE=2>2<123456789.");
    EXPECT_THAT(argumentsOf(message), ElementsAre("long 1", "long 2"));
    read("<SERIALIZED_MESSAGE MSGID=K SEVERITY=2>\n"
         "\t<ARGVALUE INDEX=0 TYPE=2>1<ARGVALUE!<ARGVALUE INDEX=1 TYPE=2>2<123456789.");
    EXPECT_THAT(argumentsOf(message), ElementsAre("long 1"));
}

// Every text that ends too early, as the words behind the header.
TEST_F(IcuMessage, TruncatedTextThrows) {
    const char* const texts[] = {
        "</SERIALIZED_MESSAGE>\n",
        "\t<ARGVALUE",
        "\t<ARGVALUE INDEX=0 TYPE=3",
        "\t<ARGVALUE INDEX=0 TYPE=3>",
        "\t<ARGVALUE INDEX=0 TYPE=3>disk1",
        "\t<ARGVALUE INDEX=0 TYPE=3>disk1<",
        "\t<ARGVALUE INDEX=0 TYPE=3>disk1</ARGVALUE",
        "\t<ARGVALUE INDEX=0 TYPE=3>disk1</ARGVALUE>\n\t<ARGVALUE INDEX=1",
    };
    for (const char* const rest : texts) {
        const std::unique_ptr<CFiIcuMessage> made(make({text("old")}));
        const std::string from = std::string("<SERIALIZED_MESSAGE MSGID=K SEVERITY=5>\n") + rest;
        const kfi_msg_info info = {from.c_str(), 0};
        try {
            made->deserialize(&info);
            ADD_FAILURE() << "accepted: " << rest;
        } catch (const std::out_of_range& exception) {
            EXPECT_THAT(exception.what(), StartsWith("basic_string::substr")) << rest;
        }
        EXPECT_EQ(made->getMessageId(), "K") << rest;
        EXPECT_EQ(made->getSeverity(), 5) << rest;
        EXPECT_THAT(argumentsOf(*made), ElementsAre("string old")) << rest;
    }
}

TEST_F(IcuMessage, ClosingTagMayEndTheText) {
    read("<SERIALIZED_MESSAGE MSGID=K SEVERITY=5>\n"
         "\t<ARGVALUE INDEX=0 TYPE=3>disk1</ARGVALUE>");
    EXPECT_THAT(argumentsOf(message), ElementsAre("string disk1"));
}

TEST_F(IcuMessage, NoPrefixOfAMessageDoesHarm) {
    const std::string whole = serialized({text("disk1"), Formattable(42), 1.5});
    int refused = 0;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        try {
            read(whole.substr(0, size));
        } catch (const std::out_of_range&) {
            ++refused;
        }
    }
    EXPECT_GT(refused, 0);
    EXPECT_THAT(afterTheJourney({Formattable(1)}), ElementsAre("long 1"));
}

TEST_F(IcuMessage, ManyArgumentsAreRead) {
    std::vector<Formattable> many;
    std::vector<std::string> expected;
    for (int i = 0; i < 5000; ++i) {
        many.emplace_back(i);
        expected.push_back("long " + std::to_string(i));
    }
    EXPECT_THAT(afterTheJourney(many), ElementsAreArray(expected));
}

// ---- Both ways ----

TEST_F(IcuMessage, BlanksInAStringTravel) {
    EXPECT_THAT(afterTheJourney({text("a\tb\nc  d ")}), ElementsAre("string a\tb\nc  d "));
}

TEST_F(IcuMessage, UnicodeTravels) {
    EXPECT_THAT(afterTheJourney({text("Größe 木 😀")}), ElementsAre("string Größe 木 😀"));
}

TEST_F(IcuMessage, StringIsCutAtTheFirstBracket) {
    EXPECT_THAT(afterTheJourney({text("left<right, and much more of it"), Formattable(42)}),
                ElementsAre("string left", "long 42"));
}

TEST_F(IcuMessage, DateComesBackAsADouble) {
    EXPECT_THAT(afterTheJourney({date(86400000.0)}), ElementsAre("double 8.64e+07"));
    std::int32_t count = 0;
    EXPECT_EQ(message.getArguments().getArray(count)[0].getDouble(), 86400000.0);
}

TEST_F(IcuMessage, LargeIntegerIsDroppedAndTheRestMovesUp) {
    EXPECT_THAT(afterTheJourney({text("a"), Formattable(std::int64_t(1) << 40), text("b")}),
                ElementsAre("string a", "string b"));
}

TEST_F(IcuMessage, IntegerKeepsItsRange) {
    EXPECT_THAT(afterTheJourney({Formattable(INT32_MIN), Formattable(INT32_MAX)}),
                ElementsAre("long -2147483648", "long 2147483647"));
}

// ---- formatMessage ----

TEST_F(IcuMessage, PatternIsFilled) {
    const std::vector<Formattable> arguments = {text("disk1"), Formattable(42), 1.5};
    EXPECT_EQ(formatted("{1} errors on {0}", arguments), "42 errors on disk1");
    EXPECT_EQ(formatted("{2}", arguments), "1.5");
    EXPECT_EQ(formatted("no placeholder", arguments), "no placeholder");
    EXPECT_EQ(formatted("", arguments), "");
    EXPECT_EQ(formatted("Größe: {0}", {text("木")}), "Größe: 木");
    EXPECT_EQ(formatted("it's '{'{0}'}'", arguments), "it's {disk1}");
}

TEST_F(IcuMessage, PlaceholderWithoutAnArgumentStays) {
    EXPECT_EQ(formatted("{0} and {3}", {text("disk1")}), "disk1 and {3}");
    EXPECT_EQ(formatted("{0}", {}), "{0}");
    EXPECT_STREQ(message.formatMessage("{0} of {1}").c_str(), "{0} of {1}");
}

TEST_F(IcuMessage, PatternThatIcuRejectsIsReturnedUnchanged) {
    for (const char* const pattern :
         {"{0", "{", "{-1}", "{00}", "{0,foo}", "before {0,foo} behind", "{1,plural,foo}"}) {
        EXPECT_EQ(formatted(pattern, {text("disk1"), Formattable(42)}), pattern);
    }
    EXPECT_EQ(formatted("{0,number}", {text("disk1")}), "{0,number}");
}

TEST_F(IcuMessage, FailureWithAPartOfTheResultGivesThatPart) {
    const Formattable inner[] = {Formattable(1)};
    EXPECT_EQ(formatted("pre {0} post", {Formattable(inner, 1)}), "pre ");
}

TEST_F(IcuMessage, PatternThatIsNoUtf8GivesAnEmptyText) {
    EXPECT_EQ(formatted("caf\xe9 {0}", {text("disk1")}), "");
}

TEST_F(IcuMessage, FormatsWhatItDeserialized) {
    read(serialized({text("disk1"), Formattable(42)}));
    EXPECT_STREQ(message.formatMessage("{0}: {1}").c_str(), "disk1: 42");
}

} // namespace
