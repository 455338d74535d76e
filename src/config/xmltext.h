// Element names and the pieces of XML that the lists are written with.
#ifndef KZFI_CONFIG_XMLTEXT_H
#define KZFI_CONFIG_XMLTEXT_H

#include <cstring>
#include <string>
#include <string_view>

#include <xercesc/util/XercesDefs.hpp>

#include "cfistringtool.h"

namespace kzfi_pdk_4_4::detail {

/// Whether the reader's qname is exactly this name, which is plain ASCII.
inline bool isNamed(const XMLCh* qname, const char* name) {
    while (*name != '\0' && *qname == static_cast<XMLCh>(*name)) {
        ++qname;
        ++name;
    }
    return *name == '\0' && *qname == 0;
}

/// An element that holds one text, on a line of its own; the two literals are all that is written
/// around the text, so that a list is one row of appends.
struct Leaf {
    std::string_view open;
    std::string_view close;
};

inline void append(std::string& xml, const Leaf& leaf, const std::string& text) {
    xml += leaf.open;
    // Most texts have nothing to escape and are spared a copy.
    const std::size_t plain = std::strcspn(text.c_str(), "&<>\"'");
    if (text.c_str()[plain] == '\0') {
        xml.append(text, 0, plain);
    } else {
        xml += CFiStringTool::convertToXmlSpecialCharacters(text);
    }
    xml += leaf.close;
}

} // namespace kzfi_pdk_4_4::detail

#endif
