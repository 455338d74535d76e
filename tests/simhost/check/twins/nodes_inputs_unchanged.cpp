// Takes a text apart where it lies.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int setRestorepaths(kfi_domain*, char* paths, int) override {
        KZFI_TWIN_SCOPE;
        if (paths != nullptr && std::string(paths) == "nodes.inputs_unchanged") {
            paths[5] = '\0';
        }
        return KZFI_OK;
    }
};

} // namespace

KZFI_TWIN(Twin)
