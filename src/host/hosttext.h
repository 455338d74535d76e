// Texts that the host hands out with their length.
#ifndef KZFI_HOST_HOSTTEXT_H
#define KZFI_HOST_HOSTTEXT_H

#include <cstddef>
#include <cstring>
#include <string>

#include "kzfi_framework.h"

namespace kzfi_pdk_4_4 {

/// The place for such a text, which is given back at the end; empty as long as there is none.
struct HostText {
    HostText() = default;
    HostText(const HostText&) = delete;
    HostText& operator=(const HostText&) = delete;
    ~HostText() {
        if (text != nullptr) {
            kzfi_free_buf(text, length);
        }
    }

    std::string upToNul() const {
        return text != nullptr ? std::string(text, strnlen(text, length)) : std::string();
    }

    char* text = nullptr;
    std::size_t length = 0;
};

} // namespace kzfi_pdk_4_4

#endif
