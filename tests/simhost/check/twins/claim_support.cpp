// Prepares what it says that it does not support.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int supportsFiType(kfi_domain* node, char* type) override {
        if (nameOf(node).rfind("/dev/sound", 0) == 0) {
            return Sound::supportsFiType(node, type);
        }
        if (node != nullptr && node->support_level != nullptr) {
            *node->support_level = 0;
        }
        return 0;
    }
};

} // namespace

KZFI_TWIN(Twin)
