// The stand-in's status-message library.
#include "scf_statusmsg.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <iomanip>
#include <locale>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "cfisaxparser.h"

namespace {

using namespace Orvanta::Stoneleaf::Scf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

static_assert(XmlStr::UTF_8 == 1, "the number that callers pass");
static_assert(!std::is_copy_constructible<StatusMsg>::value, "");
static_assert(!std::is_copy_constructible<AutoDereference<StatusMsg>>::value, "");
static_assert(!std::is_convertible<AutoDereference<StatusMsg>, int>::value, "");

// ---- The message ----

TEST(StatusMsg, StartsEmpty) {
    const AutoDereference<StatusMsg> message(new StatusMsg);
    EXPECT_EQ(message->getCode(), 0);
    EXPECT_EQ(message->getSeverity(), 0);
    EXPECT_EQ(message->getText(), "");
    EXPECT_THAT(message->getArguments(), IsEmpty());
}

TEST(StatusMsg, TellsWhatItWasGiven) {
    const AutoDereference<StatusMsg> message(new StatusMsg);
    message->setCode(-1203);
    message->setSeverity(4);
    message->setText("no room on the target");
    message->addArgument("target", "b");
    message->addArgument("source", "");
    message->addArgument("target", "a");
    EXPECT_EQ(message->getCode(), -1203);
    EXPECT_EQ(message->getSeverity(), 4);
    EXPECT_EQ(message->getText(), "no room on the target");
    EXPECT_THAT(message->getArguments(),
                ElementsAre(Pair("target", "b"), Pair("source", ""), Pair("target", "a")));
}

TEST(StatusMsg, KeepsTheLatestOfEverythingButArguments) {
    const AutoDereference<StatusMsg> message(new StatusMsg);
    message->setCode(1);
    message->setCode(2);
    message->setText("first");
    message->setText("second");
    EXPECT_EQ(message->getCode(), 2);
    EXPECT_EQ(message->getText(), "second");
}

TEST(StatusMsg, LivesUntilTheLastReferenceIsGone) {
    StatusMsg* const message = new StatusMsg;
    message->setText("alive");
    message->reference();
    { const AutoDereference<StatusMsg> makers(message); }
    EXPECT_EQ(message->getText(), "alive");
    // The leak check of the sanitizer build sees whether this one deletes it.
    message->dereference();
}

TEST(StatusMsg, CountsReferencesOfSeveralThreads) {
    const AutoDereference<StatusMsg> message(new StatusMsg);
    message->setText("shared");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&message] {
            for (int turn = 0; turn < 1000; ++turn) {
                message->reference();
                const AutoDereference<StatusMsg> own(message.get());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(message->getText(), "shared");
}

// Writes down what is done to its references.
class Counted {
  public:
    void dereference() { ++given; }
    int given = 0;
};

TEST(AutoDereference, GivesItsReferenceBackOnce) {
    Counted object;
    {
        const AutoDereference<Counted> holder(&object);
        EXPECT_TRUE(static_cast<bool>(holder));
        EXPECT_EQ(holder.get(), &object);
        EXPECT_EQ(&holder->given, &object.given);
        EXPECT_EQ(object.given, 0);
    }
    EXPECT_EQ(object.given, 1);
}

TEST(AutoDereference, MayBeEmpty) {
    const AutoDereference<Counted> none;
    EXPECT_FALSE(static_cast<bool>(none));
    EXPECT_EQ(none.get(), nullptr);
    const AutoDereference<Counted> null(nullptr);
    EXPECT_FALSE(static_cast<bool>(null));
}

// ---- Its XML ----

std::string xmlOf(const AutoDereference<StatusMsg>& message) {
    std::ostringstream stream;
    StatusMsgXmlDoc(message.get()).writeXml(stream, XmlStr::UTF_8);
    return stream.str();
}

std::string xmlOfText(const std::string& text) {
    const AutoDereference<StatusMsg> message(new StatusMsg);
    message->setText(text);
    return xmlOf(message);
}

TEST(StatusMsgXmlDoc, WritesAllFieldsInOrder) {
    const AutoDereference<StatusMsg> message(new StatusMsg);
    message->setCode(-7);
    message->setSeverity(3);
    message->setText("no room");
    message->addArgument("target", "b");
    message->addArgument("left", "");
    EXPECT_EQ(xmlOf(message), "<?xml version=\"1.0\" encoding=\"utf-8\"?><StatusMsg>"
                              "<Code>-7</Code><Severity>3</Severity><Text>no room</Text>"
                              "<Argument><Name>target</Name><Value>b</Value></Argument>"
                              "<Argument><Name>left</Name><Value></Value></Argument>"
                              "</StatusMsg>");
}

TEST(StatusMsgXmlDoc, WritesAnEmptyMessage) {
    const AutoDereference<StatusMsg> message(new StatusMsg);
    EXPECT_EQ(xmlOf(message), "<?xml version=\"1.0\" encoding=\"utf-8\"?><StatusMsg>"
                              "<Code>0</Code><Severity>0</Severity><Text></Text></StatusMsg>");
}

TEST(StatusMsgXmlDoc, WritesWhatTheMessageHoldsAtThatTime) {
    const AutoDereference<StatusMsg> message(new StatusMsg);
    StatusMsgXmlDoc document(message.get());
    message->setText("later");
    std::ostringstream stream;
    stream << "before ";
    document.writeXml(stream, XmlStr::UTF_8);
    EXPECT_THAT(stream.str(), testing::StartsWith("before <?xml"));
    EXPECT_THAT(stream.str(), HasSubstr("<Text>later</Text>"));
}

TEST(StatusMsgXmlDoc, EscapesMarkup) {
    EXPECT_THAT(xmlOfText("a<b>&\"'"), HasSubstr("<Text>a&lt;b&gt;&amp;\"'</Text>"));
    const AutoDereference<StatusMsg> message(new StatusMsg);
    message->addArgument("<n>", "&v");
    EXPECT_THAT(xmlOf(message), HasSubstr("<Name>&lt;n&gt;</Name><Value>&amp;v</Value>"));
}

TEST(StatusMsgXmlDoc, PutsQuestionMarksForWhatXmlCannotCarry) {
    EXPECT_THAT(xmlOfText(std::string("\x01 a\0b\x1F", 6)), HasSubstr("<Text>? a?b?</Text>"));
}

TEST(StatusMsgXmlDoc, PutsQuestionMarksForBytesThatAreNoCharacter) {
    const struct {
        const char* text;
        const char* written;
    } texts[] = {{"a\xFF"
                  "b",
                  "a?b"},
                 {"\x80", "?"},
                 {"\xC3", "?"},
                 {"\xC3(", "?("},
                 {"\xE2\x82", "??"},
                 {"\xC1\xBF", "??"},
                 {"\xE0\x9F\xBF", "???"},
                 {"\xED\xA0\x80", "???"},
                 {"\xEF\xBF\xBE", "???"},
                 {"\xEF\xBF\xBF", "???"},
                 {"\xF0\x8F\xBF\xBF", "????"},
                 {"\xF4\x90\x80\x80", "????"},
                 {"\xF5\x80\x80\x80", "????"},
                 {"\xFC\x84\x80\x80\x80\x80", "??????"},
                 {"\xC3\xC3\xA4", "?\xC3\xA4"}};
    for (const auto& c : texts) {
        EXPECT_THAT(xmlOfText(c.text), HasSubstr("<Text>" + std::string(c.written) + "</Text>"));
    }
}

TEST(StatusMsgXmlDoc, CarriesTheFirstAndLastCharactersOfEachSize) {
    for (const std::string text :
         {"\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80",
          "\xEF\xBF\xBD", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_THAT(xmlOfText(text), HasSubstr("<Text>" + text + "</Text>"));
    }
}

TEST(StatusMsgXmlDoc, IgnoresTheStreamsFormat) {
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const AutoDereference<StatusMsg> message(new StatusMsg);
    message->setCode(1234567);
    std::ostringstream stream;
    stream.imbue(std::locale(std::locale::classic(), new Grouping));
    stream << std::hex << std::showpos << std::setw(1000);
    StatusMsgXmlDoc(message.get()).writeXml(stream, XmlStr::UTF_8);
    EXPECT_EQ(stream.str(), xmlOf(message));
    EXPECT_THAT(stream.str(), HasSubstr("<Code>1234567</Code>"));
}

// Keeps the text of the element "Text".
class TextReader : public kzfi_pdk_4_4::CFiSaxParseHandler {
  public:
    std::string read(const std::string& xml) {
        kzfi_pdk_4_4::CFiSaxParser(this, nullptr).parse(xml);
        raiseError();
        return text;
    }
    void startElement(const XMLCh*, const XMLCh*, const XMLCh*,
                      const xercesc::Attributes&) override {
        buffer.clear();
    }
    void endElement(const XMLCh*, const XMLCh*, const XMLCh* name) override {
        if (std::u16string(name) == u"Text") {
            text = buffer;
        }
    }

  private:
    std::string text;
};

TEST(StatusMsgXmlDoc, IsReadBackByAnXmlReader) {
    for (const std::string text : {"", " a ", "<b>&amp;]]>", "a\tb\nc\r\nd\re", "\x7F",
                                   "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"}) {
        EXPECT_EQ(TextReader().read(xmlOfText(text)), text);
    }
    EXPECT_EQ(TextReader().read(xmlOfText("a\xFF\xEF\xBF\xBF")), "a????");
}

// ---- Percent-encoding ----

std::string encoded(const std::string& text, std::size_t length) {
    const std::unique_ptr<char, void (*)(void*)> copy(pathToURIEncoded(text.data(), length, 0),
                                                      std::free);
    return copy.get();
}

std::string encoded(const std::string& text) {
    return encoded(text, text.size());
}

const std::string PLAIN = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";

TEST(PathToUri, LeavesPlainCharacters) {
    EXPECT_EQ(encoded(PLAIN), PLAIN);
}

TEST(PathToUri, EncodesEveryOtherByte) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        if (PLAIN.find(text) == std::string::npos) {
            std::ostringstream expected;
            expected << '%' << std::uppercase << std::hex << byte / 16 << byte % 16;
            EXPECT_EQ(encoded(text), expected.str()) << byte;
        }
    }
}

TEST(PathToUri, EncodesTexts) {
    const struct {
        const char* plain;
        const char* expected;
    } texts[] = {{"", ""},
                 {"a b", "a%20b"},
                 {"<a b=\"c\">&'</a>", "%3Ca%20b%3D%22c%22%3E%26%27%3C/a%3E"},
                 {"100%", "100%25"},
                 {"a%20b", "a%2520b"},
                 {"a+b:c?d#e", "a%2Bb%3Ac%3Fd%23e"},
                 {"\xC3\xA4\n", "%C3%A4%0A"}};
    for (const auto& text : texts) {
        EXPECT_EQ(encoded(text.plain), text.expected);
    }
}

TEST(PathToUri, GoesByTheLength) {
    EXPECT_EQ(encoded("abcdef", 3), "abc");
    EXPECT_EQ(encoded("abc", 0), "");
    EXPECT_EQ(encoded(std::string("a\0b", 3)), "a%00b");
    EXPECT_EQ(encoded(std::string(100000, '<')).size(), 300000u);
}

} // namespace
