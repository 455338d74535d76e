// Does not take a node back that was given up too often.
#include <atomic>

#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int initNode(kfi_domain* node, kfi_domain** parents, int count, kzfi_objid* object) override {
        return ended < 3 ? Sound::initNode(node, parents, count, object) : KZFI_ERR_FAILED;
    }

    void deInitNode(kfi_domain* node) override {
        ended += nameOf(node) == "/dev/sound2" ? 1 : 0;
        Sound::deInitNode(node);
    }

  private:
    std::atomic<int> ended = 0;
};

} // namespace

KZFI_TWIN(Twin)
