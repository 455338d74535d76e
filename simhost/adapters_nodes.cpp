// The operations that work on the framework's nodes, and what becomes of the nodes.
#include <algorithm>
#include <cstdlib>

#include "adapters.h"

namespace kzfi_simhost {
namespace {

int intentOf(const Call& call) {
    return static_cast<int>(call.number("intent"));
}

/// The names in the node's associations.
std::vector<char*> associationNames(const kfi_domain* node) {
    std::vector<char*> names;
    for (const kfi_domain_assoc* each = node != nullptr ? node->assoc_list : nullptr;
         each != nullptr; each = each->next) {
        for (const kfi_domain_assoc_entry* const entry : {each->first, each->second}) {
            names.push_back(entry != nullptr ? entry->name : nullptr);
        }
    }
    return names;
}

/// Adds what the node's record says after the call; nothing for a null node.
void addState(Outcome& outcome, const kfi_domain* node) {
    if (node != nullptr) {
        outcome.values.update(stateOf(*node));
    }
}

Outcome withState(int status, const kfi_domain* node) {
    Outcome outcome = answered(status);
    addState(outcome, node);
    return outcome;
}

/// The flags of the listed nodes, and which of the nodes are disabled by them.
Outcome withFlags(Call& call, int status) {
    Outcome outcome = answered(status, "disabled", Json::array());
    outcome.values["flags"] = Json::array();
    for (const kfi_domain* const node : call.nodes("nodes")) {
        outcome.values["flags"].push_back(node->flags);
        if ((node->flags & KZFI_NODE_ACCESS_DISABLED) != 0) {
            outcome.values["disabled"].push_back(nameOf(node->objid));
        }
    }
    return outcome;
}

Outcome callInitNode(Call& c) {
    kfi_domain* const node = c.node();
    std::vector<kfi_domain*>& parents = c.nodes("parents");
    kzfi_objid* const object =
        c.has("object") || node == nullptr ? c.object("object") : node->objid;
    return withState(c.provider().initNode(node, parents.data(), countOf(parents), object), node);
}

Outcome callInitAltNode(Call& c) {
    kfi_domain* const target = c.node("target");
    const int status =
        c.provider().initAltNode(c.node(), c.node("parent"), target, c.flag("skipImport"));
    return withState(status, target);
}

Outcome callReAccessTmpObj(Call& c) {
    kfi_domain* const node = c.node();
    const int status =
        c.provider().reAccessTmpObj(node, c.object("object"), c.text("splitType"), c.node("parent"),
                                    c.text("session"), intentOf(c));
    return withState(status, node);
}

Outcome callReAccessAltNode(Call& c) {
    kfi_domain* const node = c.node();
    std::vector<kzfi_objid*>& primaries = c.objects("primaries");
    const int status = c.provider().reAccessAltNode(
        node, c.object("primary"), c.object("alternate"), c.text("session"), primaries.data(),
        c.objects("secondaries", primaries.size()).data(), countOf(primaries), intentOf(c));
    return withState(status, node);
}

Outcome callDeInitNode(Call& c) {
    kfi_domain* const node = c.node();
    const std::vector<char*> names = associationNames(node);
    c.provider().deInitNode(node);
    if (node != nullptr && node->assoc_list == nullptr) {
        // The names are the host's to free: the provider frees the list alone.
        std::for_each(names.begin(), names.end(), std::free);
    }
    if (node != nullptr) {
        node->display_name = nullptr; // The provider is done with the node; the text may be gone.
    }
    Outcome outcome;
    addState(outcome, node);
    return outcome;
}

Outcome callInterpose(Call& c) {
    kfi_domain* const node = c.node();
    kzfi_objid* interposer = nullptr;
    kzfi_objid** list = nullptr;
    int count = 0;
    const int status = c.provider().interpose(node, &interposer, &list, &count);
    const Json lower = takeNames(list, count);
    Outcome outcome = answered(status, "interposer", nameOf(interposer));
    outcome.values["lower"] = lower;
    if (status == KZFI_INTERPOSE_DONE && interposer != nullptr && interposer->name != nullptr) {
        std::vector<std::string> names;
        for (const Json& name : lower) {
            if (name.is_string()) {
                names.push_back(name.get<std::string>());
            }
        }
        c.host.nodes().interpose(node, interposer->name, names);
    }
    return outcome;
}

Outcome callIsReady(Call& c) {
    std::vector<kfi_splitnode*>& split = c.splits();
    const int status = c.provider().isReady(c.text("session"), split.data(), countOf(split));
    return withFlags(c, status);
}

Outcome callEnableAccess(Call& c) {
    return withFlags(c, c.provider().enableAccess(c.subObjects("nodes"), c.number("options"),
                                                  static_cast<int>(c.number("first")),
                                                  static_cast<int>(c.number("second"))));
}

Outcome callDisableAccess(Call& c) {
    return withFlags(c, c.provider().disableAccess(c.subObjects("nodes"), c.number("options")));
}

Outcome callClaim(Call& c) {
    kzfi_objid** claimed = nullptr;
    int count = 0;
    const int status = c.provider().claim(c.object("object"), &claimed, &count);
    return answered(status, "claimed", takeNames(claimed, count));
}

Outcome callSupportsFiType(Call& c) {
    kfi_domain* const domain = c.node();
    const int status = c.provider().supportsFiType(domain, c.text("fiType"));
    return answered(status, "supportLevel",
                    domain != nullptr ? Json(*domain->support_level) : Json());
}

Outcome callSubobjList(Call& c) {
    kzfi_objid** list = nullptr;
    int count = 0;
    const int status = c.provider().subobjList(c.node(), &list, &count);
    // The list stays the node's record's own.
    return answered(status, "objects", namesOf(list, count));
}

Outcome callCacheDisable(Call& c) {
    return answered(c.provider().cacheDisable(c.node(), integer(c, "options")));
}

Outcome callCacheEnable(Call& c) {
    c.provider().cacheEnable(c.node(), integer(c, "options"));
    return Outcome();
}

Outcome callCacheFlush(Call& c) {
    c.provider().cacheFlush(c.node(), integer(c, "options"));
    return Outcome();
}

Outcome callCheckNodeExistence(Call& c) {
    int exists = 0;
    const int status = c.provider().checkNodeExistence(c.node(), &exists);
    return answered(status, "exists", exists);
}

} // namespace

std::vector<Operation> nodeOperations() {
    using namespace fields;
    return {
        {6, "claim", {text("object")}, callClaim},
        {7, "supportsFiType", {node("node"), text("fiType")}, callSupportsFiType},
        {10, "initNode", {node("node"), nodes("parents"), text("object")}, callInitNode},
        {12,
         "initAltNode",
         {node("node"), node("parent"), node("target"), flag("skipImport")},
         callInitAltNode},
        {13,
         "reAccessTmpObj",
         {node("node"), text("object"), text("splitType"), node("parent"), text("session"),
          number("intent")},
         callReAccessTmpObj},
        {14,
         "reAccessAltNode",
         {node("node"), text("primary"), text("alternate"), text("session"), texts("primaries"),
          texts("secondaries"), number("intent")},
         callReAccessAltNode},
        {15, "deInitNode", {node("node")}, callDeInitNode},
        {18, "subobjList", {node("node")}, callSubobjList},
        {29, "isReady", {nodes("nodes"), nodes("second"), text("session")}, callIsReady},
        {30, "cacheDisable", {node("node"), number("options")}, callCacheDisable},
        {31, "cacheEnable", {node("node"), number("options")}, callCacheEnable},
        {32, "cacheFlush", {node("node"), number("options")}, callCacheFlush},
        {33, "interpose", {node("node")}, callInterpose},
        {42, "checkNodeExistence", {node("node")}, callCheckNodeExistence},
        {49,
         "enableAccess",
         {nodes("nodes"), longNumber("options"), number("first"), number("second")},
         callEnableAccess},
        {50, "disableAccess", {nodes("nodes"), longNumber("options")}, callDisableAccess},
    };
}

} // namespace kzfi_simhost
