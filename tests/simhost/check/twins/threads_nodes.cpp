// Takes values on one thread only.
#include <thread>

#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int config(kfi_domain* node, int mode, char* session, kfi_confspec* spec) override {
        if (mode == KZFI_CONFIG_SET && std::this_thread::get_id() != home) {
            return KZFI_ERR_FAILED;
        }
        return Sound::config(node, mode, session, spec);
    }

  private:
    const std::thread::id home = std::this_thread::get_id();
};

} // namespace

KZFI_TWIN(Twin)
