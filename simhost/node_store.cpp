#include "node_store.h"

#include <cstddef>
#include <new>

namespace kzfi_simhost {
namespace {

// The kind that the kit itself gives to ids of nodes.
const int NODE_KIND = 3;

} // namespace

kzfi_objid* objectId(const std::string& name) {
    return kzfi_get_objid(name.c_str(), name.size() + 1, NODE_KIND);
}

Json nameOf(const kzfi_objid* id) {
    return id != nullptr && id->name != nullptr ? Json(id->name) : Json();
}

NodeStore::NodeStore(const std::vector<ScenarioNode>& described) : descriptions(described) {
    for (const ScenarioNode& description : descriptions) {
        Entry& entry = entries.emplace_back();
        entry.described = &description;
        entry.supportLevel = 0;
        entry.record = {};
        entry.record.type = description.type;
        entry.record.objid = objectId(description.name);
        entry.record.support_level = &entry.supportLevel;
    }
    for (Entry& entry : entries) {
        if (!entry.described->owner.empty()) {
            join(entry);
        }
    }
}

NodeStore::~NodeStore() = default;

/// Makes the node's owner record; its array has as many places as the owner has nodes.
void NodeStore::join(Entry& entry) {
    const std::vector<std::string>& names = entry.described->owner;
    const std::size_t size = offsetof(kfi_domain_owner, nodes) + names.size() * sizeof(kfi_domain*);
    entry.owner.reset(new char[size < sizeof(kfi_domain_owner) ? sizeof(kfi_domain_owner) : size]);
    kfi_domain_owner* const owner = new (entry.owner.get()) kfi_domain_owner;
    owner->count = static_cast<int32_t>(names.size());
    kfi_domain** const places = owner->nodes;
    for (std::size_t i = 0; i < names.size(); ++i) {
        places[i] = find(names[i]);
    }
    entry.record.owner = owner;
}

kfi_domain* NodeStore::find(const std::string& name) {
    for (Entry& entry : entries) {
        if (entry.described->name == name) {
            return &entry.record;
        }
    }
    return nullptr;
}

kfi_domain* NodeStore::first() {
    return entries.empty() ? nullptr : &entries.front().record;
}

const ScenarioNode* NodeStore::description(const kfi_domain* node) const {
    for (const Entry& entry : entries) {
        if (&entry.record == node) {
            return entry.described;
        }
    }
    return nullptr;
}

} // namespace kzfi_simhost
