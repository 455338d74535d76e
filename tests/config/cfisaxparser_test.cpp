// The parser and the base of its handlers.
#include "cfisaxparser.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <thread>
#include <type_traits>
#include <vector>

#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>

#include "cficonfigparam.h"
#include "config/param_texts.h"
#include "support/temp_dir.h"

namespace {

using namespace kzfi_pdk_4_4;
using namespace kzfi_tests;
using testing::ElementsAre;
using testing::IsEmpty;
using xercesc::SAXParseException;

static_assert(!std::is_copy_constructible<CFiSaxParser>::value, "");
static_assert(!std::is_copy_assignable<CFiSaxParser>::value, "");
static_assert(!std::is_copy_constructible<CFiSaxParseHandler>::value, "");
static_assert(!std::is_copy_assignable<CFiSaxParseHandler>::value, "");
static_assert(std::is_base_of<xercesc::DefaultHandler, CFiSaxParseHandler>::value, "");

/// Notes what happens.
class Noting : public OpenHandler {
  public:
    void startElement(const XMLCh*, const XMLCh* localname, const XMLCh* qname,
                      const xercesc::Attributes& attributes) override {
        starts.emplace_back(qname);
        localnames.emplace_back(localname);
        attributeCount += attributes.getLength();
    }
    void endElement(const XMLCh*, const XMLCh*, const XMLCh* qname) override {
        ends.emplace_back(qname);
    }

    std::vector<std::u16string> starts;
    std::vector<std::u16string> localnames;
    std::vector<std::u16string> ends;
    std::size_t attributeCount = 0;
};

class SaxParser : public testing::Test {
  protected:
    /// Whether the parser has nothing to say against the text.
    bool accepts(const std::string& text) {
        Noting fresh;
        CFiSaxParser(&fresh, nullptr).parse(text);
        return !fresh.errorSeen;
    }

