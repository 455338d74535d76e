// Passes over a text that it cannot read.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int config(kfi_domain* node, int mode, char* session, kfi_confspec* spec) override {
        if (isUnreadable(mode, spec)) {
            spec->text = nullptr;
            return KZFI_OK;
        }
        return Sound::config(node, mode, session, spec);
    }
};

} // namespace

KZFI_TWIN(Twin)
