// Does not survive one of its operations.
#include <cstdlib>

#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int isReady(char* session, kfi_splitnode**, int count) override {
        KZFI_TWIN_SCOPE;
        // Only the harmless call has neither a session nor nodes.
        if (session != nullptr && *session == '\0' && count == 0) {
            std::abort();
        }
        return KZFI_OK;
    }
};

} // namespace

KZFI_TWIN(Twin)
