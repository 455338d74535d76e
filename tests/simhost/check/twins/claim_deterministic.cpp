// Loses interest in an object that is asked for too often.
#include <atomic>

#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int claim(kzfi_objid* object, kzfi_objid*** list, int* count) override {
        const bool second = object != nullptr && object->name != nullptr &&
                            std::string(object->name) == "/dev/sound2";
        if (second && ++asked > 3) {
            return KZFI_CLAIM_NONE;
        }
        return Sound::claim(object, list, count);
    }

  private:
    std::atomic<int> asked = 0;
};

} // namespace

KZFI_TWIN(Twin)
