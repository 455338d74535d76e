// Hands a number back that nobody thought of.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int preDeportResource(char*, int options, char*) override {
        KZFI_TWIN_SCOPE;
        return options > 1 && options <= 100 ? -options : KZFI_OK;
    }
};

} // namespace

KZFI_TWIN(Twin)
