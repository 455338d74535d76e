// Taking snapshots.
#include "adapters.h"

namespace kzfi_simhost {
namespace {

using namespace kzfi_pdk_4_4;

/// Calls one of the session-style operations with a session of its own.
Outcome withSession(Call& c, int (CFiPluginBase::*operation)(CFiSessionPtr&)) {
    CFiSessionPtr session(new CFiSession);
    return answered((c.provider().*operation)(session));
}

Outcome callQuiesce(Call& c) {
    return answered(c.provider().quiesce(nullptr, 0, c.text("session")));
}

Outcome callUnquiesce(Call& c) {
    c.provider().unquiesce(nullptr, 0);
    return Outcome();
}

Outcome callMake(Call& c) {
    std::vector<kfi_splitnode*>& split = c.splits();
    kzfi_objid** made = nullptr;
    int count = 0;
    const int status =
        c.provider().make(c.text("session"), split.data(), countOf(split), &made, &count);
    return answered(status, "made", takeNames(made, count));
}

Outcome callMakeSnapshots(Call& c) {
    return withSession(c, &CFiPluginBase::makeSnapshots);
}

Outcome callPrepare(Call& c) {
    std::vector<kfi_splitnode*>& split = c.splits();
    return answered(c.provider().prepare(c.text("session"), split.data(), countOf(split),
                                         integer(c, "options")));
}

Outcome callPrepareSnapshots(Call& c) {
    return withSession(c, &CFiPluginBase::prepareSnapshots);
}

Outcome callSelect(Call& c) {
    std::vector<kfi_splitnode*>& split = c.splits();
    return answered(c.provider().select(c.text("session"), split.data(), countOf(split)));
}

Outcome callSelectSnapshots(Call& c) {
    return withSession(c, &CFiPluginBase::selectSnapshots);
}

Outcome callPrePrepare(Call& c) {
    return answered(c.provider().prePrepare(c.node()));
}

Outcome callQueryValidSecondaries(Call& c) {
    kzfi_objid** list = nullptr;
    long count = 0;
    const int status = c.provider().queryValidSecondaries(c.text("primary"), &list, &count);
    return answered(status, "secondaries", takeNames(list, count));
}

Outcome callVerifyQSCombos(Call& c) {
    std::vector<kfi_splitnode*>& split = c.splits();
    return answered(c.provider().verifyQSCombos(split.data(), countOf(split)));
}

Outcome callSetImportOptions(Call& c) {
    std::vector<kfi_splitnode*>& split = c.splits();
    return answered(c.provider().setImportOptions(split.data(), countOf(split), c.hosts("hosts"),
                                                  integer(c, "transportable"), nullptr));
}

Outcome callPreselect(Call& c) {
    std::vector<kfi_splitnode*>& split = c.splits();
    kfi_splitnode first = {nullptr, c.node(), nullptr};
    return answered(
        c.provider().preselect(&first, c.text("session"), split.data(), countOf(split)));
}

} // namespace

std::vector<Operation> snapshotOperations() {
    using namespace fields;
    return {
        {21, "quiesce", {text("session")}, callQuiesce},
        {22, "unquiesce", {}, callUnquiesce},
        {23, "make", {nodes("nodes"), nodes("second"), text("session")}, callMake},
        {24, "makeSnapshots", {}, callMakeSnapshots},
        {25,
         "prepare",
         {nodes("nodes"), nodes("second"), text("session"), number("options")},
         callPrepare},
        {26, "prepareSnapshots", {}, callPrepareSnapshots},
        {27, "select", {nodes("nodes"), nodes("second"), text("session")}, callSelect},
        {28, "selectSnapshots", {}, callSelectSnapshots},
        {54, "prePrepare", {node("node")}, callPrePrepare},
        {55, "queryValidSecondaries", {text("primary")}, callQueryValidSecondaries},
        {58, "verifyQSCombos", {nodes("nodes"), nodes("second")}, callVerifyQSCombos},
        {59,
         "setImportOptions",
         {nodes("nodes"), nodes("second"), texts("hosts"), number("transportable")},
         callSetImportOptions},
        {80,
         "preselect",
         {node("node"), nodes("nodes"), nodes("second"), text("session")},
         callPreselect},
    };
}

} // namespace kzfi_simhost
