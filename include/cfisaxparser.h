// Reading XML from memory: the parser, the base of all its handlers and a tool for its strings.
#ifndef CFISAXPARSER_H
#define CFISAXPARSER_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>

#include "kzfi_pdk.h"

namespace kzfi_pdk_4_4 {

namespace detail {
class DocumentWatch;
template <class Data>
class CFiParamList;
} // namespace detail
class CFiSaxParseHandler;

/// One SAX2 reader, set up for plain parsing without validation and namespaces.
///
///     MyHandler handler; // derived from CFiSaxParseHandler
///     CFiSaxParser parser(&handler, nullptr);
///     parser.parse(text);
///     use(handler.getList()); // throws what was wrong with the text
///
/// What comes from outside is not trusted: external entities and external DTDs are refused, and so
/// is a document that unfolds to far more than its own size: each a fatal error to the handler.
///
/// Threads: parsers may be made, used and destroyed on several threads at once, each on one.
/// Ownership: the handler stays the caller's and must outlive the parser or be taken off.
/// Errors: what is wrong with a document goes to the handler; an exception of a handler or of the
/// reader leaves parse(). Errors of the set-up are swallowed on purpose; a parser that was left
/// without a reader reports a fatal error for every document.
class KZFI_PDK_API CFiSaxParser {
  public:
    /// A parser for handler, validating when a schema is named; either may be null.
    CFiSaxParser(xercesc::DefaultHandler* newHandler, const char* schema);
    CFiSaxParser(const CFiSaxParser&) = delete;
    CFiSaxParser& operator=(const CFiSaxParser&) = delete;
    ~CFiSaxParser();

    /// Makes the reader; the constructor has done so. Called again it starts anew, with the handler
    /// and without schema. Never to be called from inside a handler: it ends the reader that runs.
    void init();

    /// Takes content and errors to newHandler from now on; null takes them nowhere, and then even a
    /// broken document goes unnoticed.
    void setHandler(xercesc::DefaultHandler* newHandler);

    /// Validates documents against the schema in this file. From then on the reader opens whatever
    /// schema and document name: not for documents from outside.
    void setInputSchema(const char* schemaPath);

    /// Parses all bytes of text, or all pieces joined, as one document.
    void parse(const std::string& text);
    void parse(const std::vector<std::string>& pieces);

  private:
    template <class Data>
    friend class detail::CFiParamList;

    CFiSaxParser();

    static void parseOnce(const char* bytes, std::size_t size, CFiSaxParseHandler& newHandler);
    void parse(const char* bytes, std::size_t size);

    xercesc::DefaultHandler* handler;
    xercesc::SAX2XMLReader* reader;
    std::unique_ptr<detail::DocumentWatch> watch;
};

/// Base of the kit's handlers: collects character data and keeps the last error of the document.
///
/// A derived handler clears the buffer in startElement(), reads it in endElement(), and calls
/// raiseError() before it hands out what it has built.
///
/// Threads: none of its own; a handler belongs to one parse on one thread.
/// Errors: warnings count as errors, on purpose. Nothing is thrown while the document is read, the
/// last report wins, and the flag is never cleared, not even by a second document. What it throws
/// may outlive it.
class KZFI_PDK_API CFiSaxParseHandler : public xercesc::DefaultHandler {
  public:
    CFiSaxParseHandler();
    CFiSaxParseHandler(const CFiSaxParseHandler&) = delete;
    CFiSaxParseHandler& operator=(const CFiSaxParseHandler&) = delete;
    ~CFiSaxParseHandler() override;

    /// Appends the characters to the buffer as UTF-8.
    void characters(const XMLCh* chars, XMLSize_t length) override;
    /// Both do nothing here.
    void endElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname) override;
    void startElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname,
                      const xercesc::Attributes& attributes) override;
    /// All three keep exception and set the flag.
    void error(const xercesc::SAXParseException& exception) override;
    void fatalError(const xercesc::SAXParseException& exception) override;
    void warning(const xercesc::SAXParseException& exception) override;

  protected:
    /// Throws a copy of the saved error when one with a message was reported.
    void raiseError() const;

    /// The error that raiseError throws, whether any was reported, and the text read so far.
    xercesc::SAXParseException* savedError;
    bool errorSeen;
    std::string buffer;

  private:
    friend class CFiSaxParser;

    void appendText(const XMLCh* chars, XMLSize_t length);

    XMLCh openLead;
};

/// Conversions between the reader's strings and byte strings.
class KZFI_PDK_API CFiXStringTool {
  public:
    CFiXStringTool() = delete;

    /// text, which is UTF-8, for the reader; null for null. Released by the caller with
    /// XMLString::release.
    static XMLCh* unicodeForm(const char* text);

    /// text as UTF-8, whatever the name says; the empty string for null and for text that is no
    /// UTF-16. Freed by the caller with free(). Null when there is no memory.
    static char* asciiForm(const XMLCh* text);
};

} // namespace kzfi_pdk_4_4

#endif
