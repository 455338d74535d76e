// Works on one thread only.
#include <thread>

#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int init() override {
        home = std::this_thread::get_id();
        return Sound::init();
    }

    int getAppStatus(kfi_domain*, int, void*) override {
        KZFI_TWIN_SCOPE;
        return std::this_thread::get_id() == home ? KZFI_OK : KZFI_ERR_FAILED;
    }

  private:
    std::thread::id home;
};

} // namespace

KZFI_TWIN(Twin)