    Noting handler;
};

TEST_F(SaxParser, HandsContentToTheHandler) {
    CFiSaxParser parser(&handler, nullptr);
    parser.parse("<a><b c='1' d='2'>x</b>y</a>");
    EXPECT_FALSE(handler.errorSeen);
    EXPECT_THAT(handler.starts, ElementsAre(u"a", u"b"));
    EXPECT_THAT(handler.ends, ElementsAre(u"b", u"a"));
    EXPECT_EQ(handler.attributeCount, 2u);
    EXPECT_EQ(handler.buffer, "xy");
}

TEST_F(SaxParser, ParsesPiecesAsOneDocument) {
    CFiSaxParser parser(&handler, nullptr);
    parser.parse(std::vector<std::string>{"<a>", "x", "</a>"});
    EXPECT_FALSE(handler.errorSeen);
    EXPECT_THAT(handler.ends, ElementsAre(u"a"));
    EXPECT_EQ(handler.buffer, "x");
    parser.parse(std::vector<std::string>{"<", "b", "/", "", ">"});
    EXPECT_FALSE(handler.errorSeen);
    EXPECT_THAT(handler.ends, ElementsAre(u"a", u"b"));
    parser.parse(std::vector<std::string>());
    EXPECT_TRUE(handler.errorSeen);
}

TEST_F(SaxParser, ReportsAnEmptyTextToTheHandlerOnly) {
    CFiSaxParser parser(&handler, nullptr);
    EXPECT_NO_THROW(parser.parse(std::string()));
    EXPECT_TRUE(handler.errorSeen);
    EXPECT_NE(handler.savedError->getMessage(), nullptr);
    EXPECT_THROW(handler.raiseError(), SAXParseException);
}

TEST_F(SaxParser, NamesItsDocumentsInErrors) {
    CFiSaxParser(&handler, nullptr).parse("<a>\n\n<");
    ASSERT_TRUE(handler.errorSeen);
    EXPECT_EQ(std::u16string(handler.savedError->getSystemId()), u"kzfi_sax_parser");
    EXPECT_EQ(handler.savedError->getLineNumber(), 3u);
}

TEST_F(SaxParser, ParsesTheWholeLengthOfAText) {
    EXPECT_FALSE(accepts(std::string("<a>\0</a>", 8)));
    EXPECT_FALSE(accepts(std::string("<a/>\0<b/>", 4) + "<b/>"));
    CFiSaxParser(&handler, nullptr).parse(std::string("\xFF\xFE<\0a\0/\0>\0", 10));
    EXPECT_FALSE(handler.errorSeen);
    EXPECT_THAT(handler.ends, ElementsAre(u"a"));
}

TEST_F(SaxParser, DoesNotValidate) {
    EXPECT_TRUE(accepts("<!DOCTYPE a [<!ELEMENT a EMPTY>]><a><b/>text</a>"));
    EXPECT_TRUE(accepts("<a xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' "
                        "xsi:noNamespaceSchemaLocation='/none.xsd'/>"));
}

TEST_F(SaxParser, DoesNotKnowNamespaces) {
    CFiSaxParser(&handler, nullptr).parse("<p:a p:b='1' xmlns='urn:x'/>");
    EXPECT_FALSE(handler.errorSeen);
    EXPECT_THAT(handler.starts, ElementsAre(u"p:a"));
    EXPECT_THAT(handler.localnames, ElementsAre(u""));
    EXPECT_EQ(handler.attributeCount, 2u);
}

TEST_F(SaxParser, ParsesOneDocumentAfterTheOther) {
    CFiSaxParser parser(&handler, nullptr);
    parser.parse("<a>1</a>");
    parser.parse("<bad");
    parser.parse("<b>2</b>");
    EXPECT_THAT(handler.ends, ElementsAre(u"a", u"b"));
    EXPECT_EQ(handler.buffer, "12");
    EXPECT_TRUE(handler.errorSeen);
}

TEST_F(SaxParser, ChangesItsHandler) {
    Noting second;
    CFiSaxParser parser(&handler, nullptr);
    parser.setHandler(&second);
    parser.parse("<a/>");
    parser.parse("<bad");
    EXPECT_THAT(handler.starts, IsEmpty());
    EXPECT_FALSE(handler.errorSeen);
    EXPECT_THAT(second.starts, ElementsAre(u"a"));
    EXPECT_TRUE(second.errorSeen);
}

TEST_F(SaxParser, SaysNothingWithoutAHandler) {
    CFiSaxParser parser(nullptr, nullptr);
    EXPECT_NO_THROW(parser.parse("<a/>"));
    EXPECT_NO_THROW(parser.parse("<bad"));
    parser.setHandler(&handler);
    parser.setHandler(nullptr);
    EXPECT_NO_THROW(parser.parse("<bad"));
    EXPECT_FALSE(handler.errorSeen);
}

TEST_F(SaxParser, TakesAnyHandlerOfTheReader) {
    xercesc::DefaultHandler stock;
    CFiSaxParser parser(&stock, nullptr);
    EXPECT_NO_THROW(parser.parse("<a/>"));
    EXPECT_THROW(parser.parse("<bad"), SAXParseException);
}

/// Fails in the middle of a document.
class Throwing : public Noting {
  public:
    void startElement(const XMLCh*, const XMLCh*, const XMLCh*,
                      const xercesc::Attributes&) override {
        throw std::runtime_error("handler");
    }
};

TEST_F(SaxParser, PassesOnTheExceptionOfAHandler) {
    Throwing failing;
    CFiSaxParser parser(&failing, nullptr);
    EXPECT_THROW(parser.parse("<a/>"), std::runtime_error);
    parser.setHandler(&handler);
    parser.parse("<a/>");
    EXPECT_FALSE(handler.errorSeen);
    EXPECT_THAT(handler.ends, ElementsAre(u"a"));
}

/// Parses another document in the middle of one.
class Nesting : public Noting {
  public:
    void endElement(const XMLCh*, const XMLCh*, const XMLCh*) override {
        inner.parse(value("k", "v").c_str());
    }

    CFiConfigParamDataList inner;
};

TEST_F(SaxParser, IsUsableInsideAHandlerOfAnother) {
    Nesting nesting;
    CFiSaxParser(&nesting, nullptr).parse("<a/>");
    EXPECT_FALSE(nesting.errorSeen);
    EXPECT_EQ(nesting.inner.getParamData("k")->value, "v");
}

TEST_F(SaxParser, IsNotReentered) {
    class Reentering : public Noting {
      public:
        void endElement(const XMLCh*, const XMLCh*, const XMLCh*) override {
            parser->parse("<b/>");
        }
        CFiSaxParser* parser = nullptr;
    } reentering;
    CFiSaxParser parser(&reentering, nullptr);
    reentering.parser = &parser;
    parser.parse("<a/>");
    EXPECT_TRUE(reentering.errorSeen);
    EXPECT_THAT(reentering.starts, ElementsAre(u"a"));
}

TEST_F(SaxParser, StartsAnewWithInit) {
    CFiSaxParser parser(&handler, nullptr);
    parser.init();
    parser.parse("<a/>");
    EXPECT_THAT(handler.starts, ElementsAre(u"a"));
    EXPECT_FALSE(handler.errorSeen);
    parser.parse("<bad");
    EXPECT_TRUE(handler.errorSeen);
}

class SaxParserWithSchema : public SaxParser {
  protected:
    SaxParserWithSchema() : schema(folder.path("one.xsd")) {
        writeFile(schema, "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>"
                          "<xs:element name='number' type='xs:int'/></xs:schema>");
    }

