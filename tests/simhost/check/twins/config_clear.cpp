// Does not forget.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int config(kfi_domain* node, int mode, char* session, kfi_confspec* spec) override {
        return mode == KZFI_CONFIG_CLEAR ? KZFI_OK : Sound::config(node, mode, session, spec);
    }
};

} // namespace

KZFI_TWIN(Twin)
