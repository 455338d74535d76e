// What keeps a small document from unfolding into a huge one.
#ifndef KZFI_CONFIG_DOCUMENTWATCH_H
#define KZFI_CONFIG_DOCUMENTWATCH_H

#include <cstddef>

#include <xercesc/framework/MemoryManager.hpp>
#include <xercesc/framework/XMLDocumentHandler.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/LexicalHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/util/SecurityManager.hpp>

#include "config/xmlplatform.h"

namespace kzfi_pdk_4_4::detail {

/// Sits beside the handler of one reader and in its memory, and ends a document that unfolds to far
/// more than its own size, with a fatal error to the handler.
///
/// A document without a DOCTYPE cannot unfold and is let through. The reader's own limit counts
/// entities in content only: entities in the defaults of attributes and parameter entities would
/// grow without bounds, and so would the memory for one long attribute. Hence the memory: nothing
/// else of the reader is told of every expansion.
///
/// Must outlive the reader, and keeps the platform for it. What the reader throws does not depend
/// on it.
class DocumentWatch : public xercesc::MemoryManager,
                      public xercesc::LexicalHandler,
                      public xercesc::XMLDocumentHandler {
  public:
    DocumentWatch();
    DocumentWatch(const DocumentWatch&) = delete;
    DocumentWatch& operator=(const DocumentWatch&) = delete;
    ~DocumentWatch() override;

    /// Watches over every document of watched, which was made with this as its memory manager.
    void follow(xercesc::SAX2XMLReader& watched);

    /// Leaves memory out of account from now on: the schemas are read into it, too.
    void allowSchemas() { schemasAllowed = true; }

    /// Whether the last document had a DOCTYPE.
    bool sawDoctype() const { return looking; }

    xercesc::MemoryManager* getExceptionMemoryManager() override;
    void* allocate(XMLSize_t size) override;
    void deallocate(void* block) override;

    void startDTD(const XMLCh* name, const XMLCh* publicId, const XMLCh* systemId) override;
    void comment(const XMLCh* chars, XMLSize_t length) override;
    void endCDATA() override {}
    void endDTD() override {}
    void endEntity(const XMLCh*) override {}
    void startCDATA() override {}
    void startEntity(const XMLCh*) override {}

    void docCharacters(const XMLCh* chars, XMLSize_t length, bool cdataSection) override;
    void docPI(const XMLCh* target, const XMLCh* data) override;
    void ignorableWhitespace(const XMLCh* chars, XMLSize_t length, bool cdataSection) override;
    void startElement(const xercesc::XMLElementDecl& declaration, unsigned int uriId,
                      const XMLCh* prefix, const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes,
                      XMLSize_t attributeCount, bool isEmpty, bool isRoot) override;
    void docComment(const XMLCh*) override {}
    void endDocument() override {}
    void endElement(const xercesc::XMLElementDecl&, unsigned int, bool, const XMLCh*) override {}
    void endEntityReference(const xercesc::XMLEntityDecl&) override {}
    void resetDocument() override {}
    void startDocument() override {}
    void startEntityReference(const xercesc::XMLEntityDecl&) override {}
    void XMLDecl(const XMLCh*, const XMLCh*, const XMLCh*, const XMLCh*) override {}

  private:
    friend class WatchedDocument;

    void begin(std::size_t documentSize, xercesc::DefaultHandler* handler);
    void deliver(std::size_t characters);
    void countExpansion();
    void refuse();

    XmlPlatformUse platform;
    xercesc::SecurityManager limits;
    xercesc::SAX2XMLReader* reader;
    bool looking;
    bool schemasAllowed;
    bool underWay;
    xercesc::DefaultHandler* errors;
    std::size_t ceiling;
    std::size_t delivered;
    std::size_t allocated;
    std::size_t expansions;
    void* lastBlock;
    std::size_t lastSize;
};

/// One document from its begin to its end, of this many bytes; errors go to handler, which may be
/// null. Another one meanwhile, which the reader will refuse, leaves the count of the first alone.
class WatchedDocument {
  public:
    WatchedDocument(DocumentWatch& documentWatch, std::size_t size,
                    xercesc::DefaultHandler* handler);
    WatchedDocument(const WatchedDocument&) = delete;
    WatchedDocument& operator=(const WatchedDocument&) = delete;
    ~WatchedDocument();

  private:
    DocumentWatch& watch;
    const bool outermost;
};

} // namespace kzfi_pdk_4_4::detail

#endif
