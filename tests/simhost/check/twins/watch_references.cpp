// Keeps a reference to its error manager for ever.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int setRestorepaths(kfi_domain*, char* paths, int) override {
        KZFI_TWIN_SCOPE;
        if (paths != nullptr && std::string(paths) == "watch.references") {
            static CFiErrorManagerPtr* const kept = new CFiErrorManagerPtr(errorManager);
            static_cast<void>(kept);
        }
        return KZFI_OK;
    }
};

} // namespace

KZFI_TWIN(Twin)
