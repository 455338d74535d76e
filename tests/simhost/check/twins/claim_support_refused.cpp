// Does not prepare what it says that it supports.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int prepare(char*, kfi_splitnode**, int, int) override {
        KZFI_TWIN_SCOPE;
        return KZFI_ERR_NOT_IMPLEMENTED;
    }
};

} // namespace

KZFI_TWIN(Twin)
