// Small jobs on C texts.
#ifndef KZFI_UTIL_TEXT_H
#define KZFI_UTIL_TEXT_H

namespace kzfi_pdk_4_4 {

/// text, or the empty string for a null pointer: what "%s" is given everywhere in the kit.
inline const char* orEmpty(const char* text) {
    return text != nullptr ? text : "";
}

} // namespace kzfi_pdk_4_4

#endif