    TempDir folder;
    const std::string schema;
};

TEST_F(SaxParserWithSchema, AcceptsWhatTheSchemaAllows) {
    CFiSaxParser(&handler, schema.c_str()).parse("<number>1</number>");
    EXPECT_FALSE(handler.errorSeen);
    EXPECT_EQ(handler.buffer, "1");
}

TEST_F(SaxParserWithSchema, ReportsWhatTheSchemaForbidsAndReadsOn) {
    CFiSaxParser(&handler, schema.c_str()).parse("<number>one</number>");
    EXPECT_TRUE(handler.errorSeen);
    EXPECT_THAT(handler.ends, ElementsAre(u"number"));
}

TEST_F(SaxParserWithSchema, IsSetLaterToo) {
    CFiSaxParser parser(&handler, nullptr);
    parser.parse("<number>one</number>");
    EXPECT_FALSE(handler.errorSeen);
    parser.setInputSchema(schema.c_str());
    parser.parse("<number>one</number>");
    EXPECT_TRUE(handler.errorSeen);
}

TEST_F(SaxParserWithSchema, IncludesOtherSchemas) {
    std::string includes;
    for (int length = 1; length <= 60; ++length) {
        const std::string name(static_cast<std::size_t>(length), 'i');
        writeFile(folder.path(name), "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>"
                                     "<xs:element name='" +
                                         name + "' type='xs:int'/></xs:schema>");
        includes += "<xs:include schemaLocation='" + name + "'/>";
    }
    writeFile(schema, "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>" + includes +
                          "<xs:element name='number' type='xs:int'/></xs:schema>");
    CFiSaxParser parser(&handler, schema.c_str());
    for (const char* good : {"<number>1</number>", "<i>1</i>"}) {
        parser.parse(good);
        EXPECT_FALSE(handler.errorSeen) << good;
    }
    parser.parse("<iii>one</iii>");
    EXPECT_TRUE(handler.errorSeen);
}

TEST_F(SaxParserWithSchema, ForgetsItsSchemaWithInit) {
    CFiSaxParser parser(&handler, schema.c_str());
    parser.init();
    parser.parse("<number>one</number>");
    EXPECT_FALSE(handler.errorSeen);
    EXPECT_THAT(handler.ends, ElementsAre(u"number"));
}

TEST_F(SaxParserWithSchema, TakesNullForNoSchema) {
    CFiSaxParser parser(&handler, nullptr);
    EXPECT_NO_THROW(parser.setInputSchema(nullptr));
    parser.parse("<number>1</number>");
    EXPECT_THAT(handler.ends, ElementsAre(u"number"));
}

TEST_F(SaxParserWithSchema, ReportsAMissingSchemaWithTheDocument) {
    CFiSaxParser parser(&handler, folder.path("none.xsd").c_str());
    EXPECT_FALSE(handler.errorSeen);
    parser.parse("<number>1</number>");
    EXPECT_TRUE(handler.errorSeen);
}

class SaxParseHandler : public testing::Test {
  protected:
    void characters(const std::u16string& text) { handler.characters(text.data(), text.size()); }

