// The provider as a whole: its life, and what it tells of itself.
#include <cstring>

#include "adapters.h"

namespace kzfi_simhost {
namespace {

using namespace kzfi_pdk_4_4;

Outcome callDelayedInit(Call& c) {
    return answered(c.provider().delayedInit());
}

Outcome callInit(Call& c) {
    return answered(c.provider().init());
}

Outcome callFini(Call& c) {
    c.provider().fini();
    return Outcome();
}

Outcome callObjctl(Call& c) {
    CFiObjctlArgs arguments;
    return answered(c.provider().objctl(c.text("command"), arguments));
}

Outcome callProcessProviderState(Call& c) {
    const int op = static_cast<int>(c.number("op", KZFI_PROVIDERSTATE_PRODUCE));
    kfi_blob state = {};
    if (char* const stored = c.text("state"); stored && op != KZFI_PROVIDERSTATE_PRODUCE) {
        state = {stored, std::strlen(stored) + 1, 1};
    }
    Outcome outcome = answered(c.provider().processProviderState(c.node(), &state, op));
    if (state.data != nullptr) {
        const char* const bytes = static_cast<const char*>(state.data);
        outcome.text = std::string(bytes, strnlen(bytes, state.size));
    } else {
        outcome.text = Json();
    }
    if (op == KZFI_PROVIDERSTATE_PRODUCE) {
        kzfi_free_buf(state.data, state.size);
    }
    return outcome;
}

Outcome callRevisitPluginNodes(Call& c) {
    return answered(c.provider().revisitPluginNodes(nullptr));
}

} // namespace

std::vector<Operation> providerOperations() {
    using namespace fields;
    return {
        {1, "~CFiPluginBase", {}, nullptr},
        {2, "delayedInit", {}, callDelayedInit},
        {4, "init", {}, callInit},
        {5, "fini", {}, callFini},
        {43, "objctl", {text("command")}, callObjctl},
        {44,
         "processProviderState",
         {node("node"), number("op"), text("state")},
         callProcessProviderState},
        {57, "revisitPluginNodes", {}, callRevisitPluginNodes},
    };
}

} // namespace kzfi_simhost
