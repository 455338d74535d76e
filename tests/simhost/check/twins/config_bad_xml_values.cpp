// Refuses a text that it cannot read, and forgets what was set before.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int config(kfi_domain* node, int mode, char* session, kfi_confspec* spec) override {
        if (isUnreadable(mode, spec)) {
            kfi_confspec all = *spec;
            all.text = nullptr;
            Sound::config(node, KZFI_CONFIG_CLEAR, session, &all);
            spec->text = nullptr;
            return KZFI_ERR_INVALID;
        }
        return Sound::config(node, mode, session, spec);
    }
};

} // namespace

KZFI_TWIN(Twin)
