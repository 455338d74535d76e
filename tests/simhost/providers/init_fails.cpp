// Cannot begin.
#include "cfipluginbase.h"

namespace {

class Provider : public kzfi_pdk_4_4::CFiPluginBase {
  public:
    int init() override { return 7; }
};

} // namespace

extern "C" KZFI_PDK_API kzfi_pdk_4_4::CFiPluginBase* kzfi_create_provider(void) {
    return new Provider;
}
