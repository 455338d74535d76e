// Counts on what init makes.
#include <cstdlib>

#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int init() override {
        started = true;
        return Sound::init();
    }

    int setRestorepaths(kfi_domain*, char*, int) override {
        KZFI_TWIN_SCOPE;
        if (!started) {
            std::abort();
        }
        return KZFI_OK;
    }

  private:
    bool started = false;
};

} // namespace

KZFI_TWIN(Twin)
