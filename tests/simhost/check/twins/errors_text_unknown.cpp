// Fails with a message that no catalogue has.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int setRestorepaths(kfi_domain*, char* paths, int) override {
        KZFI_TWIN_SCOPE;
        if (paths == nullptr || std::string(paths) != "errors") {
            return KZFI_OK;
        }
        errorManager->pushError(
            CFiMessagePtr(new CFiIcuMessage("MSG_ERROR_SOUND_0098", 3, __FILE__, __LINE__, {})));
        return 1098;
    }
};

} // namespace

KZFI_TWIN(Twin)
