// The two handlers, as code that derives from them or holds their list sees them.
#include <gmock/gmock.h>

#include <memory>
#include <type_traits>

#include "cficonfigparam.h"
#include "config/param_texts.h"

namespace {

using namespace kzfi_pdk_4_4;
using namespace kzfi_tests;
using testing::ElementsAre;
using testing::HasSubstr;
using xercesc::SAXParseException;

static_assert(!std::is_copy_constructible<CFiConfigParamDataListHandler>::value, "");
static_assert(!std::is_copy_assignable<CFiGetConfigParamListHandler>::value, "");
static_assert(std::is_base_of<CFiSaxParseHandler, CFiConfigParamDataListHandler>::value, "");
static_assert(std::is_base_of<CFiSaxParseHandler, CFiGetConfigParamListHandler>::value, "");

/// Gives a handler one element's text and end, as the reader would.
void leaf(CFiSaxParseHandler& handler, const std::u16string& name, const std::u16string& text) {
    handler.characters(text.data(), text.size());
    handler.endElement(u"", u"", name.c_str());
}

const std::string ENTRY = "<ConfigValue><key>a</key></ConfigValue>";
const std::string TWO_ENTRIES = values(ENTRY + "<ConfigValue><key>b</key></ConfigValue>");

TEST(ConfigParamHandlers, GiveTheListWithItsText) {
    CFiConfigParamDataListHandler handler;
    feed(handler, TWO_ENTRIES);
    CFiConfigParamDataList& list = handler.getList();
    EXPECT_EQ(list.entries().size(), 2u);
    EXPECT_STREQ(list.getXML(), CFiConfigParamDataList(TWO_ENTRIES.c_str()).getXML());
    EXPECT_EQ(&handler.getList(), &list);

    CFiGetConfigParamListHandler infos;
    feed(infos, description(""));
    EXPECT_EQ(infos.getList().entries().size(), 1u);
    EXPECT_THAT(infos.getList().getXML(), HasSubstr("<key>p</key>"));
}

TEST(ConfigParamHandlers, HaveNoTextBeforeTheFirstEntry) {
    CFiConfigParamDataListHandler handler;
    EXPECT_STREQ(handler.getList().getXML(), "");
    feed(handler, values(""));
    EXPECT_TRUE(handler.getList().empty());
    EXPECT_STREQ(handler.getList().getXML(), "");
    CFiGetConfigParamListHandler infos;
    feed(infos, "<ConfigParamList/>");
    EXPECT_STREQ(infos.getList().getXML(), "");
}

TEST(ConfigParamHandlers, KeepTheTextOfAListUpToDateForItsHolder) {
    CFiConfigParamDataListHandler handler;
    CFiConfigParamDataList& list = handler.getList();
    feed(handler, TWO_ENTRIES);
    EXPECT_STREQ(list.getXML(), CFiConfigParamDataList(TWO_ENTRIES.c_str()).getXML());

    CFiGetConfigParamListHandler infos;
    CFiConfigParamInfoList& descriptions = infos.getList();
    feed(infos, description(""));
    EXPECT_THAT(descriptions.getXML(), HasSubstr("<key>p</key>"));
}

/// Looks at the list after every entry.
class Looking : public CFiConfigParamDataListHandler {
  public:
    void endElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname) override {
        CFiConfigParamDataListHandler::endElement(uri, localname, qname);
        if (std::u16string(qname) == u"ConfigValue") {
            texts.push_back(getList().getXML());
        }
    }

    std::vector<std::string> texts;
};

TEST(ConfigParamHandlers, ShowTheTextAfterEveryEntryToADerivedHandler) {
    Looking handler;
    feed(handler, TWO_ENTRIES);
    EXPECT_THAT(handler.texts, ElementsAre(CFiConfigParamDataList(values(ENTRY).c_str()).getXML(),
                                           CFiConfigParamDataList(TWO_ENTRIES.c_str()).getXML()));
}

TEST(ConfigParamHandlers, ThrowACopyOfTheErrorInsteadOfTheList) {
    CFiConfigParamDataListHandler values;
    feed(values, "<ConfigValueList>\n<bad");
    CFiGetConfigParamListHandler infos;
    feed(infos, "<ConfigParamList>\n<bad");
    for (int i = 0; i < 2; ++i) {
        try {
            values.getList();
            FAIL();
        } catch (const SAXParseException& error) {
            EXPECT_NE(error.getMessage(), nullptr);
            EXPECT_EQ(error.getLineNumber(), 2u);
            EXPECT_EQ(std::u16string(error.getSystemId()), u"kzfi_sax_parser");
        }
        EXPECT_THROW(infos.getList(), SAXParseException);
    }
}

