// Element names and the pieces of XML that the lists are written with.
#ifndef KZFI_CONFIG_XMLTEXT_H
#define KZFI_CONFIG_XMLTEXT_H

#include <string>

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

/// A tag on a line of its own.
inline void openTag(std::string& xml, const char* name) {
    xml += CFiStringTool::xmlBracket(name, true, true);
}
inline void closeTag(std::string& xml, const char* name) {
    xml += CFiStringTool::xmlBracket(name, false, true);
}

/// An indented element on a line of its own, with its escaped value.
inline void valueTag(std::string& xml, const char* name, const std::string& value) {
    xml += CFiStringTool::xmlBracketValue(name, value);
}

} // namespace kzfi_pdk_4_4::detail

#endif
