// Keeps its last error whatever the framework says.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int delLastError(kfi_msg_info**) override {
        KZFI_TWIN_SCOPE;
        return KZFI_OK;
    }
};

} // namespace

KZFI_TWIN(Twin)
