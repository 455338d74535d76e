// Remembers each node that it ever met.
#include <vector>

#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int initNode(kfi_domain* node, kfi_domain** parents, int count, kzfi_objid* object) override {
        const std::lock_guard<std::mutex> guard(lock);
        met.push_back(nameOf(node) + ", a node that was here before");
        return Sound::initNode(node, parents, count, object);
    }

  private:
    std::mutex lock;
    std::vector<std::string> met;
};

} // namespace

KZFI_TWIN(Twin)
