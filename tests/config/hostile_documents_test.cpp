// Documents that want to read other files or to unfold without end: refused, and quickly so.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <stdexcept>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "cficonfigparam.h"
#include "config/param_texts.h"
#include "support/temp_dir.h"

namespace {

using namespace kzfi_pdk_4_4;
using namespace kzfi_tests;

/// A value list behind a DOCTYPE with this internal subset.
std::string document(const std::string& subset, const std::string& text) {
    return "<!DOCTYPE ConfigValueList [" + subset + "]>" + value("k", text);
}

std::string entity(const std::string& name, const std::string& text) {
    return "<!ENTITY " + name + " \"" + text + "\">";
}

/// Entities that each stand for ten of the one before, from p0 to the one of this level.
std::string tenfold(const std::string& name, const std::string& mark, const std::string& leaf,
                    int levels) {
    std::string declarations = entity(name + "0", leaf);
    for (int i = 1; i <= levels; ++i) {
        declarations += entity(name + std::to_string(i),
                               repeated(mark + "p" + std::to_string(i - 1) + ";", 10));
    }
    return declarations;
}

class HostileDocuments : public testing::Test {
  protected:
    HostileDocuments() { list.parse(value("k", "old").c_str()); }

    void expectRefused(const std::string& text) {
        EXPECT_EQ(list.parse(text.c_str()), 3) << text.substr(0, 200);
        EXPECT_EQ(list.entries().size(), 1u);
        EXPECT_EQ(list.getParamData("k")->value, "old");
    }

    /// What a plain reader makes of the text when it may open files.
    void expectReadWithFiles(const std::string& text) {
        CFiConfigParamDataListHandler handler;
        const std::unique_ptr<xercesc::SAX2XMLReader> reader(
            xercesc::XMLReaderFactory::createXMLReader());
        reader->setFeature(xercesc::XMLUni::fgSAX2CoreValidation, false);
        reader->setContentHandler(&handler);
        reader->setErrorHandler(&handler);
        reader->parse(xercesc::MemBufInputSource(reinterpret_cast<const XMLByte*>(text.data()),
                                                 text.size(), u"control"));
        EXPECT_EQ(handler.getList().getParamData("k")->value, "secret") << text;
    }

    std::string accepted(const std::string& text) {
        CFiConfigParamDataList other;
        EXPECT_EQ(other.parse(text.c_str()), 0) << text.substr(0, 200);
        return other.getParamData("k")->value;
    }

