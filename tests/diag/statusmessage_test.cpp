// Status messages on their way through the error manager.
#include <dlfcn.h>
#include <gmock/gmock.h>

#include <cstring>
#include <functional>
#include <ios>
#include <new>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "cfierrormgr.h"
#include "cfisaxparser.h"
#include "scf_statusmsg.h"
#include "support/failing_memory.h"

namespace {

using namespace kzfi_pdk_4_4;
using Orvanta::Stoneleaf::Scf::AutoDereference;
using Orvanta::Stoneleaf::Scf::StatusMsg;
using Orvanta::Stoneleaf::Scf::StatusMsgXmlDoc;
using Orvanta::Stoneleaf::Scf::XmlStr;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

// What the host's library does in place of its own writing and encoding.
std::function<void(std::ostream&, XmlStr::Encoding)> writeInstead;
std::function<char*(const char*, std::size_t, int)> encodeInstead;

template <class Function>
Function* original(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// Writes down the texts that it receives, and counts the messages.
class TextRecorder : public CFiErrorHandlerBase {
  public:
    void handleMessage(CFiMessagePtr) override { ++messages; }
    void handleText(const char* text, kfi_eseverity severity) override {
        texts.emplace_back(text, severity);
    }

    int messages = 0;
    std::vector<std::pair<std::string, int>> texts;
};

class StatusMessage : public testing::Test {
  protected:
    StatusMessage() { manager.registerHandler(&handler); }
    ~StatusMessage() override {
        writeInstead = nullptr;
        encodeInstead = nullptr;
    }

    // A status message with every field set, and markup in all of its texts.
    static StatusMsg* busyTarget() {
        StatusMsg* const message = new StatusMsg;
        message->setCode(1203);
        message->setSeverity(4);
        message->setText("target <b> is \"busy\" & can't be used");
        message->addArgument("<name>", "b & c");
        return message;
    }

    // What the handlers receive for this; message may be null and is used up.
    std::string reported(StatusMsg* message, const char* resource) {
        handler.texts.clear();
        AutoDereference<StatusMsg> holder(message);
        manager.reportStatusMsg(holder, resource);
        EXPECT_EQ(handler.texts.size(), 1u);
        return handler.texts.empty() ? "nothing" : handler.texts.back().first;
    }

    TextRecorder handler;
    CFiErrorManager manager;
};

const std::string START = "<?xml version=\"1.0\" encoding=\"utf-8\"?><CallbackMsg>";
const std::string END = "</CallbackMsg>";
const std::string STATUS = "<KfmsPercentEncodedStatusMsg>";
const std::string STATUS_END = "</KfmsPercentEncodedStatusMsg>";

// The percent-encoded status message of a callback message.
std::string encodedPart(const std::string& text) {
    const std::size_t start = text.find(STATUS) + STATUS.size();
    return text.substr(start, text.find(STATUS_END) - start);
}

std::string decoded(const std::string& text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%') {
            plain += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

TEST_F(StatusMessage, IsAnEmptyElementWithoutMessageAndResource) {
    EXPECT_EQ(reported(nullptr, nullptr),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?><CallbackMsg></CallbackMsg>");
}

TEST_F(StatusMessage, NamesTheResource) {
    EXPECT_EQ(reported(nullptr, "disk 1"), "<?xml version=\"1.0\" encoding=\"utf-8\"?><CallbackMsg>"
                                           "<KfmsResource>disk 1</KfmsResource></CallbackMsg>");
}

TEST_F(StatusMessage, HasAnEmptyElementForAnEmptyResource) {
    EXPECT_EQ(reported(nullptr, ""), START + "<KfmsResource></KfmsResource>" + END);
}

TEST_F(StatusMessage, PassesTheResourceOnUnchanged) {
    for (const std::string resource :
         {"a&b", "<x/>", "</KfmsResource>", "&amp;", "100%20", "a\nb", " ", "\xC3\xA4", "\xFF"}) {
        EXPECT_EQ(reported(nullptr, resource.c_str()),
                  START + "<KfmsResource>" + resource + "</KfmsResource>" + END);
    }
}

TEST_F(StatusMessage, CarriesTheMessagePercentEncoded) {
    StatusMsg* const message = new StatusMsg;
    message->setCode(7);
    message->setText("a b");
    EXPECT_EQ(reported(message, nullptr),
              START + STATUS +
                  "%3C%3Fxml%20version%3D%221.0%22%20encoding%3D%22utf-8%22%3F%3E%3CStatusMsg%3E"
                  "%3CCode%3E7%3C/Code%3E%3CSeverity%3E0%3C/Severity%3E"
                  "%3CText%3Ea%20b%3C/Text%3E%3C/StatusMsg%3E" +
                  STATUS_END + END);
}

TEST_F(StatusMessage, PutsTheMessageBeforeTheResource) {
    const std::string text = reported(busyTarget(), "disk");
    EXPECT_EQ(text, START + STATUS + encodedPart(text) + STATUS_END +
                        "<KfmsResource>disk</KfmsResource>" + END);
}

TEST_F(StatusMessage, HasNoMarkupOfTheMessageInItsEnvelope) {
    const std::string part = encodedPart(reported(busyTarget(), "disk"));
    EXPECT_GT(part.size(), 100u);
    EXPECT_EQ(part.find_first_of("<>&\"' \t\r\n"), std::string::npos) << part;
}

TEST_F(StatusMessage, CanBeDecodedToTheMessagesOwnXml) {
    AutoDereference<StatusMsg> message(busyTarget());
    std::ostringstream xml;
    StatusMsgXmlDoc(message.get()).writeXml(xml, XmlStr::UTF_8);
    EXPECT_EQ(decoded(encodedPart(reported(busyTarget(), "disk"))), xml.str());
}

TEST_F(StatusMessage, IsWellFormedForAPlainResource) {
    class Watch : public CFiSaxParseHandler {
      public:
        bool failed() const { return errorSeen; }
    };
    Watch watch;
    CFiSaxParser(&watch, nullptr).parse(reported(busyTarget(), "disk"));
    EXPECT_FALSE(watch.failed());
    CFiSaxParser(&watch, nullptr).parse(reported(nullptr, "a&b"));
    EXPECT_TRUE(watch.failed());
}

TEST_F(StatusMessage, GoesToEveryHandlerWithSeverityFive) {
    TextRecorder second;
    manager.registerHandler(&second);
    AutoDereference<StatusMsg> none;
    manager.reportStatusMsg(none, "disk");
    const std::string text = START + "<KfmsResource>disk</KfmsResource>" + END;
    EXPECT_THAT(handler.texts, ElementsAre(Pair(text, 5)));
    EXPECT_THAT(second.texts, ElementsAre(Pair(text, 5)));
}

TEST_F(StatusMessage, IsPlainTextThatTheManagerDoesNotKeep) {
    reported(busyTarget(), "disk");
    EXPECT_EQ(handler.messages, 0);
    EXPECT_EQ(manager.getLastError(), nullptr);
}

TEST_F(StatusMessage, LeavesTheMessageToItsHolder) {
    AutoDereference<StatusMsg> message(busyTarget());
    manager.reportStatusMsg(message, nullptr);
    manager.reportStatusMsg(message, nullptr);
    EXPECT_EQ(message->getCode(), 1203);
    ASSERT_EQ(handler.texts.size(), 2u);
    EXPECT_EQ(handler.texts[0], handler.texts[1]);
}

TEST_F(StatusMessage, NeedsNoHandler) {
    CFiErrorManager lonely;
    AutoDereference<StatusMsg> message(busyTarget());
    EXPECT_NO_THROW(lonely.reportStatusMsg(message, "disk"));
}

TEST_F(StatusMessage, PassesAHandlersException) {
    class ThrowingHandler : public CFiErrorHandlerBase {
      public:
        void handleMessage(CFiMessagePtr) override {}
        void handleText(const char*, kfi_eseverity) override {
            throw std::runtime_error("handler");
        }
    };
    ThrowingHandler thrower;
    manager.registerHandler(&thrower);
    AutoDereference<StatusMsg> message(busyTarget());
    EXPECT_THROW(manager.reportStatusMsg(message, nullptr), std::runtime_error);
}

TEST_F(StatusMessage, HasAnEmptyElementForAMessageWithoutXml) {
    writeInstead = [](std::ostream&, XmlStr::Encoding) {};
    EXPECT_EQ(reported(new StatusMsg, nullptr), START + STATUS + STATUS_END + END);
}

TEST_F(StatusMessage, AsksForUtf8AndEncodesAllOfIt) {
    const std::string xml("a\0b", 3);
    writeInstead = [&](std::ostream& stream, XmlStr::Encoding encoding) {
        EXPECT_EQ(encoding, 1);
        stream << xml;
    };
    encodeInstead = [&](const char* text, std::size_t length, int flags) {
        EXPECT_EQ(std::string(text, length), xml);
        EXPECT_EQ(flags, 0);
        return strdup("encoded");
    };
    EXPECT_EQ(reported(new StatusMsg, nullptr), START + STATUS + "encoded" + STATUS_END + END);
}

TEST_F(StatusMessage, PassesTheLibrarysExceptionAndPushesNothing) {
    writeInstead = [](std::ostream& stream, XmlStr::Encoding) {
        stream << "<Status";
        throw std::runtime_error("library");
    };
    AutoDereference<StatusMsg> message(busyTarget());
    EXPECT_THROW(manager.reportStatusMsg(message, "disk"), std::runtime_error);
    EXPECT_THAT(handler.texts, IsEmpty());
}

TEST_F(StatusMessage, ThrowsWhenTheLibraryBreaksOffAndPushesNothing) {
    writeInstead = [](std::ostream& stream, XmlStr::Encoding) {
        stream << "<Status";
        stream.setstate(std::ios::badbit);
    };
    AutoDereference<StatusMsg> message(busyTarget());
    EXPECT_THROW(manager.reportStatusMsg(message, "disk"), std::ios::failure);
    EXPECT_THAT(handler.texts, IsEmpty());
}

TEST_F(StatusMessage, ThrowsWithoutAnEncodedCopyAndPushesNothing) {
    encodeInstead = [](const char*, std::size_t, int) -> char* { return nullptr; };
    AutoDereference<StatusMsg> message(busyTarget());
    EXPECT_THROW(manager.reportStatusMsg(message, "disk"), std::bad_alloc);
    EXPECT_THAT(handler.texts, IsEmpty());
}

TEST_F(StatusMessage, IsPushedWholeOrNotAtAllWhenMemoryIsShort) {
    // Measures only, as a recorder takes memory itself.
    class Measure : public CFiErrorHandlerBase {
      public:
        void handleMessage(CFiMessagePtr) override {}
        void handleText(const char* text, kfi_eseverity) override {
            sizes.push_back(std::string_view(text).size());
        }
        std::vector<std::size_t> sizes;
    };
    if (!kzfi_tests::controlsAllocations()) {
        GTEST_SKIP() << "the sanitizer owns the allocator";
    }
    AutoDereference<StatusMsg> message(busyTarget());
    const std::size_t whole = reported(busyTarget(), "disk").size();
    int n = 0;
    int refused = 0;
    for (bool failed = true; failed;) {
        Measure measure;
        measure.sizes.reserve(1);
        CFiErrorManager watched;
        watched.registerHandler(&measure);
        kzfi_tests::failAllocation(++n);
        try {
            watched.reportStatusMsg(message, "disk");
            failed = kzfi_tests::allocationFailed();
            EXPECT_FALSE(failed) << "allocation " << n;
            EXPECT_THAT(measure.sizes, ElementsAre(whole));
        } catch (const std::bad_alloc&) {
            failed = kzfi_tests::allocationFailed();
            EXPECT_THAT(measure.sizes, IsEmpty());
            ++refused;
        }
    }
    EXPECT_GT(refused, 2);
}

TEST(StatusMessages, MayBeReportedBySeveralThreads) {
    CFiErrorManager manager;
    std::vector<std::thread> threads;
    std::vector<TextRecorder> handlers(4);
    for (TextRecorder& handler : handlers) {
        threads.emplace_back([&manager, &handler] {
            CFiErrorManager own;
            own.registerHandler(&handler);
            AutoDereference<StatusMsg> message(new StatusMsg);
            for (int i = 0; i < 100; ++i) {
                manager.reportStatusMsg(message, "shared");
                own.reportStatusMsg(message, "own");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const TextRecorder& handler : handlers) {
        ASSERT_EQ(handler.texts.size(), 100u);
        EXPECT_THAT(handler.texts.back().first, HasSubstr("<KfmsResource>own</KfmsResource>"));
    }
}

} // namespace

namespace Orvanta::Stoneleaf::Scf {

void StatusMsgXmlDoc::writeXml(std::ostream& stream, XmlStr::Encoding encoding) {
    if (writeInstead) {
        writeInstead(stream, encoding);
        return;
    }
    // A member function's first argument is its object.
    original<void(StatusMsgXmlDoc*, std::ostream&, XmlStr::Encoding)>(
        "_ZN7Orvanta9Stoneleaf3Scf15StatusMsgXmlDoc8writeXmlERSoNS1_6XmlStr8EncodingE")(
        this, stream, encoding);
}

char* pathToURIEncoded(const char* text, std::size_t length, int flags) {
    if (encodeInstead) {
        return encodeInstead(text, length, flags);
    }
    return original<char*(const char*, std::size_t, int)>(
        "_ZN7Orvanta9Stoneleaf3Scf16pathToURIEncodedEPKcmi")(text, length, flags);
}

} // namespace Orvanta::Stoneleaf::Scf
