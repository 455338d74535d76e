// Claims what is not its own.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int claim(kzfi_objid* object, kzfi_objid*** list, int* count) override {
        const bool foreign = object != nullptr && object->name != nullptr &&
                             std::string(object->name) == "/dev/other";
        return foreign ? KZFI_CLAIM_SECONDARY : Sound::claim(object, list, count);
    }
};

} // namespace

KZFI_TWIN(Twin)