TEST(ConfigParamHandlers, ThrowWarningsToo) {
    CFiConfigParamDataListHandler handler;
    feed(handler, "<?xml version='1.0' encoding='UTF-16'?>" + TWO_ENTRIES);
    EXPECT_THROW(handler.getList(), SAXParseException);
}

TEST(ConfigParamHandlers, ThrowTheErrorOfAnEarlierDocument) {
    CFiConfigParamDataListHandler handler;
    feed(handler, "<bad");
    feed(handler, TWO_ENTRIES);
    EXPECT_THROW(handler.getList(), SAXParseException);
}

TEST(ConfigParamHandlers, GiveTheListAfterAnErrorWithoutAMessage) {
    CFiConfigParamDataListHandler handler;
    feed(handler, TWO_ENTRIES);
    handler.error(SAXParseException(nullptr, nullptr, nullptr, 0, 0));
    EXPECT_EQ(handler.getList().entries().size(), 2u);
}

TEST(ConfigParamHandlers, ThrowErrorsThatOutliveThem) {
    std::exception_ptr error;
    {
        CFiConfigParamDataListHandler handler;
        feed(handler, "<bad");
        try {
            handler.getList();
        } catch (const SAXParseException&) {
            error = std::current_exception();
        }
    }
    ASSERT_TRUE(error);
    EXPECT_THROW(std::rethrow_exception(error), SAXParseException);
}

TEST(ConfigParamHandlers, KnowWhetherTheWholeListWasRead) {
    CFiGetConfigParamListHandler handler;
    EXPECT_FALSE(handler.isFinished());
    feed(handler, "<a><ConfigParam/></a>");
    EXPECT_FALSE(handler.isFinished());
    feed(handler, "<ConfigParamList><ConfigParam/>");
    EXPECT_FALSE(handler.isFinished());
    feed(handler, "<a><ConfigParamList/></a>");
    EXPECT_TRUE(handler.isFinished());
}

TEST(ConfigParamHandlers, TakeTextUpToItsFirstNul) {
    CFiConfigParamDataListHandler handler;
    leaf(handler, u"key", std::u16string(u"k\0x", 3));
    leaf(handler, u"value", u"more");
    leaf(handler, u"ConfigValue", u"");
    EXPECT_EQ(handler.getList().entries().size(), 1u);
    EXPECT_EQ(handler.getList().getParamData("k")->value, "k");

    CFiGetConfigParamListHandler infos;
    leaf(infos, u"isSharedParam", std::u16string(u"yes\0no", 6));
    leaf(infos, u"selectionItem", u"");
    leaf(infos, u"ConfigParam", u"");
    EXPECT_TRUE(infos.getList().getParamInfo("")->isSharedParam);
    EXPECT_THAT(infos.getList().getParamInfo("")->selectionList, ElementsAre("yes"));
}

TEST(ConfigParamHandlers, TakeTextUpToANulBehindASpecialCharacter) {
    CFiConfigParamDataListHandler handler;
    leaf(handler, u"value", std::u16string(u"a&<\0>", 5));
    leaf(handler, u"ConfigValue", u"");
    EXPECT_EQ(handler.getList().getParamData("")->value, "a&<");
}

/// Gives the values of a document an auxiliary text, once.
class Adding : public CFiConfigParamDataListHandler {
  public:
    Adding() { current.auxText = "auxiliary"; }
};

TEST(ConfigParamHandlers, KeepTheAuxiliaryTextBetweenValues) {
    Adding handler;
    feed(handler, TWO_ENTRIES);
    ASSERT_EQ(handler.getList().entries().size(), 2u);
    for (const char* name : {"a", "b"}) {
        EXPECT_STREQ(handler.getList().getParamData(name)->auxText.c_str(), "auxiliary") << name;
    }
}

TEST(ConfigParamHandlers, ReadSeveralDocumentsIntoOneList) {
    CFiConfigParamDataListHandler handler;
    feed(handler, value("a", "1"));
    feed(handler, value("b", "2"));
    EXPECT_EQ(handler.getList().entries().size(), 2u);
}

} // namespace
