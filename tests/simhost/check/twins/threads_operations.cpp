// Works on one thread only.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int getAppStatus(kfi_domain*, int, void*) override {
        KZFI_TWIN_SCOPE;
        return isHome() ? KZFI_OK : KZFI_ERR_FAILED;
    }
};

} // namespace

KZFI_TWIN(Twin)
