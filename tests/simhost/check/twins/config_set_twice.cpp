// Adds to the values when they are set again.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int config(kfi_domain* node, int mode, char* session, kfi_confspec* spec) override {
        const int status = Sound::config(node, mode, session, spec);
        if (mode == KZFI_CONFIG_SET_AGAIN && status == KZFI_OK && recordOf(node)) {
            CFiConfigParamDataList& values = *recordOf(node)->configDataList(0);
            values.entries()["retries"].value += "0";
            values.updateXML();
        }
        return status;
    }
};

} // namespace

KZFI_TWIN(Twin)
