// Documents of the configuration parameter format, put together from pieces.
#ifndef KZFI_TESTS_CONFIG_PARAM_TEXTS_H
#define KZFI_TESTS_CONFIG_PARAM_TEXTS_H

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

inline kzfi_pdk_4_4::CFiConfigParamData data(const std::string& key, const std::string& text) {
    kzfi_pdk_4_4::CFiConfigParamData result;
    result.key = key;
    result.value = text;
    return result;
}

} // namespace kzfi_tests

#endif
