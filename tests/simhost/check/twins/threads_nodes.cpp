// Takes values on one thread only.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int config(kfi_domain* node, int mode, char* session, kfi_confspec* spec) override {
        if (mode == KZFI_CONFIG_SET && !isHome()) {
            return KZFI_ERR_FAILED;
        }
        return Sound::config(node, mode, session, spec);
    }
};

} // namespace

KZFI_TWIN(Twin)
