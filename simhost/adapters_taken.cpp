// Snapshots that are there.
#include <algorithm>

#include "adapters.h"

namespace kzfi_simhost {
namespace {

using namespace kzfi_pdk_4_4;

/// Room for a status of each object, and for one at least.
std::vector<long> roomFor(const std::vector<kzfi_objid*>& objects) {
    return std::vector<long>(std::max<std::size_t>(objects.size(), 1));
}

Json firstOf(const std::vector<long>& statuses, std::size_t count) {
    return std::vector<long>(statuses.begin(),
                             statuses.begin() + static_cast<std::ptrdiff_t>(count));
}

Outcome callDispose(Call& c) {
    kfi_splitnode split = {nullptr, c.node(), c.node("alternate")};
    return answered(
        c.provider().dispose(c.node(), c.node("alternate"), &split, integer(c, "disposition")));
}

Outcome callOnline(Call& c) {
    return answered(c.provider().online(c.node(), c.node("alternate"), integer(c, "options"),
                                        integer(c, "disposition")));
}

Outcome callGetAttr(Call& c) {
    kfi_splitnode split = {nullptr, c.node(), c.node("alternate")};
    return answered(c.provider().getAttr(c.node(), c.node("alternate"), &split, nullptr));
}

Outcome callRestore(Call& c) {
    std::vector<kzfi_objid*>& primaries = c.objects("primaries");
    std::vector<long> statuses = roomFor(primaries);
    char** results = nullptr;
    long resultCount = 0;
    const int status =
        c.provider().restore(primaries.data(), c.objects("snapshots", primaries.size()).data(),
                             countOf(primaries), c.text("session"), c.text("options"), &results,
                             &resultCount, c.number("flags"), statuses.data());
    Outcome outcome = answered(status, "results", takeTexts(c, results, resultCount));
    outcome.values["statuses"] = firstOf(statuses, primaries.size());
    return outcome;
}

Outcome callResync(Call& c) {
    std::vector<kzfi_objid*>& primaries = c.objects("primaries");
    std::vector<long> statuses = roomFor(primaries);
    const int status = c.provider().resync(
        primaries.data(), c.objects("snapshots", primaries.size()).data(), countOf(primaries),
        c.text("session"), c.text("options"), c.number("flags"), statuses.data());
    return answered(status, "statuses", firstOf(statuses, primaries.size()));
}

Outcome callGetStatus(Call& c) {
    std::vector<kzfi_objid*>& primaries = c.objects("primaries");
    std::vector<long> statuses = roomFor(primaries);
    const int status = c.provider().getStatus(
        primaries.data(), c.objects("snapshots", primaries.size()).data(), countOf(primaries),
        c.text("session"), c.number("flags"), statuses.data());
    return answered(status, "statuses", firstOf(statuses, primaries.size()));
}

Outcome callCreateSnapReplicaNode(Call& c) {
    return answered(c.provider().createSnapReplicaNode(c.node(), nullptr));
}

Outcome callUpdateSnapshotId(Call& c) {
    return answered(c.provider().updateSnapshotId(c.node(), c.node("alternate"), nullptr,
                                                  integer(c, "options")));
}

Outcome callGetSnapshotSetId(Call& c) {
    char* id = nullptr;
    const int status = c.provider().getSnapshotSetId(c.node(), &id);
    Outcome outcome = answered(status);
    outcome.text = takeText(c, id);
    return outcome;
}

Outcome callUpdateSnapshotHandle(Call& c) {
    CFiSessionPtr session(new CFiSession);
    return answered(c.provider().updateSnapshotHandle(session, nullptr));
}

Outcome callGetSnapdiff(Call& c) {
    return answered(c.provider().getSnapdiff(c.node(), nullptr, nullptr, nullptr));
}

} // namespace

std::vector<Operation> takenOperations() {
    using namespace fields;
    return {
        {16, "dispose", {node("node"), node("alternate"), number("disposition")}, callDispose},
        {17,
         "online",
         {node("node"), node("alternate"), number("options"), number("disposition")},
         callOnline},
        {34, "getAttr", {node("node"), node("alternate")}, callGetAttr},
        {51,
         "restore",
         {texts("primaries"), texts("snapshots"), text("session"), text("options"),
          longNumber("flags")},
         callRestore},
        {52,
         "resync",
         {texts("primaries"), texts("snapshots"), text("session"), text("options"),
          longNumber("flags")},
         callResync},
        {53,
         "getStatus",
         {texts("primaries"), texts("snapshots"), text("session"), longNumber("flags")},
         callGetStatus},
        {77, "createSnapReplicaNode", {node("node")}, callCreateSnapReplicaNode},
        {78,
         "updateSnapshotId",
         {node("node"), node("alternate"), number("options")},
         callUpdateSnapshotId},
        {79, "getSnapshotSetId", {node("node")}, callGetSnapshotSetId},
        {81, "updateSnapshotHandle", {}, callUpdateSnapshotHandle},
        {82, "getSnapdiff", {node("node")}, callGetSnapdiff},
    };
}

} // namespace kzfi_simhost
