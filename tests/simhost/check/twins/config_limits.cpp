// Takes whatever comes.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int config(kfi_domain* node, int mode, char* session, kfi_confspec* spec) override {
        // NOLINTNEXTLINE(bugprone-parent-virtual-call): past the limits that Sound keeps.
        return CFiPluginBase::config(node, mode, session, spec);
    }
};

} // namespace

KZFI_TWIN(Twin)
