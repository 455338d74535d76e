// The callback message that carries a status message of the host to the error handlers.
#include <cstdlib>
#include <memory>
#include <new>
#include <sstream>
#include <string>

#include "cfierrormgr.h"
#include "scf_statusmsg.h"

namespace kzfi_pdk_4_4 {

namespace {

using Orvanta::Stoneleaf::Scf::AutoDereference;
using Orvanta::Stoneleaf::Scf::pathToURIEncoded;
using Orvanta::Stoneleaf::Scf::StatusMsg;
using Orvanta::Stoneleaf::Scf::StatusMsgXmlDoc;
using Orvanta::Stoneleaf::Scf::XmlStr;

constexpr kfi_eseverity STATUS_SEVERITY = 5;

// The document lives until its encoded text was appended and the copy freed.
void appendEncoded(std::string& text, StatusMsg* message) {
    StatusMsgXmlDoc document(message);
    std::ostringstream xml;
    // Else running out of memory would go unnoticed and cut the text short.
    xml.exceptions(std::ostream::badbit);
    document.writeXml(xml, XmlStr::UTF_8);
    const std::string plain = xml.str();
    const std::unique_ptr<char, void (*)(void*)> encoded(
        pathToURIEncoded(plain.c_str(), plain.size(), 0), std::free);
    if (!encoded) {
        throw std::bad_alloc();
    }
    text += encoded.get();
}

} // namespace

void CFiErrorManager::reportStatusMsg(AutoDereference<StatusMsg>& message, const char* resource) {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?><CallbackMsg>";
    if (message) {
        text += "<KfmsPercentEncodedStatusMsg>";
        appendEncoded(text, message.get());
        text += "</KfmsPercentEncodedStatusMsg>";
    }
    if (resource != nullptr) {
        text += "<KfmsResource>";
        // Not escaped, on purpose.
        text += resource;
        text += "</KfmsResource>";
    }
    text += "</CallbackMsg>";
    pushError(text.c_str(), STATUS_SEVERITY);
}

} // namespace kzfi_pdk_4_4
