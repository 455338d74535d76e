// Writes to the record of a node.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int setRestorepaths(kfi_domain* node, char* paths, int) override {
        KZFI_TWIN_SCOPE;
        if (paths != nullptr && std::string(paths) == "nodes.inputs_unchanged") {
            node->type |= 1 << 20;
        }
        return KZFI_OK;
    }
};

} // namespace

KZFI_TWIN(Twin)
