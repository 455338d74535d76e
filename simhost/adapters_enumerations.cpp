// What the provider knows of.
#include "adapters.h"

namespace kzfi_simhost {
namespace {

using namespace kzfi_pdk_4_4;

/// Calls an operation that gives a list of an opaque kind: all that shows is whether there is one.
template <class List>
Outcome listed(Call& c, int (CFiPluginBase::*operation)(List**)) {
    List* list = nullptr;
    const int status = (c.provider().*operation)(&list);
    return answered(status, "list", list != nullptr);
}

template <class List>
Outcome filtered(Call& c, int (CFiPluginBase::*operation)(List**, int*, char*)) {
    List* list = nullptr;
    int count = 0;
    const int status = (c.provider().*operation)(&list, &count, c.text("filter"));
    Outcome outcome = answered(status, "list", list != nullptr);
    outcome.values["count"] = count;
    return outcome;
}

Outcome callGetProviderInfo(Call& c) {
    return listed(c, &CFiPluginBase::getProviderInfo);
}

Outcome callEnumerateNodes(Call& c) {
    kfi_node_list* list = nullptr;
    int count = 0;
    const int status =
        c.provider().enumerateNodes(&list, &count, integer(c, "options"), c.text("filter"));
    Outcome outcome = answered(status, "list", list != nullptr);
    outcome.values["count"] = count;
    return outcome;
}

Outcome callEnumerateAssociations(Call& c) {
    return listed(c, &CFiPluginBase::enumerateAssociations);
}

Outcome callEnumerateGroupNodes(Call& c) {
    return listed(c, &CFiPluginBase::enumerateGroupNodes);
}

Outcome callEnumerateFims(Call& c) {
    return listed(c, &CFiPluginBase::enumerateFims);
}

Outcome callIsValidNodeAssociation(Call& c) {
    int valid = 0;
    const int status = c.provider().isValidNodeAssociation(nullptr, &valid);
    return answered(status, "valid", valid);
}

Outcome callGetAssociatedNodes(Call& c) {
    kfi_node_list* list = nullptr;
    const int status = c.provider().getAssociatedNodes(nullptr, &list);
    return answered(status, "list", list != nullptr);
}

Outcome callEnumerateEnclosures(Call& c) {
    return filtered(c, &CFiPluginBase::enumerateEnclosures);
}

Outcome callEnumerateHostNodes(Call& c) {
    return filtered(c, &CFiPluginBase::enumerateHostNodes);
}

} // namespace

std::vector<Operation> enumerationOperations() {
    using namespace fields;
    return {
        {35, "getProviderInfo", {}, callGetProviderInfo},
        {36, "enumerateNodes", {number("options"), text("filter")}, callEnumerateNodes},
        {37, "enumerateAssociations", {}, callEnumerateAssociations},
        {38, "enumerateGroupNodes", {}, callEnumerateGroupNodes},
        {39, "enumerateFims", {}, callEnumerateFims},
        {40, "isValidNodeAssociation", {}, callIsValidNodeAssociation},
        {41, "getAssociatedNodes", {}, callGetAssociatedNodes},
        {62, "enumerateEnclosures", {text("filter")}, callEnumerateEnclosures},
        {65, "enumerateHostNodes", {text("filter")}, callEnumerateHostNodes},
    };
}

} // namespace kzfi_simhost
