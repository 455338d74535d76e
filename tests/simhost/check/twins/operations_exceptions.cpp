// Lets an exception out for a long text.
#include <cstring>
#include <stdexcept>

#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int setRestorepaths(kfi_domain*, char* paths, int) override {
        KZFI_TWIN_SCOPE;
        if (paths != nullptr && std::strlen(paths) > 4096) {
            throw std::length_error("too many paths");
        }
        return KZFI_OK;
    }
};

} // namespace

KZFI_TWIN(Twin)
