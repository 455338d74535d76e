#include "cfiprivatedata.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <new>

#include "cfistringtool.h"
#include "diag/tracing.h"

namespace kzfi_pdk_4_4 {
namespace {

using ValueMap = std::map<std::string, CFiConfigParamData>;

std::vector<std::string> namesOf(const ValueMap& values) {
    std::vector<std::string> names;
    names.reserve(values.size());
    for (const auto& entry : values) {
        names.push_back(entry.first);
    }
    return names;
}

bool anyContains(const std::vector<std::string>& names, const std::string& part) {
    return std::any_of(names.begin(), names.end(), [&part](const std::string& name) {
        return name.find(part) != std::string::npos;
    });
}

CFiConfigParamData singleValue(const std::string& key, const std::string& value) {
    CFiConfigParamData data;
    data.key = key;
    data.value = value;
    return data;
}

} // namespace

CFiPrivateData::~CFiPrivateData() = default;

CFiPrivateDataFactory::~CFiPrivateDataFactory() = default;

CFiPrivateDataManager::~CFiPrivateDataManager() = default;

bool CFiPrivateData::hasConfigInfoList(int mode) {
    return configInfoLists[mode] != nullptr;
}

bool CFiPrivateData::hasConfigDataList(int mode) {
    return configDataLists[mode] != nullptr;
}

void CFiPrivateData::addDefaultConfigParamsToDataList(int mode, CFiConfigParamInfoList* infoList) {
    KZFI_TRACE_SCOPE(traceLog);
    CFiConfigParamInfoList* descriptions = infoList != nullptr ? infoList : configInfoList(mode);
    const CFiConfigParamDataList defaults = descriptions->getDefaultDataList();
    if (defaults.empty()) {
        return;
    }
    CFiConfigParamDataList& values = *configDataList(mode);
    // Taken once: a default that is added below hides no later one.
    const std::vector<std::string> existing = namesOf(values.entries());
    if (existing.empty()) {
        values = defaults;
        return;
    }
    bool added = false;
    for (const auto& entry : defaults.entries()) {
        // A part of a longer name hides the default too, on purpose.
        if (!anyContains(existing, entry.first)) {
            values.entries()[entry.first] = singleValue(entry.first, entry.second.value);
            added = true;
        }
    }
    if (added) {
        values.updateXML();
    }
}

CFiConfigParamInfoList* CFiPrivateData::configInfoList(int mode) {
    if (!configInfoLists[mode]) {
        configInfoLists[mode] = std::make_unique<CFiConfigParamInfoList>();
    }
    return configInfoLists[mode].get();
}

CFiConfigParamDataList* CFiPrivateData::configDataList(int mode) {
    if (!configDataLists[mode]) {
        configDataLists[mode] = std::make_unique<CFiConfigParamDataList>();
    }
    return configDataLists[mode].get();
}

void CFiPrivateData::setIntent(kfi_intent newIntent) {
    intent = newIntent;
}

kfi_intent CFiPrivateData::getIntent() {
    return intent;
}

void CFiPrivateData::setSplitType(const char* type) {
    splitType = type;
}

std::string CFiPrivateData::getSplitType() {
    return splitType;
}

void CFiPrivateData::setSessionId(const char* id) {
    if (id != nullptr) {
        sessionId = id;
    }
}

std::string CFiPrivateData::getSessionId() {
    return sessionId;
}

std::vector<tstring> CFiPrivateData::getHostList() {
    return hostList;
}

void CFiPrivateData::setHostList(kfi_host_infn* list) {
    for (const kfi_host_infn* host = list; host != nullptr; host = host->next) {
        if (host->name != nullptr) {
            hostList.push_back(tstring(host->name));
        }
    }
}

bool CFiPrivateData::getTransportable() {
    return transportable;
}

void CFiPrivateData::setTransportable(bool isTransportable) {
    transportable = isTransportable;
}

int CFiPrivateData::setNodeState(kfi_blob*) {
    return KZFI_OK;
}

int CFiPrivateData::getNodeState(kfi_blob* blob) {
    std::string text;
    text.append("<NODE_NAME>").append(getObjName()).append("</NODE_NAME>\n");
    text.append("<IS_ALT_NODE>").append(CFiStringTool::bool2str(isAltNode));
    text.append("</IS_ALT_NODE>\n");
    text.append("<SESSION_ID>").append(sessionId).append("</SESSION_ID>\n");

    const std::size_t size = text.size() + 1;
    void* buffer = kzfi_alloc_buf(size);
    if (buffer == nullptr) {
        throw std::bad_alloc();
    }
    std::memcpy(buffer, text.c_str(), size);
    blob->size = size;
    blob->data = buffer;
    blob->flag = 1;
    return KZFI_OK;
}

char* CFiPrivateData::getObjName() {
    return object->name;
}

void CFiPrivateData::addSubObject(kzfi_objid* subObject) {
    subObjects.push_back(subObject);
}

kzfi_objid** CFiPrivateData::getSubObjectList() {
    return subObjects.empty() ? nullptr : subObjects.data();
}

std::size_t CFiPrivateData::getSubObjectListLength() {
    return subObjects.size();
}

void CFiPrivateData::setIsAltNode(bool isAlternate) {
    isAltNode = isAlternate;
}

bool CFiPrivateData::getIsAltNode() {
    return isAltNode;
}

std::string CFiPrivateData::getConfiguredTarget() {
    return configuredTarget;
}

std::vector<std::string> CFiPrivateData::getTargets() {
    return targets;
}

void CFiPrivateData::addTarget(std::string target) {
    targets.push_back(std::move(target));
}

void CFiPrivateData::setConfiguredTarget(std::string& target) {
    configuredTarget = target;
}

} // namespace kzfi_pdk_4_4
