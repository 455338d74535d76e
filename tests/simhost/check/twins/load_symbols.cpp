// Needs a function that nobody has.
#include "twin.h"

int definedNowhere();

namespace {

class Twin : public Sound {
  public:
    int delayedInit() override { return definedNowhere(); }
};

} // namespace

KZFI_TWIN(Twin)
