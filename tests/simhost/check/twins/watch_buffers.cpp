// Writes one byte too many, and gives the buffer back with another size.
#include <cstring>

#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int setRestorepaths(kfi_domain*, char* paths, int) override {
        KZFI_TWIN_SCOPE;
        if (paths != nullptr && std::string(paths) == "watch.buffers") {
            const std::size_t size = std::strlen(paths);
            char* const copy = static_cast<char*>(kzfi_alloc_buf(size));
            std::strcpy(copy, paths);
            kzfi_free_buf(copy, size + 1);
        }
        return KZFI_OK;
    }
};

} // namespace

KZFI_TWIN(Twin)
