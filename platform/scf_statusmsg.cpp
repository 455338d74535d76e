// The stand-in for the host's status-message library.
#include "scf_statusmsg.h"

#include <cstdlib>
#include <cstring>
#include <ostream>

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

// What stands for a character in element content: also for a carriage return, which a reader would
// take for a line's end, and for control characters, which XML cannot carry at all.
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
    case '\t':
    case '\n':
        return std::string(1, character);
    default:
        return std::string(1, static_cast<unsigned char>(character) < ' ' ? '?' : character);
    }
}

std::string element(const char* name, const std::string& text) {
    std::string xml = std::string("<") + name + ">";
    for (const char character : text) {
        xml += escaped(character);
    }
    return xml + "</" + name + ">";
}

} // namespace

StatusMsgXmlDoc::StatusMsgXmlDoc(StatusMsg* statusMessage) : message(statusMessage) {}

StatusMsgXmlDoc::~StatusMsgXmlDoc() = default;

void StatusMsgXmlDoc::writeXml(std::ostream& stream, XmlStr::Encoding /*encoding*/) {
    // Numbers go through to_string: the stream may have a locale that groups digits.
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
    stream << xml << "</StatusMsg>";
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
