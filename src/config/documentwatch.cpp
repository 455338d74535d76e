#include "config/documentwatch.h"

#include <xercesc/framework/XMLAttr.hpp>
#include <xercesc/framework/XMLErrorCodes.hpp>
#include <xercesc/internal/XMLReader.hpp>
#include <xercesc/util/BinMemInputStream.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/RefVectorOf.hpp>
#include <xercesc/util/XMLString.hpp>
#include <xercesc/util/XMLUni.hpp>

namespace kzfi_pdk_4_4::detail {

namespace {

using xercesc::XMLPlatformUtils;
using xercesc::XMLString;

/// Far above what any writer of the format makes: it makes no entities.
constexpr XMLSize_t EXPANSION_LIMIT = 1000;

/// Characters that a document may deliver: a document that does not unfold delivers less than it
/// has bytes.
constexpr std::size_t CEILING_FACTOR = 64;
constexpr std::size_t CEILING_BASE = std::size_t{1024} * 1024;

/// What a tag counts for, beside its attributes.
constexpr std::size_t TAG_LENGTH = 8;

/// Memory that a document may take before its next expansion, for each character of the ceiling:
/// the reader's buffers hold two bytes a character and are doubled when full.
constexpr std::size_t BYTES_FOR_CHARACTER = 4;

/// The size that the reader asks for when it makes an object of type T.
template <class T>
std::size_t blockSize() {
    return XMLPlatformUtils::alignPointerForNewBlockAllocation(sizeof(xercesc::MemoryManager*)) +
           sizeof(T);
}

} // namespace

DocumentWatch::DocumentWatch()
    : reader(nullptr),
      looking(false),
      schemasAllowed(false),
      underWay(false),
      errors(nullptr),
      lastBlock(nullptr),
      lastSize(0) {
    limits.setEntityExpansionLimit(EXPANSION_LIMIT);
    begin(0, nullptr);
}

DocumentWatch::~DocumentWatch() = default;

void DocumentWatch::follow(xercesc::SAX2XMLReader& watched) {
    reader = &watched;
    looking = false;
    schemasAllowed = false;
    reader->setProperty(xercesc::XMLUni::fgXercesSecurityManager, &limits);
    reader->setLexicalHandler(this);
}

void DocumentWatch::begin(std::size_t documentSize, xercesc::DefaultHandler* handler) {
    if (looking) {
        reader->removeAdvDocHandler(this);
        looking = false;
    }
    errors = handler;
    ceiling = CEILING_BASE + CEILING_FACTOR * documentSize;
    delivered = 0;
    allocated = 0;
    expansions = 0;
}

xercesc::MemoryManager* DocumentWatch::getExceptionMemoryManager() {
    return XMLPlatformUtils::fgMemoryManager;
}

void* DocumentWatch::allocate(XMLSize_t size) {
    // An entity is expanded by a reader of its own on top of a stream over its text.
    if (size == blockSize<xercesc::XMLReader>()) {
        if (lastSize == blockSize<xercesc::BinMemInputStream>()) {
            countExpansion();
        }
    } else {
        allocated += size;
    }
    lastBlock = XMLPlatformUtils::fgMemoryManager->allocate(size);
    lastSize = size;
    return lastBlock;
}

void DocumentWatch::deallocate(void* block) {
    // What is given back is no stream that waits for its reader.
    if (block == lastBlock) {
        lastSize = 0;
    }
    XMLPlatformUtils::fgMemoryManager->deallocate(block);
}

void DocumentWatch::startDTD(const XMLCh*, const XMLCh*, const XMLCh*) {
    reader->installAdvDocHandler(this);
    looking = true;
}

void DocumentWatch::comment(const XMLCh*, XMLSize_t length) {
    deliver(length);
}

void DocumentWatch::docCharacters(const XMLCh*, XMLSize_t length, bool) {
    deliver(length);
}

void DocumentWatch::docPI(const XMLCh* target, const XMLCh* data) {
    deliver(XMLString::stringLen(target) + XMLString::stringLen(data));
}

void DocumentWatch::ignorableWhitespace(const XMLCh*, XMLSize_t length, bool) {
    deliver(length);
}

void DocumentWatch::startElement(const xercesc::XMLElementDecl&, unsigned int, const XMLCh*,
                                 const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes,
                                 XMLSize_t attributeCount, bool, bool) {
    std::size_t length = TAG_LENGTH;
    for (XMLSize_t i = 0; i < attributeCount; ++i) {
        length += XMLString::stringLen(attributes.elementAt(i)->getValue());
    }
    deliver(length);
}

void DocumentWatch::deliver(std::size_t characters) {
    delivered += characters;
    if (delivered > ceiling) {
        refuse();
    }
}

void DocumentWatch::countExpansion() {
    ++expansions;
    const bool isLarge = !schemasAllowed && allocated > BYTES_FOR_CHARACTER * ceiling;
    if (expansions > EXPANSION_LIMIT || isLarge) {
        // The reader would lose the stream that it has just made; it owns nothing else.
        deallocate(lastBlock);
        refuse();
    }
}

void DocumentWatch::refuse() {
    if (errors != nullptr) {
        errors->fatalError(xercesc::SAXParseException(u"document unfolds to far more than its size",
                                                      nullptr, nullptr, 0, 0));
    }
    // What the reader itself throws after a fatal error: it ends the document in good order.
    throw xercesc::XMLErrs::EntityExpansionLimitExceeded;
}

WatchedDocument::WatchedDocument(DocumentWatch& documentWatch, std::size_t size,
                                 xercesc::DefaultHandler* handler)
    : watch(documentWatch),
      outermost(!documentWatch.underWay) {
    if (outermost) {
        watch.begin(size, handler);
        watch.underWay = true;
    }
}

WatchedDocument::~WatchedDocument() {
    if (outermost) {
        watch.underWay = false;
    }
}

} // namespace kzfi_pdk_4_4::detail
