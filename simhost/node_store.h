// The framework's node records of a run.
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

/// The name in an object id; null for a null id or name.
Json nameOf(const kzfi_objid* id);

/// The node records, as C records at addresses that stay for the life of the store.
class NodeStore {
  public:
    explicit NodeStore(const std::vector<ScenarioNode>& described);
    NodeStore(const NodeStore&) = delete;
    NodeStore& operator=(const NodeStore&) = delete;
    ~NodeStore();

    /// The record of a node of the scenario; null for a name that is none.
    kfi_domain* find(const std::string& name);
    /// The first node; null when there is none.
    kfi_domain* first();
    /// What the scenario says of the node; null for one that is none of the scenario's.
    const ScenarioNode* description(const kfi_domain* node) const;

  private:
    struct Entry {
        const ScenarioNode* described;
        kfi_domain record;
        int32_t supportLevel;
        std::unique_ptr<char[]> owner; ///< room for a kfi_domain_owner of any length
    };

    void join(Entry& entry);

    const std::vector<ScenarioNode> descriptions;
    std::deque<Entry> entries;
};

} // namespace kzfi_simhost

#endif