    Noting handler;
};

TEST_F(SaxParseHandler, StartsWithAnEmptyError) {
    EXPECT_FALSE(handler.errorSeen);
    EXPECT_EQ(handler.savedError->getMessage(), nullptr);
    EXPECT_EQ(handler.savedError->getPublicId(), nullptr);
    EXPECT_EQ(handler.savedError->getSystemId(), nullptr);
    EXPECT_EQ(handler.savedError->getLineNumber(), 0u);
    EXPECT_EQ(handler.savedError->getColumnNumber(), 0u);
    EXPECT_EQ(handler.buffer, "");
    EXPECT_NO_THROW(handler.raiseError());
}

TEST_F(SaxParseHandler, JoinsCharacters) {
    characters(u"a");
    characters(u"");
    characters(u"bc");
    EXPECT_EQ(handler.buffer, "abc");
}

TEST_F(SaxParseHandler, TakesExactlyTheGivenLength) {
    handler.characters(u"abcdef", 3);
    EXPECT_EQ(handler.buffer, "abc");
    handler.buffer.clear();
    characters(std::u16string(u"a\0b", 3));
    EXPECT_EQ(handler.buffer, std::string("a\0b", 3));
}

TEST_F(SaxParseHandler, ConvertsToUtf8) {
    const struct {
        std::u16string text;
        const char* bytes;
    } texts[] = {{u"\x7F\x80", "\x7F\xC2\x80"},
                 {u"\x7FF\x800", "\xDF\xBF\xE0\xA0\x80"},
                 {u"\uFFFD\uFFFF", "\xEF\xBF\xBD\xEF\xBF\xBF"},
                 {u"\U00010000\U0010FFFF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
                 {u"a\u00E4b\U0001F600c", "a\xC3\xA4"
                                          "b\xF0\x9F\x98\x80"
                                          "c"},
                 {{u'a', 0xD800, u'b'},
                  "a\xEF\xBF\xBD"
                  "b"},
                 {{0xDC00}, "\xEF\xBF\xBD"},
                 {{0xD800}, "\xEF\xBF\xBD"},
                 {{0xDC00, 0xD800}, "\xEF\xBF\xBD\xEF\xBF\xBD"}};
    for (const auto& text : texts) {
        handler.buffer.clear();
        characters(text.text);
        EXPECT_EQ(handler.buffer, text.bytes);
    }
}

TEST_F(SaxParseHandler, ConvertsACharacterThatComesInTwoCalls) {
    characters({u'a', 0xD83D});
    characters({0xDE00, u'b', 0xD83D});
    characters({0xDE00});
    EXPECT_EQ(handler.buffer, "a\xF0\x9F\x98\x80"
                              "b\xF0\x9F\x98\x80");
}

TEST_F(SaxParseHandler, DoesNotJoinHalvesThatAreNotNeighbours) {
    characters({0xD83D});
    characters({u'a', 0xDE00});
    EXPECT_EQ(handler.buffer, "\xEF\xBF\xBD"
                              "a\xEF\xBF\xBD");
    characters({0xD83D});
    handler.buffer.clear();
    characters({0xDE00});
    EXPECT_EQ(handler.buffer, "\xEF\xBF\xBD");
    characters(u"\uFFFD");
    characters({0xDE00});
    EXPECT_EQ(handler.buffer, "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST_F(SaxParseHandler, CollectsTheWholeDocumentByItself) {
    OpenHandler plain;
    feed(plain, "<a>1<b>2</b>&amp;<![CDATA[<]]>3</a>");
    EXPECT_EQ(plain.buffer, "12&<3");
}

TEST_F(SaxParseHandler, KeepsTheLastReportOfEveryKind) {
    const SAXParseException first(u"first", u"public", u"system", 1, 2);
    const SAXParseException second(u"second", nullptr, nullptr, 3, 4);
    const SAXParseException third(u"third", nullptr, nullptr, 5, 6);
    handler.warning(first);
    EXPECT_TRUE(handler.errorSeen);
    EXPECT_EQ(std::u16string(handler.savedError->getMessage()), u"first");
    EXPECT_EQ(std::u16string(handler.savedError->getPublicId()), u"public");
    EXPECT_EQ(std::u16string(handler.savedError->getSystemId()), u"system");
    EXPECT_EQ(handler.savedError->getLineNumber(), 1u);
    EXPECT_EQ(handler.savedError->getColumnNumber(), 2u);
    handler.fatalError(second);
    EXPECT_EQ(std::u16string(handler.savedError->getMessage()), u"second");
    handler.error(third);
    EXPECT_EQ(std::u16string(handler.savedError->getMessage()), u"third");
    EXPECT_TRUE(handler.errorSeen);
    try {
        handler.raiseError();
        FAIL();
    } catch (const SAXParseException& error) {
        EXPECT_EQ(std::u16string(error.getMessage()), u"third");
        EXPECT_EQ(error.getLineNumber(), 5u);
    }
}

TEST_F(SaxParseHandler, CountsAWarningAsAnError) {
    CFiSaxParser(&handler, nullptr).parse("<?xml version='1.0' encoding='UTF-16'?><a/>");
    EXPECT_THAT(handler.ends, ElementsAre(u"a"));
    EXPECT_TRUE(handler.errorSeen);
    EXPECT_THROW(handler.raiseError(), SAXParseException);
}

/// What one thread does many times over.
void makeAndUseParsers(int thread) {
    const std::string text = std::to_string(thread);
    for (int i = 0; i < 60; ++i) {
        CFiConfigParamDataList list(value("k", text).c_str());
        EXPECT_EQ(list.getParamData("k")->value, text);
        EXPECT_EQ(list.parse("<bad"), 3);
        EXPECT_EQ(list.parse("<!DOCTYPE a [<!ENTITY e SYSTEM '/etc/hostname'>]><a>&e;</a>"), 3);
        Noting handler;
        CFiSaxParser(&handler, nullptr).parse("<a>" + text + "</a>");
        EXPECT_EQ(handler.buffer, text);
        XMLCh* unicode = CFiXStringTool::unicodeForm(text.c_str());
        EXPECT_EQ(std::u16string(unicode), std::u16string(text.begin(), text.end()));
        xercesc::XMLString::release(&unicode);
    }
}

TEST(SaxParserThreads, MakeUseAndDestroyParsersAtOnce) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back(makeAndUseParsers, i);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
