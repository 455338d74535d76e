// Describes another default than it has.
#include "described.h"

namespace {

class Twin : public Described {
    void change(CFiConfigParamInfoList& parameters) override {
        parameters.entries()["verify"].defaultValue = "false";
    }
};

} // namespace

KZFI_TWIN(Twin)
