// A status-message library that stands in for the stand-in's: it shows what the kit asks of it.
#include <gmock/gmock.h>

#include <cstdlib>
#include <cstring>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "cfierrormgr.h"
#include "scf_statusmsg.h"

namespace {

// What the library is to do, and what it was asked.
struct Library {
    std::string xml;
    bool writerThrows = false;
    bool streamBreaks = false;
    bool hasMemory = true;

    const void* message = nullptr;
    int documents = 0;
    int encoding = 0;
    std::string plain;
    int documentsMeanwhile = -1;
    int flags = -1;
};

Library library;

} // namespace

namespace Orvanta::Stoneleaf::Scf {

StatusMsgXmlDoc::StatusMsgXmlDoc(StatusMsg* statusMessage) : message(statusMessage) {
    library.message = message;
    ++library.documents;
}

StatusMsgXmlDoc::~StatusMsgXmlDoc() {
    --library.documents;
}

void StatusMsgXmlDoc::writeXml(std::ostream& stream, XmlStr::Encoding encoding) {
    library.encoding = encoding;
    if (library.writerThrows) {
        throw std::runtime_error("writer");
    }
    if (library.streamBreaks) {
        stream.setstate(std::ios::badbit);
    }
    stream << library.xml;
}

char* pathToURIEncoded(const char* text, std::size_t length, int flags) {
    library.plain.assign(text, length);
    library.documentsMeanwhile = library.documents;
    library.flags = flags;
    return library.hasMemory ? ::strdup("(encoded)") : nullptr;
}

} // namespace Orvanta::Stoneleaf::Scf

namespace {

using namespace kzfi_pdk_4_4;
using Orvanta::Stoneleaf::Scf::AutoDereference;
using Orvanta::Stoneleaf::Scf::StatusMsg;
using testing::ElementsAre;
using testing::IsEmpty;

class Texts : public CFiErrorHandlerBase {
  public:
    void handleMessage(CFiMessagePtr) override {}
    void handleText(const char* text, kfi_eseverity) override { received.emplace_back(text); }

    std::vector<std::string> received;
};

class OverriddenStatusMsg : public testing::Test {
  protected:
    OverriddenStatusMsg() {
        library = Library();
        manager.registerHandler(&handler);
    }

    void report() { manager.reportStatusMsg(message, nullptr); }

    AutoDereference<StatusMsg> message{new StatusMsg};
    Texts handler;
    CFiErrorManager manager;
};

TEST_F(OverriddenStatusMsg, WritesTheMessageInUtf8AndEncodesAllOfIt) {
    library.xml = std::string("<m>\0</m>", 8);
    report();
    EXPECT_EQ(library.message, message.get());
    EXPECT_EQ(library.encoding, 1);
    EXPECT_EQ(library.plain, library.xml);
    EXPECT_EQ(library.flags, 0);
    EXPECT_EQ(library.documentsMeanwhile, 1);
    EXPECT_EQ(library.documents, 0);
    EXPECT_THAT(handler.received,
                ElementsAre("<?xml version=\"1.0\" encoding=\"utf-8\"?><CallbackMsg>"
                            "<KfmsPercentEncodedStatusMsg>(encoded)</KfmsPercentEncodedStatusMsg>"
                            "</CallbackMsg>"));
}

TEST_F(OverriddenStatusMsg, EncodesAnEmptyText) {
    report();
    EXPECT_EQ(library.plain, "");
    EXPECT_EQ(library.flags, 0);
    EXPECT_EQ(handler.received.size(), 1u);
}

TEST_F(OverriddenStatusMsg, IsNotAskedWithoutAMessage) {
    AutoDereference<StatusMsg> none;
    manager.reportStatusMsg(none, "resource");
    EXPECT_EQ(library.message, nullptr);
    EXPECT_EQ(library.flags, -1);
    EXPECT_EQ(handler.received.size(), 1u);
}

TEST_F(OverriddenStatusMsg, PassesExceptionsAndPushesNothing) {
    library.writerThrows = true;
    EXPECT_THROW(report(), std::runtime_error);
    EXPECT_EQ(library.documents, 0);
    EXPECT_THAT(handler.received, IsEmpty());
}

TEST_F(OverriddenStatusMsg, ThrowsWhenTheTextIsCutShort) {
    library.xml = "<m/>";
    library.streamBreaks = true;
    EXPECT_THROW(report(), std::ios::failure);
    EXPECT_EQ(library.documents, 0);
    EXPECT_THAT(handler.received, IsEmpty());
}

TEST_F(OverriddenStatusMsg, ThrowsWhenThereIsNoMemoryToEncodeIn) {
    library.hasMemory = false;
    EXPECT_THROW(report(), std::bad_alloc);
    EXPECT_EQ(library.documents, 0);
    EXPECT_THAT(handler.received, IsEmpty());
}

} // namespace
