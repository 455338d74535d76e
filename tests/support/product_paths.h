// The product's fixed folder /usr/tarnex, emptied around a test.
#ifndef KZFI_TESTS_PRODUCT_PATHS_H
#define KZFI_TESTS_PRODUCT_PATHS_H

#include <filesystem>

#include "kzfi_platform_control.h"
#include "support/fixed_paths.h"

namespace kzfi_tests {

/// Empties the private /usr/tarnex and resets the stand-in for the host, now and at the end.
/// Without a private /usr it touches no file.
class EmptyProduct {
  public:
    EmptyProduct() { clear(); }
    EmptyProduct(const EmptyProduct&) = delete;
    EmptyProduct& operator=(const EmptyProduct&) = delete;
    ~EmptyProduct() { clear(); }

  private:
    static void clear() {
        kzfi_platform_reset();
        if (!noPrivateUsr().empty()) {
            return;
        }
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator("/usr/tarnex", ignored)) {
            std::filesystem::remove_all(entry.path(), ignored);
        }
    }
};

} // namespace kzfi_tests

#endif
