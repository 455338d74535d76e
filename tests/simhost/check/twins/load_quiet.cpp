// Prints while it is loaded.
#include <cstdio>

#include "twin.h"

namespace {

const int printed = std::puts("sound 1.0 loaded");

class Twin : public Sound {
  public:
    int delayedInit() override { return printed < 0 ? KZFI_ERR_FAILED : KZFI_OK; }
};

} // namespace

KZFI_TWIN(Twin)
