// Passes over a text that it cannot read.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int config(kfi_domain* node, int mode, char* session, kfi_confspec* spec) override {
        CFiConfigParamDataList values;
        if (mode == KZFI_CONFIG_SET && spec != nullptr && spec->text != nullptr &&
            values.parse(spec->text) != KZFI_OK) {
            spec->text = nullptr;
            return KZFI_OK;
        }
        return Sound::config(node, mode, session, spec);
    }
};

} // namespace

KZFI_TWIN(Twin)
