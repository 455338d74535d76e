#include "cfisaxparser.h"

#include <atomic>
#include <cstring>

#include <unicode/utf16.h>
#include <unicode/utf8.h>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "config/documentwatch.h"
#include "config/xmlplatform.h"

namespace kzfi_pdk_4_4 {

using xercesc::XMLUni;

namespace {

constexpr XMLCh SYSTEM_ID[] = u"kzfi_sax_parser";

constexpr char REPLACEMENT[] = "\xEF\xBF\xBD";

bool isAscii(XMLCh unit) {
    return unit < 0x80;
}

void appendUtf8(std::string& bytes, UChar32 character) {
    char encoded[U8_MAX_LENGTH];
    std::size_t length = 0;
    U8_APPEND_UNSAFE(encoded, length, character);
    bytes.append(encoded, length);
}

void appendUtf8(std::string& bytes, const XMLCh* chars, XMLSize_t length) {
    XMLSize_t done = 0;
    while (done < length) {
        // Nearly all text is ASCII. Narrowed here and appended as a whole it costs two thirds of
        // growing the string first and filling it in place.
        char ascii[64];
        std::size_t count = 0;
        while (done < length && count < sizeof(ascii) && isAscii(chars[done])) {
            ascii[count++] = static_cast<char>(chars[done++]);
        }
        bytes.append(ascii, count);
        if (done < length && !isAscii(chars[done])) {
            UChar32 character = 0;
            U16_NEXT_OR_FFFD(chars, done, length, character);
            appendUtf8(bytes, character);
        }
    }
}

bool endsWithReplacement(const std::string& bytes) {
    const std::size_t length = std::strlen(REPLACEMENT);
    return bytes.size() >= length && bytes.compare(bytes.size() - length, length, REPLACEMENT) == 0;
}

/// A reader for plain parsing that opens nothing by itself.
std::unique_ptr<xercesc::SAX2XMLReader> makeReader(detail::DocumentWatch& watch) {
    std::unique_ptr<xercesc::SAX2XMLReader> reader(
        xercesc::XMLReaderFactory::createXMLReader(&watch));
    reader->setFeature(XMLUni::fgSAX2CoreValidation, false);
    reader->setFeature(XMLUni::fgSAX2CoreNameSpaces, false);
    reader->setFeature(XMLUni::fgXercesSchema, false);
    reader->setFeature(XMLUni::fgXercesSchemaFullChecking, false);
    reader->setFeature(XMLUni::fgSAX2CoreNameSpacePrefixes, false);
    // Documents come from outside: an external entity would read files and addresses of the
    // writer's choice. This makes each a fatal error; not loading the external DTD alone would
    // drop text silently.
    reader->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
    watch.follow(*reader);
    return reader;
}

/// One parser between two short texts, or null: making a reader takes longer than such a text.
std::atomic<CFiSaxParser*> spareParser{nullptr};

void setSpareParser(CFiSaxParser* parser) {
    delete spareParser.exchange(parser);
}

/// Ends the spare parser with the library; the pointer itself can be used to the very end.
struct SpareParserEnd {
    SpareParserEnd() = default;
    SpareParserEnd(const SpareParserEnd&) = delete;
    SpareParserEnd& operator=(const SpareParserEnd&) = delete;
    ~SpareParserEnd() { setSpareParser(nullptr); }
} spareParserEnd;

/// After a longer text a reader holds too much memory to be kept, and its making did not matter.
constexpr std::size_t SHORT_TEXT = std::size_t{256} * 1024;

/// Whether bytes begin with this literal.
template <std::size_t Size>
bool beginsWith(const char* bytes, std::size_t size, const char (&literal)[Size]) {
    return size >= Size - 1 && std::memcmp(bytes, literal, Size - 1) == 0;
}

/// Whether a reader knows nothing more of this text than that it has read one: it stays with the
/// rules of XML 1.1 once a declaration named them. Beginnings that are rare are not looked into.
bool leavesNoRules(const char* bytes, std::size_t size) {
    return beginsWith(bytes, size, "<?xml version=\"1.0\"") ||
           beginsWith(bytes, size, "<?xml version='1.0'") ||
           (beginsWith(bytes, size, "<") && !beginsWith(bytes, size, "<?"));
}

} // namespace

CFiSaxParser::CFiSaxParser() : handler(nullptr), reader(nullptr) {}

// By way of the other constructor, so that the destructor runs after an exception in here.
CFiSaxParser::CFiSaxParser(xercesc::DefaultHandler* newHandler, const char* schema)
    : CFiSaxParser() {
    init();
    if (newHandler != nullptr) {
        setHandler(newHandler);
    }
    if (schema != nullptr) {
        setInputSchema(schema);
    }
}

CFiSaxParser::~CFiSaxParser() {
    delete reader;
}

void CFiSaxParser::init() {
    delete reader;
    reader = nullptr;
    try {
        if (watch == nullptr) {
            watch = std::make_unique<detail::DocumentWatch>();
        }
        reader = makeReader(*watch).release();
        setHandler(handler);
    } catch (const xercesc::XMLException&) {
        // Left without a reader on purpose; parse() tells the handler.
    }
}

void CFiSaxParser::setHandler(xercesc::DefaultHandler* newHandler) {
    handler = newHandler;
    if (reader == nullptr) {
        return;
    }
    try {
        reader->setContentHandler(handler);
        reader->setErrorHandler(handler);
    } catch (const xercesc::XMLException&) {
        // Swallowed on purpose, like every error of the set-up.
    }
}

void CFiSaxParser::setInputSchema(const char* schemaPath) {
    if (reader == nullptr) {
        return;
    }
    try {
        reader->setFeature(XMLUni::fgSAX2CoreValidation, true);
        reader->setFeature(XMLUni::fgSAX2CoreNameSpaces, true);
        reader->setFeature(XMLUni::fgXercesSchema, true);
        reader->setFeature(XMLUni::fgXercesSchemaFullChecking, true);
        reader->setFeature(XMLUni::fgXercesUseCachedGrammarInParse, true);
        // Otherwise the schema itself would be refused.
        reader->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, false);
        watch->allowSchemas();
        XMLCh* path = CFiXStringTool::unicodeForm(schemaPath);
        const xercesc::ArrayJanitor<XMLCh> keeper(path, xercesc::XMLPlatformUtils::fgMemoryManager);
        reader->setProperty(XMLUni::fgXercesSchemaExternalNoNameSpaceSchemaLocation, path);
    } catch (const xercesc::XMLException&) {
        // Swallowed on purpose, like every error of the set-up.
    } catch (const xercesc::SAXException&) {
    }
}

