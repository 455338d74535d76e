// Adds to what is there whenever it is initialised.
#include <vector>

#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int init() override {
        paths.emplace_back("/usr/lib/this provider's own folder");
        return Sound::init();
    }

  private:
    std::vector<std::string> paths;
};

} // namespace

KZFI_TWIN(Twin)
