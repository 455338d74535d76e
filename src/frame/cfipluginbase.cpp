#include "cfipluginbase.h"

#include <atomic>

#include "diag/tracing.h"

namespace kzfi_pdk_4_4 {
namespace {

/// Default of the enumerations: nothing to list.
template <class List>
int emptyList(List** list) {
    if (list == nullptr) {
        return KZFI_ERR_INVALID;
    }
    *list = nullptr;
    return KZFI_OK;
}

} // namespace

CFiSession::~CFiSession() = default;

CFiSessionManager::~CFiSessionManager() = default;

CFiPluginBase::~CFiPluginBase() = default;

void CFiPluginBase::setFimName(const char* name) {
    fimName = name != nullptr ? name : "KzFI";
}

void CFiPluginBase::setMessageIndexOffset(long offset) {
    messageIndexOffset = static_cast<std::int32_t>(static_cast<std::uint32_t>(offset));
}

void CFiPluginBase::registerErrorManager(CFiErrorManagerPtr& manager) {
    errorManager = manager;
}

void CFiPluginBase::registerCatalogManager(CFiMessageCatalogManagerPtr& manager) {
    catalogManager = manager;
}

void CFiPluginBase::registerPrivateDataManager(CFiPrivateDataManagerPtr& manager) {
    privateDataManager = manager;
}

void CFiPluginBase::registerSessionManager(CFiSessionManagerPtr& manager) {
    sessionManager = manager;
}

bool CFiPluginBase::isShuttingDown(bool set) {
    // Atomic, because the framework asks from any thread; nothing ever clears it.
    static std::atomic<bool> shuttingDown(false);
    if (set) {
        shuttingDown = true;
    }
    return shuttingDown;
}

tstring CFiPluginBase::getProviderName() {
    return providerName;
}

void CFiPluginBase::setProviderName(const tstring& name) {
    providerName = name;
}

int CFiPluginBase::delayedInit() {
    return KZFI_OK;
}

CFiConfigParamInfoList* CFiPluginBase::globalConfigInfoList(int index, bool second) {
    return &globalConfigInfo[second ? 1 : 0][index];
}

int CFiPluginBase::enumerateNodes(kfi_node_list** list, int*, int, char*) {
    KZFI_TRACE_SCOPE(traceLog);
    return emptyList(list);
}

int CFiPluginBase::enumerateAssociations(kfi_assoc_list** list) {
    KZFI_TRACE_SCOPE(traceLog);
    return emptyList(list);
}

int CFiPluginBase::enumerateGroupNodes(kfi_group_node_list** list) {
    KZFI_TRACE_SCOPE(traceLog);
    return emptyList(list);
}

int CFiPluginBase::enumerateFims(kfi_fim_list** list) {
    KZFI_TRACE_SCOPE(traceLog);
    emptyList(list);
    // Also for a null list, unlike its siblings; kept so on purpose.
    return KZFI_OK;
}

int CFiPluginBase::getAssociatedNodes(kfi_node*, kfi_node_list** list) {
    KZFI_TRACE_SCOPE(traceLog);
    return emptyList(list);
}

int CFiPluginBase::processProviderState(kfi_domain*, kfi_blob* state, kfi_op_providerstate op) {
    KZFI_TRACE_SCOPE(traceLog);
    if (state != nullptr && op == KZFI_PROVIDERSTATE_PRODUCE) {
        state->data = nullptr;
        state->size = 0;
    }
    return KZFI_OK;
}

// These four need the manager registered; that it is not tested for is part of the contract.

int CFiPluginBase::getLastError(kfi_msg_info** info) {
    KZFI_TRACE_SCOPE(traceLog);
    kfi_msg_info* last = errorManager->getLastError();
    if (info != nullptr) {
        *info = last;
    }
    return KZFI_OK;
}

int CFiPluginBase::delLastError(kfi_msg_info** info) {
    KZFI_TRACE_SCOPE(traceLog);
    errorManager->deleteLastError(info);
    return KZFI_OK;
}

int CFiPluginBase::getLocaleMessage(int*, kfi_msg_info* info, const char* locale, char** text) {
    KZFI_TRACE_SCOPE(traceLog);
    if (text != nullptr) {
        catalogManager->getLocalizedMessage(info, locale, text);
    }
    return KZFI_OK;
}

int CFiPluginBase::delLocaleMessage(char** text) {
    KZFI_TRACE_SCOPE(traceLog);
    catalogManager->deleteLocalizedMessage(text);
    return KZFI_OK;
}

} // namespace kzfi_pdk_4_4
