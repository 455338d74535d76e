// Keeps one state for all provider objects of the process.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int init() override {
        running = true;
        return Sound::init();
    }

    void fini() override {
        Sound::fini();
        running = false;
    }

    int claim(kzfi_objid* object, kzfi_objid*** list, int* count) override {
        return running ? Sound::claim(object, list, count) : KZFI_CLAIM_NONE;
    }

  private:
    static inline bool running = false;
};

} // namespace

KZFI_TWIN(Twin)
