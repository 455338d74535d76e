// Holds itself in memory for ever.
#include <dlfcn.h>

#include "twin.h"

namespace {

void* holdItself() {
    static const char here = 0;
    Dl_info info = {};
    return dladdr(&here, &info) != 0 ? dlopen(info.dli_fname, RTLD_LAZY | RTLD_NODELETE) : nullptr;
}

class Twin : public Sound {
  public:
    Twin() : held(holdItself()) {}
    ~Twin() override { dlclose(held); }
    Twin(const Twin&) = delete;
    Twin& operator=(const Twin&) = delete;

  private:
    void* const held;
};

} // namespace

KZFI_TWIN(Twin)
