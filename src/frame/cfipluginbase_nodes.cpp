// The operations whose default does work on nodes: their records, associations, sub-objects and
// flags.
#include <algorithm>

#include "cfipluginbase.h"
#include "diag/tracing.h"
#include "frame/nodedata.h"
#include "util/text.h"

namespace kzfi_pdk_4_4 {
namespace {

void keepRequest(CFiPrivateData& data, kfi_intent intent, const char* sessionId) {
    data.setIntent(intent);
    if (sessionId != nullptr) {
        data.setSessionId(sessionId);
    }
}

template <class Change>
int forEachSubObject(kfi_node_subobj_list* list, Change change) {
    if (list == nullptr) {
        return KZFI_ERR_INVALID;
    }
    for (kfi_node_subobj_list* element = list; element != nullptr; element = element->next) {
        if (element->subobj != nullptr) {
            change(*element->subobj);
        }
    }
    return KZFI_OK;
}

void deleteAssociations(kfi_domain_assoc* list) {
    while (list != nullptr) {
        kfi_domain_assoc* next = list->next;
        // The name copies in the entries are not freed, on purpose.
        delete list->first;
        delete list->second;
        delete list;
        list = next;
    }
}

} // namespace

int CFiPluginBase::supportsFiType(kfi_domain* domain, char*) {
    KZFI_TRACE_SCOPE(traceLog);
    if (domain != nullptr && domain->support_level != nullptr) {
        *domain->support_level = 0;
    }
    return KZFI_OK;
}

int CFiPluginBase::reAccessTmpObj(kfi_domain* node, kzfi_objid*, char* splitType, kfi_domain*,
                                  char* sessionId, kfi_intent intent) {
    KZFI_TRACE_SCOPE(traceLog);
    const NodeData nodeData(privateDataManager);
    if (const CFiPrivateDataPtr data = nodeData.create(node, 0)) {
        keepRequest(*data, intent, sessionId);
        if (splitType != nullptr) {
            data->setSplitType(splitType);
        }
    }
    return KZFI_OK;
}

int CFiPluginBase::reAccessAltNode(kfi_domain* node, kzfi_objid*, kzfi_objid*, char* sessionId,
                                   kzfi_objid**, kzfi_objid**, int, kfi_intent intent) {
    KZFI_TRACE_SCOPE(traceLog);
    const NodeData nodeData(privateDataManager);
    if (const CFiPrivateDataPtr data = nodeData.create(node, 0)) {
        keepRequest(*data, intent, sessionId);
    }
    return KZFI_OK;
}

void CFiPluginBase::deInitNode(kfi_domain* node) {
    KZFI_TRACE_SCOPE(traceLog);
    if (node == nullptr) {
        return;
    }
    kfi_domain_assoc* list = node->assoc_list;
    node->assoc_list = nullptr;
    deleteAssociations(list);
    NodeData(privateDataManager).discard(node);
}

int CFiPluginBase::subobjList(kfi_domain* node, kzfi_objid*** list, int* count) {
    KZFI_TRACE_SCOPE(traceLog);
    const NodeData nodeData(privateDataManager);
    const CFiPrivateDataPtr data = nodeData.find(node);
    if (!data || list == nullptr || count == nullptr) {
        return KZFI_OK;
    }
    *list = data->getSubObjectList();
    *count = static_cast<int>(data->getSubObjectListLength());
    for (int i = 0; i < *count; ++i) {
        const kzfi_objid* element = (*list)[i];
        traceTo(traceLog, TRACE_INFO, "Info: subobjList, list element [%d,%s]", i,
                orEmpty(element != nullptr ? element->name : nullptr));
    }
    return KZFI_OK;
}

int CFiPluginBase::setImportOptions(kfi_splitnode** nodes, int count, kfi_host_infn* hosts,
                                    int transportable, void*) {
    KZFI_TRACE_SCOPE(traceLog);
    const NodeData nodeData(privateDataManager);
    for (int i = 0; nodes != nullptr && i < count; ++i) {
        if (nodes[i] == nullptr) {
            continue;
        }
        if (const CFiPrivateDataPtr data = nodeData.find(nodes[i]->node)) {
            data->setHostList(hosts);
            data->setTransportable(transportable != 0);
        }
    }
    return KZFI_OK;
}

int CFiPluginBase::enableAccess(kfi_node_subobj_list* list, long, int, int) {
    KZFI_TRACE_SCOPE(traceLog);
    return forEachSubObject(
        list, [](kfi_domain& node) { node.flags &= ~std::uint32_t(KZFI_NODE_ACCESS_DISABLED); });
}

int CFiPluginBase::disableAccess(kfi_node_subobj_list* list, long) {
    KZFI_TRACE_SCOPE(traceLog);
    return forEachSubObject(
        list, [](kfi_domain& node) { node.flags |= std::uint32_t(KZFI_NODE_ACCESS_DISABLED); });
}

int CFiPluginBase::getStatus(kzfi_objid**, kzfi_objid**, long count, char*, long, long* statuses) {
    KZFI_TRACE_SCOPE(traceLog);
    if (statuses != nullptr && count > 0) {
        std::fill_n(statuses, count, long(KZFI_SNAPSHOT_STATUS_DEFAULT));
    }
    return KZFI_OK;
}

int CFiPluginBase::queryValidSecondaries(char*, kzfi_objid***, long* count) {
    KZFI_TRACE_SCOPE(traceLog);
    if (count != nullptr) {
        *count = 0;
    }
    return KZFI_OK;
}

} // namespace kzfi_pdk_4_4
