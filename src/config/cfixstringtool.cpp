#include <cstdlib>

#include <unicode/ustring.h>
#include <xercesc/util/XMLString.hpp>

#include "cfisaxparser.h"
#include "config/xmlplatform.h"

namespace kzfi_pdk_4_4 {

XMLCh* CFiXStringTool::unicodeForm(const char* text) {
    // The reader's converter exists only while the platform runs.
    const XmlPlatformUse platform;
    return xercesc::XMLString::transcode(text);
}

char* CFiXStringTool::asciiForm(const XMLCh* text) {
    const std::int32_t length = text == nullptr ? 0 : u_strlen(text);
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t needed = 0;
    u_strToUTF8(nullptr, 0, &needed, text, length, &status);
    const auto size = static_cast<std::size_t>(needed) + 1;
    auto* const form = static_cast<char*>(std::calloc(size, 1));
    if (form != nullptr && needed > 0) {
        status = U_ZERO_ERROR;
        u_strToUTF8(form, needed + 1, nullptr, text, length, &status);
    }
    return form;
}

} // namespace kzfi_pdk_4_4
