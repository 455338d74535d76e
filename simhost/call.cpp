#include "call.h"

#include <algorithm>

namespace kzfi_simhost {

Json Call::raw(const std::string& field) const {
    const auto found = arguments.find(field);
    return found != arguments.end() ? *found : Json();
}

long Call::number(const std::string& field, long otherwise) const {
    return has(field) ? raw(field).get<long>() : otherwise;
}

bool Call::flag(const std::string& field) const {
    return has(field) && raw(field).get<bool>();
}

std::string Call::choice(const std::string& field, const std::string& otherwise) const {
    return has(field) ? raw(field).get<std::string>() : otherwise;
}

kfi_domain* Call::node(const std::string& field) {
    if (!has(field)) {
        return host.nodes().first();
    }
    const Json name = raw(field);
    return name.is_null() ? nullptr : find(field, name.get<std::string>());
}

kfi_domain* Call::find(const std::string& field, const std::string& name) {
    kfi_domain* const found = host.nodes().find(name);
    if (found == nullptr) {
        throw NoSuchNode(noSuchNode(field, name, host.nodes().names()));
    }
    return found;
}

std::vector<kfi_domain*>& Call::nodes(const std::string& field) {
    std::vector<kfi_domain*>& list = startList(nodeLists, field);
    for (const Json& name : raw(field)) {
        list.push_back(find(field, name.get<std::string>()));
    }
    return list;
}

std::vector<kfi_splitnode*>& Call::splits() {
    const std::vector<kfi_domain*>& firsts = nodes("nodes");
    const std::vector<kfi_domain*>& seconds = nodes("second");
    std::vector<kfi_splitnode*>& list = startList(splitLists, "nodes");
    for (std::size_t i = 0; i < firsts.size(); ++i) {
        kfi_domain* const second = i < seconds.size() ? seconds[i] : nullptr;
        list.push_back(&splitRecords.emplace_back(kfi_splitnode{nullptr, firsts[i], second}));
    }
    return list;
}

kfi_node_subobj_list* Call::subObjects(const std::string& field) {
    kfi_node_subobj_list* first = nullptr;
    kfi_node_subobj_list** end = &first;
    for (kfi_domain* const node : nodes(field)) {
        *end =
            &subObjectRecords.emplace_back(kfi_node_subobj_list{node, nullptr, nullptr, nullptr});
        end = &(*end)->next;
    }
    return first;
}

kfi_host_infn* Call::hosts(const std::string& field) {
    kfi_host_infn* first = nullptr;
    kfi_host_infn** end = &first;
    for (char* const name : texts(field)) {
        *end = &hostRecords.emplace_back(kfi_host_infn{name, nullptr});
        end = &(*end)->next;
    }
    return first;
}

kzfi_objid* Call::object(const std::string& field) {
    if (!has(field)) {
        const kfi_domain* const first = host.nodes().first();
        return first != nullptr ? first->objid : nullptr;
    }
    const Json name = raw(field);
    return name.is_null() ? nullptr : objectId(name.get<std::string>());
}

std::vector<kzfi_objid*>& Call::objects(const std::string& field, std::size_t least) {
    std::vector<kzfi_objid*>& list = startList(objectLists, field);
    for (const Json& name : raw(field)) {
        list.push_back(objectId(name.get<std::string>()));
    }
    if (list.size() < least && !isNull(field)) {
        list.resize(least);
    }
    return list;
}

char* Call::text(const std::string& field) {
    if (!has(field)) {
        return keep("");
    }
    const Json value = raw(field);
    return value.is_null() ? nullptr : keep(value.get<std::string>());
}

std::vector<char*>& Call::texts(const std::string& field) {
    std::vector<char*>& list = startList(textLists, field);
    for (const Json& value : raw(field)) {
        list.push_back(keep(value.get<std::string>()));
    }
    return list;
}

bool Call::handedIn(const char* text) const {
    return std::any_of(keptTexts.begin(), keptTexts.end(),
                       [&](const std::vector<char>& kept) { return kept.data() == text; });
}

/// A copy that the provider may write to.
char* Call::keep(const std::string& text) {
    std::vector<char>& kept = keptTexts.emplace_back(text.begin(), text.end());
    kept.push_back('\0');
    return kept.data();
}

} // namespace kzfi_simhost