void CFiSaxParser::parse(const std::string& text) {
    parse(text.data(), text.size());
}

void CFiSaxParser::parse(const char* bytes, std::size_t size) {
    if (reader == nullptr) {
        if (handler != nullptr) {
            handler->fatalError(xercesc::SAXParseException(u"no reader", nullptr, SYSTEM_ID, 0, 0));
        }
        return;
    }
    xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(bytes), size, SYSTEM_ID,
                                      false);
    source.setCopyBufToStream(false);
    const detail::WatchedDocument document(*watch, size, handler);
    reader->parse(source);
}

void CFiSaxParser::parse(const std::vector<std::string>& pieces) {
    std::size_t size = 0;
    for (const std::string& piece : pieces) {
        size += piece.size() + 1;
    }
    std::string text;
    text.reserve(size);
    for (const std::string& piece : pieces) {
        text += piece;
    }
    parse(text);
}

// For texts that nobody but the kit sees parsed. A parser that met an error or an exception is not
// used again, nor one that keeps rules or declarations of its text, and one that is in use is never
// handed out.
void CFiSaxParser::parseOnce(const char* bytes, std::size_t size, CFiSaxParseHandler& newHandler) {
    std::unique_ptr<CFiSaxParser> parser(spareParser.exchange(nullptr));
    if (parser == nullptr) {
        parser = std::make_unique<CFiSaxParser>(nullptr, nullptr);
    }
    parser->setHandler(&newHandler);
    parser->parse(bytes, size);
    if (!newHandler.errorSeen && size <= SHORT_TEXT && leavesNoRules(bytes, size) &&
        !parser->watch->sawDoctype()) {
        parser->setHandler(nullptr);
        setSpareParser(parser.release());
    }
}

CFiSaxParseHandler::CFiSaxParseHandler() : savedError(nullptr), errorSeen(false), openLead(0) {
    XmlPlatformUse platform;
    xercesc::MemoryManager* const memory = xercesc::XMLPlatformUtils::fgMemoryManager;
    savedError = new (memory) xercesc::SAXParseException(nullptr, nullptr, nullptr, 0, 0, memory);
    platform.release();
}

CFiSaxParseHandler::~CFiSaxParseHandler() {
    delete savedError;
    stopXmlPlatform();
}

void CFiSaxParseHandler::characters(const XMLCh* chars, XMLSize_t length) {
    if (length == 0) {
        return;
    }
    // Most calls bring the line end and the tab between two elements; they cost half this way.
    if (length <= 2 && isAscii(chars[0]) && isAscii(chars[length - 1])) {
        buffer += static_cast<char>(chars[0]);
        if (length == 2) {
            buffer += static_cast<char>(chars[1]);
        }
        openLead = 0;
        return;
    }
    appendText(chars, length);
}

void CFiSaxParseHandler::appendText(const XMLCh* chars, XMLSize_t length) {
    // Of a long text the reader may deliver the halves of one character in two calls.
    if (openLead != 0 && U16_IS_TRAIL(chars[0]) && endsWithReplacement(buffer)) {
        buffer.resize(buffer.size() - std::strlen(REPLACEMENT));
        appendUtf8(buffer, U16_GET_SUPPLEMENTARY(openLead, chars[0]));
        ++chars;
        --length;
    }
    openLead = length > 0 && U16_IS_LEAD(chars[length - 1]) ? chars[length - 1] : u'\0';
    appendUtf8(buffer, chars, length);
}

void CFiSaxParseHandler::endElement(const XMLCh*, const XMLCh*, const XMLCh*) {}

void CFiSaxParseHandler::startElement(const XMLCh*, const XMLCh*, const XMLCh*,
                                      const xercesc::Attributes&) {}

void CFiSaxParseHandler::error(const xercesc::SAXParseException& exception) {
    errorSeen = true;
    *savedError = exception;
}

void CFiSaxParseHandler::fatalError(const xercesc::SAXParseException& exception) {
    CFiSaxParseHandler::error(exception);
}

void CFiSaxParseHandler::warning(const xercesc::SAXParseException& exception) {
    CFiSaxParseHandler::error(exception);
}

void CFiSaxParseHandler::raiseError() const {
    if (errorSeen && savedError->getMessage() != nullptr) {
        throw xercesc::SAXParseException(*savedError);
    }
}

} // namespace kzfi_pdk_4_4
