// All defaults.
#include "cfipluginbase.h"

using namespace kzfi_pdk_4_4;

namespace {

class Plain : public CFiPluginBase {};

} // namespace

extern "C" KZFI_PDK_API CFiPluginBase* kzfi_create_provider(void) {
    return new Plain;
}
