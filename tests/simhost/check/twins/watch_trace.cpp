// Traces an entry by hand, and forgets the exit.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int setRestorepaths(kfi_domain*, char* paths, int) override {
        KZFI_TWIN_SCOPE;
        if (paths != nullptr && std::string(paths) == "watch.trace") {
            traceLog->trace(6, "Entering Function %s [%d, %s]", "splitPaths", __LINE__, "twin.cpp");
        }
        return KZFI_OK;
    }
};

} // namespace

KZFI_TWIN(Twin)
