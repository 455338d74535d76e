// The framework's node records of a run, and how they lie above each other.
#ifndef KZFI_SIMHOST_NODE_STORE_H
#define KZFI_SIMHOST_NODE_STORE_H

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "kzfi_framework.h"
#include "scenario.h"

namespace kzfi_simhost {

/// The object id of a name, as the framework asks for it; it lives as long as the process.
kzfi_objid* objectId(const std::string& name);

/// A text that a provider gave, or null.
Json textOf(const char* text);

/// The name in an object id; null for a null id or name.
Json nameOf(const kzfi_objid* id);

/// What a record says of its node: type, flags, supportLevel, displayName and associations. An
/// association is a list of its first name, its second name and its group, which may be null.
Json stateOf(const kfi_domain& node);

/// The node records, as C records at addresses that stay for the life of the store: those of the
/// scenario, and those that a provider puts above and below them.
class NodeStore {
  public:
    explicit NodeStore(const std::vector<ScenarioNode>& described);
    NodeStore(const NodeStore&) = delete;
    NodeStore& operator=(const NodeStore&) = delete;
    ~NodeStore();

    /// The record of a node; null for a name that is none.
    kfi_domain* find(const std::string& name);
    /// The same; a node that is not there yet is made: type 0, no flags.
    kfi_domain* findOrMake(const std::string& name);
    /// The first node; null when there is none.
    kfi_domain* first();
    /// What the scenario says of the node; null for one that is none of the scenario's.
    const ScenarioNode* description(const kfi_domain* node) const;
    std::vector<std::string> names() const;

    /// Puts the node called name above node, with the lower nodes below it too. Those that are not
    /// there yet are made: type 0, no flags.
    void interpose(const kfi_domain* node, const std::string& name,
                   const std::vector<std::string>& lower);

    /// All nodes in the order in which they came: name, the members of stateOf, and the names of
    /// the nodes "below".
    Json tree() const;

  private:
    struct Entry {
        std::string name;
        const ScenarioNode* described; ///< null for a node that the provider put there
        kfi_domain record;
        int32_t supportLevel;
        std::unique_ptr<char[]> owner; ///< room for a kfi_domain_owner of any length
        std::vector<std::string> below;
    };

    Entry& add(const std::string& name, const ScenarioNode* described);
    Entry* entry(const std::string& name);
    static void putBelow(Entry& upper, const std::string& name);
    void join(Entry& entry);

    const std::vector<ScenarioNode> descriptions;
    std::deque<Entry> entries;
};

} // namespace kzfi_simhost

#endif
