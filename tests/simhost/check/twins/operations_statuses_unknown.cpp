// Answers a number below its own statuses.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int preselect(kfi_splitnode*, char* session, kfi_splitnode**, int) override {
        KZFI_TWIN_SCOPE;
        return session != nullptr && std::string(session) == "status" ? 999 : KZFI_OK;
    }
};

} // namespace

KZFI_TWIN(Twin)
