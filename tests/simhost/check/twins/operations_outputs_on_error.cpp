// Hands something out together with a failure.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int isParentPgn(char* name, int* answer, int) override {
        KZFI_TWIN_SCOPE;
        if (name != nullptr && std::string(name) == "outputs" && answer != nullptr) {
            *answer = 1;
        }
        return KZFI_ERR_FAILED;
    }
};

} // namespace

KZFI_TWIN(Twin)
