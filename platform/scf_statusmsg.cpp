// The stand-in for the host's status-message library.
#include "scf_statusmsg.h"

#include <cstdlib>
#include <cstring>
#include <ostream>
#include <string_view>

namespace Orvanta::Stoneleaf::Scf {

StatusMsg::StatusMsg() : references(1), code(0), severity(0) {}

StatusMsg::~StatusMsg() = default;

void StatusMsg::setCode(int newCode) {
    code = newCode;
}

void StatusMsg::setSeverity(int newSeverity) {
    severity = newSeverity;
}

void StatusMsg::setText(const std::string& newText) {
    text = newText;
}

void StatusMsg::addArgument(const std::string& name, const std::string& value) {
    arguments.emplace_back(name, value);
}

int StatusMsg::getCode() const {
    return code;
}

int StatusMsg::getSeverity() const {
    return severity;
}

const std::string& StatusMsg::getText() const {
    return text;
}

const std::vector<std::pair<std::string, std::string>>& StatusMsg::getArguments() const {
    return arguments;
}

void StatusMsg::reference() {
    references.fetch_add(1, std::memory_order_relaxed);
}

void StatusMsg::dereference() {
    if (references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete this;
    }
}

namespace {

// The size of the UTF-8 character that text begins with; 0 when it begins with none, or with one
// that XML cannot carry.
std::size_t characterSize(std::string_view text) {
    static constexpr unsigned SMALLEST[] = {0, 0, 0x80, 0x800, 0x10000};
    const unsigned lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80) {
        return lead >= ' ' || lead == '\t' || lead == '\n' || lead == '\r' ? 1 : 0;
    }
    const std::size_t size = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (lead < 0xC0 || lead >= 0xF8 || size > text.size()) {
        return 0;
    }
    unsigned code = lead & 0x7Fu >> size;
    for (const char next : text.substr(1, size - 1)) {
        if ((next & 0xC0) != 0x80) {
            return 0;
        }
        code = code << 6 | (next & 0x3Fu);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    const bool known = code >= SMALLEST[size] && code <= 0x10FFFF && !surrogate;
    return known && code != 0xFFFE && code != 0xFFFF ? size : 0;
}

// What stands for a character of one byte in element content: also for a carriage return, which a
// reader would take for a line's end.
std::string escaped(char character) {
    switch (character) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '\r':
        return "&#13;";
    default:
        return std::string(1, character);
    }
}

// A question mark stands for each byte that belongs to no character of XML.
std::string element(const char* name, std::string_view text) {
    std::string xml = std::string("<") + name + ">";
    while (!text.empty()) {
        const std::size_t size = characterSize(text);
        if (size == 0) {
            xml += '?';
        } else if (size == 1) {
            xml += escaped(text[0]);
        } else {
            xml += text.substr(0, size);
        }
        text.remove_prefix(size == 0 ? 1 : size);
    }
    return xml + "</" + name + ">";
}

} // namespace

StatusMsgXmlDoc::StatusMsgXmlDoc(StatusMsg* statusMessage) : message(statusMessage) {}

StatusMsgXmlDoc::~StatusMsgXmlDoc() = default;

void StatusMsgXmlDoc::writeXml(std::ostream& stream, XmlStr::Encoding /*encoding*/) {
    // Neither numbers nor texts go through <<: the stream may have a locale that groups digits, and
    // a width that fills up.
    std::string xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?><StatusMsg>";
    xml += element("Code", std::to_string(message->getCode()));
    xml += element("Severity", std::to_string(message->getSeverity()));
    xml += element("Text", message->getText());
    for (const auto& argument : message->getArguments()) {
        xml += "<Argument>";
        xml += element("Name", argument.first);
        xml += element("Value", argument.second);
        xml += "</Argument>";
    }
    xml += "</StatusMsg>";
    stream.write(xml.data(), static_cast<std::streamsize>(xml.size()));
}

namespace {

// Letters and digits of ASCII, whatever the locale, and five marks.
bool isPlain(char character) {
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
           (character >= '0' && character <= '9') ||
           (character != '\0' && std::strchr("-._~/", character) != nullptr);
}

} // namespace

char* pathToURIEncoded(const char* text, std::size_t length, int /*flags*/) {
    char* const encoded = static_cast<char*>(std::malloc(3 * length + 1));
    if (encoded == nullptr) {
        return nullptr;
    }
    char* end = encoded;
    for (std::size_t i = 0; i < length; ++i) {
        if (isPlain(text[i])) {
            *end++ = text[i];
        } else {
            const unsigned char byte = static_cast<unsigned char>(text[i]);
            *end++ = '%';
            *end++ = "0123456789ABCDEF"[byte >> 4];
            *end++ = "0123456789ABCDEF"[byte & 0xf];
        }
    }
    *end = '\0';
    return encoded;
}

} // namespace Orvanta::Stoneleaf::Scf
