// Documents of the configuration parameter format, put together from pieces, and what reads them.
#ifndef KZFI_TESTS_CONFIG_PARAM_TEXTS_H
#define KZFI_TESTS_CONFIG_PARAM_TEXTS_H

#include <gtest/gtest.h>

#include <string>

#include "cficonfigparam.h"

namespace kzfi_tests {

inline const std::string HEADER = "<?xml version=\"1.0\" standalone=\"yes\" ?>\n";

inline std::string element(const std::string& name, const std::string& content) {
    return "<" + name + ">" + content + "</" + name + ">";
}

/// A value list with this inside its root element.
inline std::string values(const std::string& content) {
    return element("ConfigValueList", content);
}

/// A value list of one value.
inline std::string value(const std::string& key, const std::string& text) {
    return values(element("ConfigValue", element("key", key) + element("value", text)));
}

/// A description list with one parameter "p", that has this inside.
inline std::string description(const std::string& content) {
    return element("ConfigParamList", element("ConfigParam", element("key", "p") + content));
}

inline std::string repeated(const std::string& piece, int times) {
    std::string text;
    for (int i = 0; i < times; ++i) {
        text += piece;
    }
    return text;
}

/// A value or an option with this name and text.
template <class Entry = kzfi_pdk_4_4::CFiConfigParamData>
Entry data(const std::string& key, const std::string& text) {
    Entry result;
    result.key = key;
    result.value = text;
    return result;
}

/// A list that has read this text, which is a good one.
template <class List>
List read(const std::string& xml) {
    List list;
    EXPECT_EQ(list.parse(xml.c_str()), 0) << xml;
    return list;
}

template <class List>
std::string updatedXml(List& list) {
    list.updateXML();
    return list.getXML();
}

inline void feed(kzfi_pdk_4_4::CFiSaxParseHandler& handler, const std::string& xml) {
    kzfi_pdk_4_4::CFiSaxParser(&handler, nullptr).parse(xml);
}

/// Opens what the base of the handlers keeps to its family.
class OpenHandler : public kzfi_pdk_4_4::CFiSaxParseHandler {
  public:
    using CFiSaxParseHandler::buffer;
    using CFiSaxParseHandler::errorSeen;
    using CFiSaxParseHandler::raiseError;
    using CFiSaxParseHandler::savedError;
};

} // namespace kzfi_tests

#endif
