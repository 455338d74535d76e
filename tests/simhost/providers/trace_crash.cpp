// Ends its process as soon as it has a trace log.
#include <cstdlib>

#include "cfipluginbase.h"

using namespace kzfi_pdk_4_4;

namespace {

class TraceCrash : public CFiPluginBase {
  public:
    void registerTraceLog(const CFiTraceLogPtr& log) override {
        CFiPluginBase::registerTraceLog(log);
        traceLog->trace(1, "%s", "registered, and now to crash");
        std::abort();
    }
};

} // namespace

extern "C" KZFI_PDK_API CFiPluginBase* kzfi_create_provider(void) {
    return new TraceCrash;
}
