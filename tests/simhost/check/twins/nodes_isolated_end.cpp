// Forgets more nodes than it is told to.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int initNode(kfi_domain* node, kfi_domain** parents, int count, kzfi_objid* object) override {
        if (isHome() && nameOf(node) == "/dev/sound1") {
            first = node;
        }
        return Sound::initNode(node, parents, count, object);
    }

    void deInitNode(kfi_domain* node) override {
        Sound::deInitNode(node);
        if (isHome() && nameOf(node) == "/dev/sound2" && first != nullptr) {
            Sound::deInitNode(first);
        }
    }

  private:
    kfi_domain* first = nullptr;
};

} // namespace

KZFI_TWIN(Twin)
