// The three lists that travel as XML: what is accepted must come back the same from its own text.
#ifndef KZFI_FUZZ_PARAMETER_LISTS_H
#define KZFI_FUZZ_PARAMETER_LISTS_H

#include <xercesc/sax/SAXException.hpp>
#include <xercesc/util/XMLException.hpp>

#include "fuzzing.h"

namespace kzfi_fuzz {

template <class List>
void parseAndWriteBack(const std::string& text) {
    List list;
    if (list.parse(text.c_str()) != 0) {
        require(list.empty(), "a text that is refused leaves the list as it was");
        return;
    }
    const std::string written = list.getXML();
    List again;
    require(again.parse(written.c_str()) == 0, "what is written can be read");
    require(again.getXML() == written, "what was read is written the same");
    require(again.entries().size() == list.entries().size(), "no entry is lost");
}

} // namespace kzfi_fuzz

#endif
