#include "cfiplugininterposer.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "cfistringtool.h"
#include "diag/tracing.h"
#include "frame/nodedata.h"

namespace kzfi_pdk_4_4 {
namespace {

constexpr int OBJECT_KIND = 3;

kzfi_objid* objectId(const std::string& name) {
    return kzfi_get_objid(name.c_str(), name.size() + 1, OBJECT_KIND);
}

bool contains(const char* name, const std::string& part) {
    return std::strstr(name, part.c_str()) != nullptr;
}

bool names(const SFiGroupInfo& group, const kfi_domain& node) {
    return group.groupObjId != nullptr && node.objid != nullptr &&
           kzfi_objidcmp(group.groupObjId, node.objid) == 0;
}

const SFiFimInfo* findFim(const std::vector<SFiFimInfo>& fims, const char* fiType) {
    for (const SFiFimInfo& fim : fims) {
        if (fim.fimName == fiType || std::strcmp(fiType, "any") == 0) {
            return &fim;
        }
    }
    return nullptr;
}

/// The groups of fims as a buffer for the framework; null when it cannot be filled.
kzfi_objid** groupIds(const std::vector<SFiFimInfo>& fims) {
    if (fims.empty()) {
        return nullptr;
    }
    const std::size_t size = fims.size() * sizeof(kzfi_objid*);
    auto** ids = static_cast<kzfi_objid**>(kzfi_alloc_buf(size));
    for (std::size_t i = 0; ids != nullptr && i < fims.size(); ++i) {
        ids[i] = objectId(fims[i].groupName);
        if (ids[i] == nullptr) {
            kzfi_free_buf(ids, size);
            ids = nullptr;
        }
    }
    return ids;
}

char* copyOf(const std::string& text) {
    char* copy = ::strdup(text.c_str());
    if (copy == nullptr) {
        throw std::bad_alloc();
    }
    return copy;
}

// The name goes with an entry that nobody was given yet.
struct EntryDeleter {
    void operator()(kfi_domain_assoc_entry* entry) const {
        std::free(entry->name);
        delete entry;
    }
};

using EntryPtr = std::unique_ptr<kfi_domain_assoc_entry, EntryDeleter>;

EntryPtr makeEntry(const std::string& name, kfi_domain* node, kfi_domain* group) {
    EntryPtr entry(new kfi_domain_assoc_entry{});
    entry->name = copyOf(name);
    entry->node = node;
    entry->group = group;
    return entry;
}

kfi_domain_assoc* makeAssociation(const SFiFimInfo& fim, kfi_domain* node, kfi_domain* group) {
    std::unique_ptr<kfi_domain_assoc> association(new kfi_domain_assoc{});
    EntryPtr first = makeEntry(fim.fimAltName, node, group);
    EntryPtr second = makeEntry(fim.fimName, node, group);
    association->first = first.release();
    association->second = second.release();
    return association.release();
}

void markReady(kfi_domain* node) {
    if (node != nullptr) {
        node->flags |= std::uint32_t(KZFI_NODE_READY);
    }
}

} // namespace

CFiPluginInterposer::~CFiPluginInterposer() = default;

std::string CFiPluginInterposer::marker() const {
    return "<" + CFiStringTool::tstr2str(providerName) + ">";
}

void CFiPluginInterposer::addFim(std::string claimPattern, std::string name,
                                 std::string alternativeName, int typeFlags,
                                 std::string groupName) {
    if (claimPattern.empty()) {
        traceTo(traceLog, TRACE_ERROR, "ERROR: Invalid arg to addFim(), invalid claim pattern");
        return;
    }
    if (groupName.empty()) {
        groupName = name + "_FIM_GROUP";
    }
    groups[groupName] = {groupName, claimPattern, objectId(groupName), nullptr};
    fims[claimPattern].push_back({groupName, name, alternativeName, typeFlags});
}

bool CFiPluginInterposer::isGroupNode(tstring name) {
    return groups.count(CFiStringTool::tstr2str(name)) != 0;
}

bool CFiPluginInterposer::isInterposerNode(tstring name) {
    return contains(CFiStringTool::tstr2str(name).c_str(), marker());
}

std::vector<SFiFimInfo> CFiPluginInterposer::getFims(tstring nodeName) {
    if (isGroupNode(nodeName)) {
        for (const auto& pattern : fims) {
            for (const SFiFimInfo& fim : pattern.second) {
                if (fim.groupName == nodeName.c_str()) {
                    return {fim};
                }
            }
        }
        return {};
    }
    if (isInterposerNode(nodeName)) {
        for (const auto& pattern : fims) {
            if (contains(nodeName.c_str(), pattern.first)) {
                return pattern.second;
            }
        }
    }
    return {};
}

int CFiPluginInterposer::interpose(kfi_domain* domain, kzfi_objid** interposer, kzfi_objid*** lower,
                                   int* lowerCount) {
    KZFI_TRACE_SCOPE(traceLog);
    if (domain == nullptr || interposer == nullptr || lower == nullptr || lowerCount == nullptr ||
        (domain->type & ignoredNodeTypes) != 0) {
        return KZFI_INTERPOSE_NONE;
    }
    const char* name = nameOf(domain);
    for (const auto& pattern : fims) {
        traceTo(traceLog, TRACE_INFO,
                "CFiPluginInterposer::interpose - Looking for patten %s in %s.",
                pattern.first.c_str(), name);
        if (!contains(name, pattern.first)) {
            continue;
        }
        const std::string interposerName = marker() + name;
        *interposer = objectId(interposerName);
        *lower = nullptr;
        *lowerCount = static_cast<int>(pattern.second.size());
        *lower = groupIds(pattern.second);
        traceTo(traceLog, TRACE_INFO, "Info, interposing with node [%s] on [%s].",
                interposerName.c_str(), name);
        return KZFI_INTERPOSE_DONE;
    }
    return KZFI_INTERPOSE_NONE;
}

int CFiPluginInterposer::claim(kzfi_objid* primary, kzfi_objid*** secondaries, int* count) {
    KZFI_TRACE_SCOPE(traceLog);
    if (primary == nullptr || primary->name == nullptr) {
        traceTo(traceLog, TRACE_INFO, "ERROR: Invalid primary object id for claim()");
        return KZFI_CLAIM_NONE;
    }
    const std::string name = primary->name;
    if (secondaries != nullptr && count != nullptr && isInterposerNode(primary->name)) {
        for (const auto& pattern : fims) {
            if (contains(name.c_str(), pattern.first)) {
                *secondaries = nullptr;
                *count = 0;
                traceTo(traceLog, TRACE_INFO, "Info, claiming node [%s] KFI_CLAIM_SECONDARY",
                        name.c_str());
                return KZFI_CLAIM_SECONDARY;
            }
        }
    }
    traceTo(traceLog, TRACE_INFO, "Info, NOT claiming node [%s]", name.c_str());
    return KZFI_CLAIM_NONE;
}

int CFiPluginInterposer::supportsFiType(kfi_domain* domain, char* fiType) {
    KZFI_TRACE_SCOPE(traceLog);
    if (domain == nullptr || domain->support_level == nullptr) {
        return 0;
    }
    std::int32_t& level = *domain->support_level;
    const std::vector<SFiFimInfo> candidates = getFims(nameOf(domain));
    const SFiFimInfo* fim = fiType != nullptr ? findFim(candidates, fiType) : nullptr;
    if (fim == nullptr) {
        level = KZFI_SUPPORT_NONE;
        return 0;
    }
    const NodeData nodeData(privateDataManager);
    const CFiPrivateDataPtr data = nodeData.find(domain);
    if (data && !data->getHostList().empty()) {
        level = data->getTransportable() ? KZFI_SUPPORT_TRANSPORTABLE : KZFI_SUPPORT_HOSTS;
    } else {
        level |= fim->typeFlags;
    }
    return 1;
}

int CFiPluginInterposer::initNode(kfi_domain* domain, kfi_domain**, int, kzfi_objid*) {
    KZFI_TRACE_SCOPE(traceLog);
    try {
        traceTo(traceLog, TRACE_INFO, "CFiPluginInterposer::initNode for Node [%s]",
                nameOf(domain));
        if (domain != nullptr && !isKnownGroupNode(domain)) {
            beginNode(domain);
        }
        return KZFI_OK;
    } catch (...) {
        traceTo(traceLog, TRACE_ERROR, "ERROR: Caught unhandled exception at %s, %d",
                sourceFileOf(__FILE__), __LINE__);
        return KZFI_ERR_FAILED;
    }
}

bool CFiPluginInterposer::isKnownGroupNode(kfi_domain* domain) {
    for (auto& entry : groups) {
        SFiGroupInfo& group = entry.second;
        if (names(group, *domain)) {
            const bool known = group.groupNode == domain;
            group.groupNode = domain;
            return known;
        }
    }
    return false;
}

void CFiPluginInterposer::beginNode(kfi_domain* domain) {
    domain->display_name = domain->objid != nullptr ? domain->objid->name : nullptr;
    // What the lists held is not freed, on purpose: only deInitNode frees.
    domain->assoc_list = nullptr;
    domain->second_list = nullptr;
    domain->type = defaultNodeType;
    kfi_domain_assoc** end = &domain->assoc_list;
    for (const SFiFimInfo& fim : getFims(nameOf(domain))) {
        *end = makeAssociation(fim, domain, groups[fim.groupName].groupNode);
        end = &(*end)->next;
    }
    NodeData(privateDataManager).create(domain, 0);
}

void CFiPluginInterposer::deInitNode(kfi_domain* node) {
    KZFI_TRACE_SCOPE(traceLog);
    traceTo(traceLog, TRACE_INFO, "CFiPluginInterposer::deInitNode for Node [%s]", nameOf(node));
    if (node == nullptr) {
        return;
    }
    for (auto& entry : groups) {
        if (names(entry.second, *node)) {
            entry.second.groupNode = nullptr;
            break;
        }
    }
    CFiPluginBase::deInitNode(node);
}

int CFiPluginInterposer::isReady(char*, kfi_splitnode** nodes, int count) {
    KZFI_TRACE_SCOPE(traceLog);
    for (int i = 0; nodes != nullptr && i < count; ++i) {
        if (nodes[i] != nullptr) {
            markReady(nodes[i]->node);
            markReady(nodes[i]->second_node);
        }
    }
    return KZFI_OK;
}

int CFiPluginInterposer::checkNodeExistence(kfi_domain* node, int* exists) {
    KZFI_TRACE_SCOPE(traceLog);
    if (fims.empty()) {
        return KZFI_ERR_NOT_IMPLEMENTED;
    }
    if (node != nullptr && exists != nullptr) {
        *exists = isInterposerNode(nameOf(node)) ? 1 : 0;
    }
    return KZFI_OK;
}

void CFiPluginInterposer::addIgnoreNodeType(int type) {
    ignoredNodeTypes |= type;
}

void CFiPluginInterposer::setDefaultNodeType(int type) {
    defaultNodeType = type;
}

} // namespace kzfi_pdk_4_4
