// A parser whose reader cannot be made, and the balance of the platform's starts and stops: the
// reader's factory is replaced by one that fails on demand, start and stop by ones that count.
#include <dlfcn.h>
#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <stdexcept>

#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/RuntimeException.hpp>

#include "cficonfigparam.h"
#include "config/param_texts.h"

namespace {

/// Runs before every reader that is made; throws what the test wants.
std::function<void()> beforeReader;

/// Starts of the platform that were not stopped yet.
std::atomic<int> platformUses{0};

template <class Function>
Function* original(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

XERCES_CPP_NAMESPACE_BEGIN

__attribute__((visibility("default"))) SAX2XMLReader*
XMLReaderFactory::createXMLReader(MemoryManager* const manager, XMLGrammarPool* const pool) {
    if (beforeReader) {
        beforeReader();
    }
    using Factory = SAX2XMLReader*(MemoryManager*, XMLGrammarPool*);
    static const auto factory =
        original<Factory>("_ZN11xercesc_3_216XMLReaderFactory15createXMLReaderEPNS_"
                          "13MemoryManagerEPNS_14XMLGrammarPoolE");
    return factory(manager, pool);
}

__attribute__((visibility("default"))) void
XMLPlatformUtils::Initialize(const char* const locale, const char* const nlsHome,
                             PanicHandler* const panicHandler, MemoryManager* const memory) {
    using Start = void(const char*, const char*, PanicHandler*, MemoryManager*);
    static const auto start =
        original<Start>("_ZN11xercesc_3_216XMLPlatformUtils10InitializeEPKcS2_PNS_"
                        "12PanicHandlerEPNS_13MemoryManagerE");
    start(locale, nlsHome, panicHandler, memory);
    ++platformUses;
}

__attribute__((visibility("default"))) void XMLPlatformUtils::Terminate() {
    static const auto stop = original<void()>("_ZN11xercesc_3_216XMLPlatformUtils9TerminateEv");
    --platformUses;
    stop();
}

XERCES_CPP_NAMESPACE_END

namespace {

using namespace kzfi_pdk_4_4;
using namespace kzfi_tests;

void throwXmlException() {
    throw xercesc::RuntimeException(__FILE__, __LINE__, xercesc::XMLExcepts::Gen_ParseInProgress,
                                    xercesc::XMLPlatformUtils::fgMemoryManager);
}

class SaxParserSetUp : public testing::Test {
  protected:
    SaxParserSetUp() {
        list.parse(value("k", "old").c_str());
        // A parser that has met an error is not used again, so that the next text needs a new one.
        EXPECT_EQ(CFiConfigParamDataList().parse("<bad"), 3);
    }
    ~SaxParserSetUp() override { beforeReader = nullptr; }

    CFiConfigParamDataList list;
    OpenHandler handler;
};

TEST_F(SaxParserSetUp, SwallowsAnErrorOfTheReader) {
    beforeReader = throwXmlException;
    EXPECT_NO_THROW(CFiSaxParser(&handler, "schema.xsd"));
    EXPECT_FALSE(handler.errorSeen);
}

TEST_F(SaxParserSetUp, AcceptsNothingWithoutAReader) {
    beforeReader = throwXmlException;
    CFiSaxParser parser(&handler, nullptr);
    parser.setInputSchema("schema.xsd");
    parser.parse("<a/>");
    EXPECT_TRUE(handler.errorSeen);
    EXPECT_THROW(handler.raiseError(), xercesc::SAXParseException);
    parser.setHandler(nullptr);
    EXPECT_NO_THROW(parser.parse("<a/>"));
}

TEST_F(SaxParserSetUp, MayBeSetUpAgain) {
    beforeReader = throwXmlException;
    CFiSaxParser parser(&handler, nullptr);
    beforeReader = nullptr;
    parser.init();
    parser.setHandler(&handler);
    parser.parse("<a/>");
    EXPECT_FALSE(handler.errorSeen);
}

TEST_F(SaxParserSetUp, RefusesListsWithoutAReader) {
    beforeReader = throwXmlException;
    const std::string text = value("k", "new");
    EXPECT_EQ(list.parse(text.c_str()), 3);
    EXPECT_EQ(list.getParamData("k")->value, "old");
    EXPECT_EQ(list.getXML(), text);
    CFiConfigParamInfoList infos;
    EXPECT_EQ(infos.parse(description("").c_str()), 3);
    EXPECT_TRUE(infos.empty());
    beforeReader = nullptr;
    EXPECT_EQ(list.parse(nullptr), 0);
    EXPECT_EQ(list.getParamData("k")->value, "new");
}

TEST_F(SaxParserSetUp, PassesOnOtherExceptions) {
    beforeReader = [] { throw std::runtime_error("other"); };
    EXPECT_THROW(CFiSaxParser(&handler, nullptr), std::runtime_error);
    EXPECT_THROW(list.parse(value("k", "new").c_str()), std::runtime_error);
    EXPECT_EQ(list.getParamData("k")->value, "old");
    EXPECT_EQ(list.getXML(), value("k", "new"));
    beforeReader = nullptr;
    EXPECT_EQ(list.parse(nullptr), 0);
}

TEST_F(SaxParserSetUp, StartsThePlatformOnceForEachParserAndHandler) {
    const int before = platformUses;
    {
        const OpenHandler another;
        EXPECT_EQ(platformUses, before + 1);
        CFiSaxParser parser(nullptr, nullptr);
        EXPECT_EQ(platformUses, before + 2);
        parser.init();
        EXPECT_EQ(platformUses, before + 2);
    }
    EXPECT_EQ(platformUses, before);
    XMLCh* form = CFiXStringTool::unicodeForm("text");
    xercesc::XMLString::release(&form);
    EXPECT_EQ(platformUses, before);
}

TEST_F(SaxParserSetUp, GivesThePlatformBackAfterAnException) {
    const int before = platformUses;
    beforeReader = [] { throw std::runtime_error("other"); };
    EXPECT_THROW(CFiSaxParser(&handler, nullptr), std::runtime_error);
    EXPECT_EQ(platformUses, before);
    beforeReader = throwXmlException;
    EXPECT_NO_THROW(CFiSaxParser(&handler, nullptr));
    EXPECT_EQ(platformUses, before);
}

TEST_F(SaxParserSetUp, MakesOneReaderForManyShortTexts) {
    int made = 0;
    beforeReader = [&made] { ++made; };
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(list.parse(value("k", "new").c_str()), 0);
    }
    EXPECT_EQ(made, 1);
    EXPECT_EQ(list.parse("<bad"), 3);
    EXPECT_EQ(list.parse(value("k", "new").c_str()), 0);
    EXPECT_EQ(made, 2);
    const std::string longText(1000000, 'x');
    EXPECT_EQ(list.parse(value("k", longText).c_str()), 0);
    EXPECT_EQ(list.parse(value("k", "new").c_str()), 0);
    EXPECT_EQ(made, 3);
}

} // namespace
