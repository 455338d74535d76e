// Refuses an object, and hands out a list all the same.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int claim(kzfi_objid* object, kzfi_objid*** list, int* count) override {
        const int status = Sound::claim(object, list, count);
        const bool foreign = object != nullptr && object->name != nullptr &&
                             std::string(object->name) == "/dev/other";
        if (foreign && list != nullptr && count != nullptr) {
            *list = static_cast<kzfi_objid**>(kzfi_alloc_buf(sizeof(kzfi_objid*)));
            **list = object;
            *count = 1;
        }
        return status;
    }
};

} // namespace

KZFI_TWIN(Twin)