    CFiConfigParamDataList list;
    TempDir folder;
};

TEST_F(HostileDocuments, DoNotReadFiles) {
    const std::string secret = folder.path("secret");
    const std::string subset = folder.path("subset");
    writeFile(secret, "secret");
    writeFile(subset, entity("e", "secret"));
    // The same documents are good ones for a reader that does read files. It loses memory with an
    // external DTD, which is therefore not tried here.
    expectReadWithFiles(document("<!ENTITY e SYSTEM 'file://" + secret + "'>", "&e;"));
    expectReadWithFiles(document("<!ENTITY e SYSTEM '" + secret + "'>", "&e;"));
    expectReadWithFiles(document("<!ENTITY % e SYSTEM '" + subset + "'> %e;", "&e;"));
    expectRefused(document("<!ENTITY e SYSTEM 'file://" + secret + "'>", "&e;"));
    expectRefused(document("<!ENTITY e SYSTEM '" + secret + "'>", "&e;"));
    expectRefused(document("<!ENTITY e PUBLIC 'p' '" + secret + "'>", "&e;"));
    expectRefused(document("<!ENTITY e SYSTEM 'secret'>", "&e;"));
    expectRefused(document("<!ENTITY e SYSTEM '" + folder.path("missing") + "'>", "&e;"));
    expectRefused(document("<!ENTITY % e SYSTEM '" + subset + "'> %e;", "text"));
    expectRefused("<!DOCTYPE ConfigValueList SYSTEM '" + subset + "'>" + value("k", "text"));
    expectRefused("<!DOCTYPE ConfigValueList SYSTEM '" + subset + "'>" + value("k", "&e;"));
    expectRefused("<!DOCTYPE ConfigValueList PUBLIC 'p' '" + subset + "'>" + value("k", "text"));
}

/// A port of this machine that notes whether somebody connected.
class Listener {
  public:
    Listener() : listening(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof(address);
        auto* const general = reinterpret_cast<sockaddr*>(&address);
        if (bind(listening, general, length) != 0 || listen(listening, 5) != 0 ||
            getsockname(listening, general, &length) != 0) {
            throw std::runtime_error("no port to listen at");
        }
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    ~Listener() { close(listening); }

    std::string url() const {
        return "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/";
    }

    /// Connects by itself.
    void connectOnce() const {
        const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        close(client);
    }

    /// Whether somebody connected since the last call.
    bool wasReached() {
        const int peer = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
        if (peer >= 0) {
            close(peer);
        }
        return peer >= 0;
    }

  private:
    const int listening;
    sockaddr_in address = {};
};

TEST_F(HostileDocuments, DoNotReachTheNetwork) {
    Listener listener;
    const std::string url = listener.url();
    expectRefused(document("<!ENTITY e SYSTEM '" + url + "'>", "&e;"));
    expectRefused(document("<!ENTITY % e SYSTEM '" + url + "'> %e;", "text"));
    expectRefused("<!DOCTYPE ConfigValueList SYSTEM '" + url + "'>" + value("k", "text"));
    EXPECT_FALSE(listener.wasReached());
    listener.connectOnce();
    EXPECT_TRUE(listener.wasReached());
}

TEST_F(HostileDocuments, DoNotOpenFifos) {
    const std::string fifo = folder.path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    // Opening it for reading would wait for a writer for ever.
    expectRefused(document("<!ENTITY e SYSTEM '" + fifo + "'>", "&e;"));
    expectRefused("<!DOCTYPE ConfigValueList SYSTEM '" + fifo + "'>" + value("k", "text"));
}

TEST_F(HostileDocuments, MayUseEntitiesOfTheirOwn) {
    EXPECT_EQ(accepted(document(entity("e", "text"), "&e;")), "text");
    EXPECT_EQ(accepted(document(entity("a", "x") + entity("b", "&a;y&a;"), "&b;&b;")), "xyxxyx");
    EXPECT_EQ(accepted(document(entity("% p", "<!ENTITY e 'text'>") + "%p;", "&e;")), "text");
    EXPECT_EQ(accepted(document("<!ATTLIST value a CDATA 'x'>", "text")), "text");
}

TEST_F(HostileDocuments, MayExpandAThousandEntities) {
    const std::string e = entity("e", "x");
    EXPECT_EQ(accepted(document(e, repeated("&e;", 1000))), std::string(1000, 'x'));
    expectRefused(document(e, repeated("&e;", 1001)));
    EXPECT_EQ(
        accepted(document(e + "<!ATTLIST value a CDATA '" + repeated("&e;", 999) + "'>", "&e;")),
        "x");
    expectRefused(document(e + "<!ATTLIST value a CDATA '" + repeated("&e;", 1000) + "'>", "&e;"));
    EXPECT_EQ(accepted(document(entity("% p", " ") + repeated("%p;", 1000), "text")), "text");
    expectRefused(document(entity("% p", " ") + repeated("%p;", 1001), "text"));
}

TEST_F(HostileDocuments, MayUseAnyNumberOfReferencesThatAreNoEntities) {
    EXPECT_EQ(accepted(value("k", repeated("&amp;&#65;", 5000))), repeated("&A", 5000));
    EXPECT_EQ(accepted(document("", repeated("&lt;", 5000))), std::string(5000, '<'));
}

TEST_F(HostileDocuments, DoNotUnfoldEntitiesInContent) {
    expectRefused(document(tenfold("p", "&", "lol", 9), "&p9;"));
}

TEST_F(HostileDocuments, DoNotUnfoldEntitiesInAttributes) {
    expectRefused("<!DOCTYPE a [" + tenfold("p", "&", "lol", 9) + "]><a b='&p9;'/>");
}

TEST_F(HostileDocuments, DoNotUnfoldEntitiesInDefaultsOfAttributes) {
    expectRefused(
        document(tenfold("p", "&", "lol", 9) + "<!ATTLIST value a CDATA '&p9;'>", "text"));
}

TEST_F(HostileDocuments, DoNotUnfoldParameterEntities) {
    const std::string nested = tenfold("% p", "&#37;", "<!ENTITY e 'x'>", 9);
    expectRefused(document(nested + "%p9;", "text"));
    expectRefused(document(tenfold("% p", "&#37;", "", 9) + "%p9;", "text"));
}

TEST_F(HostileDocuments, DoNotRepeatOneLongEntity) {
    const std::string calls = repeated("&e;", 1000);
    const std::string longText(100000, 'x');
    expectRefused(document(entity("e", longText), calls));
    expectRefused(document(entity("e", repeated("<x/>", 25000)), calls));
    expectRefused(document(entity("e", "<!--" + longText + "-->"), calls));
    expectRefused(document(entity("e", "<?p " + longText + "?>"), calls));
    expectRefused("<!DOCTYPE a [" + entity("e", longText) + "]><a b='" + calls + "'/>");
}

TEST_F(HostileDocuments, DoNotRepeatOneLongDefault) {
    const std::string longText(100000, 'x');
    expectRefused(document("<!ATTLIST x a CDATA '" + longText + "'>", repeated("<x/>", 25000)));
    std::string attributes = entity("e", longText);
    for (int i = 0; i < 500; ++i) {
        attributes += "<!ATTLIST x a" + std::to_string(i) + " CDATA '&e;&e;'>";
    }
    expectRefused(document(attributes, "<x/>"));
}

TEST_F(HostileDocuments, MayUnfoldToAFewTimesTheirSize) {
    const std::string longText(100000, 'x');
    EXPECT_EQ(accepted(document(entity("e", longText), repeated("&e;", 20))).size(), 2000000u);
    EXPECT_EQ(accepted(document(entity("e", "x"), longText + "&e;")).size(), 100001u);
    EXPECT_EQ(accepted(document(entity("e", std::string(1000, 'x')), repeated("&e;", 1000))).size(),
              1000000u);
}

TEST_F(HostileDocuments, MayBeLongWithoutUnfolding) {
    EXPECT_EQ(accepted(value("k", std::string(8000000, 'x'))).size(), 8000000u);
    EXPECT_EQ(accepted(document(entity("e", "y"), std::string(8000000, 'x') + "&e;")).size(),
              8000001u);
    std::string names;
    for (int i = 0; i < 50000; ++i) {
        names += "<n" + std::to_string(i) + " a" + std::to_string(i) + "=''/>";
    }
    EXPECT_EQ(accepted(document(entity("e", "y"), names + "<x/>&e;")), "y");
}

TEST_F(HostileDocuments, DoNotUnfoldBehindARefusedParse) {
    class Reentering : public CFiConfigParamDataListHandler {
      public:
        void endElement(const XMLCh*, const XMLCh*, const XMLCh*) override {
            ++elements;
            EXPECT_THROW(parser->parse("<b/>"), xercesc::XMLException);
        }
        CFiSaxParser* parser = nullptr;
        int elements = 0;
    } reentering;
    CFiSaxParser parser(&reentering, nullptr);
    reentering.parser = &parser;
    parser.parse(document("<!ATTLIST x a CDATA '" + std::string(100000, 'x') + "'>",
                          repeated("<x/>", 25000)));
    EXPECT_THROW(reentering.getList(), xercesc::SAXParseException);
    EXPECT_LT(reentering.elements, 1000);
}

TEST_F(HostileDocuments, DoNotSpoilTheParserForOthers) {
    CFiConfigParamDataListHandler bad;
    CFiConfigParamDataListHandler good;
    CFiSaxParser parser(&bad, nullptr);
    const std::string hostile[] = {
        document(tenfold("% p", "&#37;", "<!ENTITY e 'x'>", 9) + "%p9;", "text"),
        document(tenfold("p", "&", "lol", 9) + "<!ATTLIST value a CDATA '&p9;'>", "text"),
        document("<!ATTLIST x a CDATA '" + std::string(100000, 'x') + "'>",
                 repeated("<x/>", 25000))};
    for (const std::string& text : hostile) {
        parser.setHandler(&bad);
        EXPECT_NO_THROW(parser.parse(text));
        parser.setHandler(nullptr);
        EXPECT_NO_THROW(parser.parse(text));
        parser.setHandler(&good);
        parser.parse(document(entity("e", "text"), repeated("&e;", 900)));
    }
    EXPECT_THROW(bad.getList(), xercesc::SAXParseException);
    EXPECT_EQ(good.getList().getParamData("k")->value, repeated("text", 900));
}

} // namespace
