// Ends a node twice when it is told so.
#include <cstdlib>
#include <map>

#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int initNode(kfi_domain* node, kfi_domain** parents, int count, kzfi_objid* object) override {
        if (isHome()) {
            ended.erase(nameOf(node));
        }
        return Sound::initNode(node, parents, count, object);
    }

    void deInitNode(kfi_domain* node) override {
        Sound::deInitNode(node);
        // As freeing its state a second time would.
        if (isHome() && nameOf(node) == "/dev/sound2" && ++ended[nameOf(node)] > 1) {
            std::abort();
        }
    }

  private:
    std::map<std::string, int> ended;
};

} // namespace

KZFI_TWIN(Twin)
