// Begins a node anew that is there already.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int initNode(kfi_domain* node, kfi_domain** parents, int count, kzfi_objid* object) override {
        if (recordOf(node)) {
            privateDataManager->getFactory()->deletePrivateData(node);
        }
        return Sound::initNode(node, parents, count, object);
    }
};

} // namespace

KZFI_TWIN(Twin)
