// Counts on a text that may be missing.
#include <cstdlib>
#include <cstring>

#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int setRestorepaths(kfi_domain*, char* paths, int) override {
        KZFI_TWIN_SCOPE;
        if (paths == nullptr) {
            std::abort(); // As std::strlen(paths) would, whatever the compiler makes of it.
        }
        return KZFI_OK;
    }
};

} // namespace

KZFI_TWIN(Twin)
