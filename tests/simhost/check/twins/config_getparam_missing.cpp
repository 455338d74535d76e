// Has a parameter that it does not describe.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int init() override {
        const int status = Sound::init();
        described = globalConfigInfo[0][0];
        described.entries().erase("verify");
        described.updateXML();
        return status;
    }

    CFiConfigParamInfoList* globalConfigInfoList(int index, bool second) override {
        return index == 0 && !second ? &described : Sound::globalConfigInfoList(index, second);
    }

  private:
    CFiConfigParamInfoList described;
};

} // namespace

KZFI_TWIN(Twin)
