// Takes a value for another one when all of them come.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int config(kfi_domain* node, int mode, char* session, kfi_confspec* spec) override {
        const bool complete = mode == KZFI_CONFIG_SET && spec != nullptr && spec->text != nullptr &&
                              CFiConfigParamDataList(spec->text).entries().size() == 3;
        const int status = Sound::config(node, mode, session, spec);
        if (complete && status == KZFI_OK) {
            CFiConfigParamDataList& values = *recordOf(node)->configDataList(0);
            values.entries()["verify"].value = "false";
            values.updateXML();
        }
        return status;
    }
};

} // namespace

KZFI_TWIN(Twin)
