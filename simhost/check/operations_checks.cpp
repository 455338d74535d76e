// What holds for every operation of the plug-in base.
#include "context.h"
#include "operations.h"

namespace kzfi_simhost {
namespace {

void everyOperationOnce(CheckContext& c) {
    c.start();
    for (const Step& step : c.harmlessCalls()) {
        c.call(step.operation, step.arguments);
    }
}

} // namespace

void addOperationsChecks(std::vector<Check>& all) {
    all.push_back({"operations.once", "Every operation can be called once on harmless arguments.",
                   "Look at the operation named here: it gets one node, empty texts and lists, and "
                   "zeros, and must come back with a status.",
                   Needs::PROVIDER, everyOperationOnce});
}

} // namespace kzfi_simhost
