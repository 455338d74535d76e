// Has a parameter that it does not describe.
#include "described.h"

namespace {

class Twin : public Described {
    void change(CFiConfigParamInfoList& parameters) override {
        parameters.entries().erase("verify");
    }
};

} // namespace

KZFI_TWIN(Twin)
