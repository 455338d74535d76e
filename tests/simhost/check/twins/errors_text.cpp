// Fails without a word.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int setRestorepaths(kfi_domain*, char* paths, int) override {
        KZFI_TWIN_SCOPE;
        return paths != nullptr && std::string(paths) == "errors" ? 1099 : KZFI_OK;
    }
};

} // namespace

KZFI_TWIN(Twin)
