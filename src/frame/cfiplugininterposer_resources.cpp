// Presenting snapshot devices to hosts and withdrawing them.
#include "cfiplugininterposer.h"
#include "diag/tracing.h"
#include "frame/nodedata.h"

namespace kzfi_pdk_4_4 {
namespace {

bool isDeviceIdentifier(const char* udid) {
    try {
        const CFiUdid parsed{tstring(udid)};
        return true;
    } catch (const CFiUdidException&) {
        return false;
    }
}

/// The only host that a resource operation names, if it names one.
std::vector<tstring> hostsOf(const CFiTraceLogPtr& log, const char* operation,
                             const char* hostname) {
    if (hostname == nullptr) {
        traceTo(log, TRACE_INFO, "No hostname was passed to the %s API", operation);
        return {};
    }
    traceTo(log, TRACE_INFO, "Hostname [%s] was passed to %s API. Adding it hostList", hostname,
            operation);
    return {tstring(hostname)};
}

} // namespace

int CFiPluginInterposer::importNode(tstring, std::vector<tstring>, bool, bool, bool, int) {
    // The entry only; that there is no exit line is kept on purpose.
    traceTo(traceLog, TRACE_FUNCTION, "Entering Function %s [%d, %s]", __func__, __LINE__,
            sourceFileOf(__FILE__));
    return KZFI_ERR_NOT_IMPLEMENTED;
}

int CFiPluginInterposer::importTreeNode(kfi_domain* node, kzfi_objid**, kzfi_objid**, int,
                                        kzfi_objid** out) {
    KZFI_TRACE_SCOPE(traceLog);
    if (node == nullptr || node->objid == nullptr || node->objid->name == nullptr) {
        traceTo(traceLog, TRACE_ERROR, "Error: Invalid input arguments to importTreeNode");
        return KZFI_ERR_INVALID;
    }
    std::vector<tstring> hosts;
    bool transportable = false;
    const NodeData nodeData(privateDataManager);
    if (const CFiPrivateDataPtr data = nodeData.find(node)) {
        hosts = data->getHostList();
        transportable = data->getTransportable();
    }
    const int result =
        importNode(node->objid->name, hosts, transportable, false, false, KZFI_IMPORT_FROM_NODE);
    if (out != nullptr) {
        *out = node->objid;
    }
    return result;
}

int CFiPluginInterposer::initAltNode(kfi_domain* node, kfi_domain*, kfi_domain* target,
                                     bool skipImport) {
    KZFI_TRACE_SCOPE(traceLog);
    if (target == nullptr) {
        traceTo(traceLog, TRACE_ERROR, "ERROR: initAltNode(): target node is invalid.");
        return KZFI_ERR_INVALID;
    }
    const NodeData nodeData(privateDataManager);
    nodeData.create(target, 1);
    target->assoc_list = nullptr;
    target->second_list = nullptr;
    target->type |= defaultNodeType;

    const CFiPrivateDataPtr data = nodeData.find(node);
    if (skipImport || !data || data->getTransportable() || data->getIntent() != 0) {
        return KZFI_OK;
    }
    return importNode(nameOf(target), data->getHostList(), false, false, false,
                      KZFI_IMPORT_FROM_NODE);
}

int CFiPluginInterposer::importResource(char**, char* udid, char* hostname, char*, int request,
                                        char**, char*) {
    KZFI_TRACE_SCOPE(traceLog);
    if (udid == nullptr) {
        return KZFI_ERR_INVALID;
    }
    if (!isDeviceIdentifier(udid)) {
        return KZFI_ERR_UDID;
    }
    const std::vector<tstring> hosts = hostsOf(traceLog, __func__, hostname);
    if ((request & KZFI_IMPORT_DECLINED) != 0) {
        return KZFI_ERR_NOT_IMPLEMENTED;
    }
    if ((request & KZFI_IMPORT) != 0) {
        return importNode(udid, hosts, false, false, false, KZFI_IMPORT_FROM_RESOURCE);
    }
    if ((request & KZFI_IMPORT_VARIANT) != 0) {
        return importNode(udid, hosts, false, true, false, KZFI_IMPORT_FROM_RESOURCE);
    }
    return KZFI_ERR_FAILED;
}

int CFiPluginInterposer::deportResource(char* udid, char* hostname, char*, char*, int request) {
    KZFI_TRACE_SCOPE(traceLog);
    if (udid == nullptr) {
        return KZFI_ERR_INVALID;
    }
    if (!isDeviceIdentifier(udid)) {
        return KZFI_ERR_UDID;
    }
    if ((request & KZFI_DEPORT_NOTHING) != 0) {
        return KZFI_OK;
    }
    const std::vector<tstring> hosts = hostsOf(traceLog, __func__, hostname);
    if ((request & KZFI_DEPORT_VARIANT) != 0) {
        return importNode(udid, hosts, false, true, true, KZFI_IMPORT_FROM_RESOURCE);
    }
    if ((request & KZFI_DEPORT) != 0) {
        return importNode(udid, hosts, false, false, true, KZFI_IMPORT_FROM_RESOURCE);
    }
    // An unknown request is no error here, unlike an import's; kept so on purpose.
    return (request & KZFI_DEPORT_DECLINED) != 0 ? KZFI_ERR_NOT_IMPLEMENTED : KZFI_OK;
}

} // namespace kzfi_pdk_4_4
