#include "node_store.h"

#include <algorithm>
#include <cstddef>
#include <new>

namespace kzfi_simhost {
namespace {

// The kind that the kit itself gives to ids of nodes.
const int NODE_KIND = 3;

Json associationsOf(const kfi_domain& node) {
    const auto nameIn = [](const kfi_domain_assoc_entry* entry) {
        return textOf(entry != nullptr ? entry->name : nullptr);
    };
    Json list = Json::array();
    for (const kfi_domain_assoc* each = node.assoc_list; each != nullptr; each = each->next) {
        const kfi_domain* const group = each->first != nullptr ? each->first->group : nullptr;
        list.push_back(Json::array({nameIn(each->first), nameIn(each->second),
                                    group != nullptr ? nameOf(group->objid) : Json()}));
    }
    return list;
}

} // namespace

kzfi_objid* objectId(const std::string& name) {
    return kzfi_get_objid(name.c_str(), name.size() + 1, NODE_KIND);
}

Json textOf(const char* text) {
    return text != nullptr ? Json(text) : Json();
}

Json nameOf(const kzfi_objid* id) {
    return textOf(id != nullptr ? id->name : nullptr);
}

Json stateOf(const kfi_domain& node) {
    return {{"type", node.type},
            {"flags", node.flags},
            {"supportLevel", node.support_level != nullptr ? Json(*node.support_level) : Json()},
            {"displayName", textOf(node.display_name)},
            {"associations", associationsOf(node)}};
}

NodeStore::NodeStore(const std::vector<ScenarioNode>& described) : descriptions(described) {
    for (const ScenarioNode& description : descriptions) {
        add(description.name, &description).record.type = description.type;
    }
    for (Entry& entry : entries) {
        if (!entry.described->owner.empty()) {
            join(entry);
        }
    }
}

NodeStore::~NodeStore() = default;

NodeStore::Entry& NodeStore::add(const std::string& name, const ScenarioNode* described) {
    Entry& entry = entries.emplace_back();
    entry.name = name;
    entry.described = described;
    entry.supportLevel = 0;
    entry.record = {};
    entry.record.objid = objectId(name);
    entry.record.support_level = &entry.supportLevel;
    return entry;
}

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

NodeStore::Entry* NodeStore::entry(const std::string& name) {
    for (Entry& each : entries) {
        if (each.name == name) {
            return &each;
        }
    }
    return nullptr;
}

kfi_domain* NodeStore::find(const std::string& name) {
    Entry* const found = entry(name);
    return found != nullptr ? &found->record : nullptr;
}

kfi_domain* NodeStore::findOrMake(const std::string& name) {
    Entry* const known = entry(name);
    return known != nullptr ? &known->record : &add(name, nullptr).record;
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

std::vector<std::string> NodeStore::names() const {
    std::vector<std::string> all;
    for (const Entry& each : entries) {
        all.push_back(each.name);
    }
    return all;
}

void NodeStore::interpose(const kfi_domain* node, const std::string& name,
                          const std::vector<std::string>& lower) {
    findOrMake(name);
    Entry& upper = *entry(name);
    for (const Entry& each : entries) {
        if (&each.record == node) {
            putBelow(upper, each.name);
        }
    }
    for (const std::string& each : lower) {
        findOrMake(each);
        putBelow(upper, each);
    }
}

void NodeStore::putBelow(Entry& upper, const std::string& name) {
    if (std::find(upper.below.begin(), upper.below.end(), name) == upper.below.end()) {
        upper.below.push_back(name);
    }
}

Json NodeStore::tree() const {
    Json all = Json::array();
    for (const Entry& each : entries) {
        Json node = {{"name", each.name}};
        node.update(stateOf(each.record));
        node["below"] = each.below;
        all.push_back(node);
    }
    return all;
}

} // namespace kzfi_simhost
