// The framework's side of one call of an operation: turns a step's fields into C records.
#ifndef KZFI_SIMHOST_CALL_H
#define KZFI_SIMHOST_CALL_H

#include <deque>
#include <stdexcept>
#include <string>
#include <vector>

#include "host_context.h"
#include "outcome.h"

namespace kzfi_simhost {

/// A step names a node that is not there; what() says which, and which ones are.
class NoSuchNode : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Everything that an adapter hands to the provider, alive until the call is over.
///
/// A field that is left out is harmless: the scenario's first node, an empty text or list, 0,
/// false. A field that is null is a null pointer. Where a field names nodes NoSuchNode is thrown
/// for one that is not there.
class Call {
  public:
    Call(HostContext& newHost, const Json& newArguments) : host(newHost), arguments(newArguments) {}
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    kzfi_pdk_4_4::CFiPluginBase& provider() { return host.provider(); }

    kfi_domain* node(const std::string& field = "node");
    /// Node records of a NODES field. As of every list, data() is null when the field is null, and
    /// only then.
    std::vector<kfi_domain*>& nodes(const std::string& field);
    /// Split nodes of the NODES field "nodes", with the second nodes of "second" as far as it goes.
    std::vector<kfi_splitnode*>& splits();
    /// Sub-objects of a NODES field as a list; null when there are none.
    kfi_node_subobj_list* subObjects(const std::string& field);
    /// Hosts of a TEXTS field as a list; null when there are none.
    kfi_host_infn* hosts(const std::string& field);
    /// Object id of a TEXT field; left out: that of the first node.
    kzfi_objid* object(const std::string& field);
    /// Object ids of a TEXTS field; filled up with null pointers to at least this many, unless
    /// null.
    std::vector<kzfi_objid*>& objects(const std::string& field, std::size_t least = 0);
    char* text(const std::string& field);
    /// Texts of a TEXTS field.
    std::vector<char*>& texts(const std::string& field);
    long number(const std::string& field, long otherwise = 0) const;
    bool flag(const std::string& field) const;
    /// A CHOICE field, or what stands for it when it is left out.
    std::string choice(const std::string& field, const std::string& otherwise) const;
    bool isNull(const std::string& field) const { return has(field) && raw(field).is_null(); }
    /// Whether the step has the field at all.
    bool has(const std::string& field) const { return arguments.contains(field); }
    /// Whether text is one that this call handed to the provider.
    bool handedIn(const char* text) const;
    /// Any field as the scenario has it; null when it is left out or null.
    Json raw(const std::string& field) const;

    HostContext& host;

  private:
    kfi_domain* find(const std::string& field, const std::string& name);
    char* keep(const std::string& text);
    template <class T>
    std::vector<T>& startList(std::deque<std::vector<T>>& lists, const std::string& field) const {
        std::vector<T>& list = lists.emplace_back();
        if (!isNull(field)) {
            list.reserve(1); // So that data() is no null pointer.
        }
        return list;
    }

    const Json& arguments;
    // Deques, as what was handed out must not move.
    std::deque<std::vector<char>> keptTexts;
    std::deque<std::vector<char*>> textLists;
    std::deque<std::vector<kfi_domain*>> nodeLists;
    std::deque<std::vector<kzfi_objid*>> objectLists;
    std::deque<std::vector<kfi_splitnode*>> splitLists;
    std::deque<kfi_splitnode> splitRecords;
    std::deque<kfi_node_subobj_list> subObjectRecords;
    std::deque<kfi_host_infn> hostRecords;
};

/// The size of a list as the framework's operations take it.
template <class T>
int countOf(const std::vector<T>& list) {
    return static_cast<int>(list.size());
}

} // namespace kzfi_simhost

#endif
