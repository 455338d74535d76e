// Does not survive an option that nobody thought of.
#include <cstdlib>

#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    void cacheFlush(kfi_domain*, int options) override {
        KZFI_TWIN_SCOPE;
        if (options > 1 && options <= 100) {
            std::abort();
        }
    }
};

} // namespace

KZFI_TWIN(Twin)
