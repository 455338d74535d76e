// Configuration requests and error texts.
#include "cfipluginbase.h"
#include "cfistringtool.h"
#include "diag/tracing.h"
#include "frame/nodedata.h"
#include "util/text.h"

namespace kzfi_pdk_4_4 {
namespace {

/// Whether the node is the first of the nodes that its owner holds.
bool leadsItsOwner(const kfi_domain& node) {
    return node.owner != nullptr && node.owner->count != 0 && node.owner->nodes[0] == &node;
}

/// A copy of text for the framework.
char* copyOf(const char* text) {
    return CFiStringTool::tstrdup(tstring(text));
}

/// One configuration request on one node.
class ConfigRequest {
  public:
    ConfigRequest(const CFiTraceLogPtr& log, CFiPrivateData& record, kfi_confspec& request)
        : traceLog(log),
          data(record),
          spec(request),
          index(request.first_selector != 0 ? 1 : 0) {}

    int listIndex() const { return index; }

    int get(CFiConfigParamInfoList& globalDescriptions) {
        spec.text = valuesText(globalDescriptions);
        traceTo(traceLog, TRACE_ERROR, "GET: Mode[%d]: %s\n", index, orEmpty(spec.text));
        return KZFI_OK;
    }

    int set(CFiConfigParamInfoList& globalDescriptions) {
        if (spec.text == nullptr) {
            traceTo(traceLog, TRACE_ERROR, "ERROR: SET: Mode[%d], Invalid config string.\n", index);
            return KZFI_OK;
        }
        const int status = data.configDataList(index)->parse(spec.text);
        if (status != KZFI_OK) {
            traceTo(traceLog, TRACE_ERROR, "ERROR: SET: Mode[%d]: Invalid XML [%s]\n", index,
                    spec.text);
            spec.text = nullptr;
            return status;
        }
        const bool ownDescriptions = data.hasConfigInfoList(index);
        data.addDefaultConfigParamsToDataList(index,
                                              ownDescriptions ? nullptr : &globalDescriptions);
        spec.text = copyOf(data.configDataList(index)->getXML());
        return KZFI_OK;
    }

    int clear() {
        if (data.hasConfigDataList(index)) {
            data.configDataList(index)->clear();
        }
        return KZFI_OK;
    }

    int getParam(CFiPluginBase& plugin, bool second) {
        CFiConfigParamInfoList* descriptions = nullptr;
        if (data.hasConfigInfoList(index) && !data.configInfoList(index)->empty()) {
            descriptions = data.configInfoList(index);
        } else {
            descriptions = plugin.globalConfigInfoList(index, second);
        }
        const bool none = descriptions == nullptr || descriptions->empty();
        spec.text = none ? nullptr : copyOf(descriptions->getXML());
        traceTo(traceLog, TRACE_INFO, "GETPARAM: Mode[%d]: %s\n", index, orEmpty(spec.text));
        return KZFI_OK;
    }

  private:
    /// The node's values; without any, the defaults. Only those of its own descriptions are kept as
    /// its values, those of the plug-in are not, on purpose.
    char* valuesText(CFiConfigParamInfoList& globalDescriptions) {
        if (!data.hasConfigDataList(index)) {
            if (!data.hasConfigInfoList(index)) {
                return copyOf(globalDescriptions.getDefaultDataList().getXML());
            }
            if (data.configInfoList(index)->empty()) {
                return nullptr;
            }
            *data.configDataList(index) = data.configInfoList(index)->getDefaultDataList();
        } else if (data.configDataList(index)->empty()) {
            return nullptr;
        }
        return copyOf(data.configDataList(index)->getXML());
    }

    const CFiTraceLogPtr& traceLog;
    CFiPrivateData& data;
    kfi_confspec& spec;
    const int index;
};

} // namespace

int CFiPluginBase::config(kfi_domain* node, int mode, char* sessionId, kfi_confspec* spec) {
    KZFI_TRACE_SCOPE(traceLog);
    const NodeData nodeData(privateDataManager);
    const CFiPrivateDataPtr data = nodeData.find(node);
    if (!data) {
        return KZFI_ERR_INVALID;
    }
    if (spec == nullptr) {
        return KZFI_OK;
    }
    traceTo(traceLog, TRACE_INFO, " config str %s\n", orEmpty(spec->text));
    data->setSessionId(sessionId);
    if (spec->first_selector == 0 && spec->second_selector == 0) {
        spec->text = nullptr;
        return KZFI_OK;
    }

    ConfigRequest request(traceLog, *data, *spec);
    // GET and SET look at the plug-in's own lists; only GETPARAM asks the virtual operation.
    CFiConfigParamInfoList& globalDescriptions = globalConfigInfo[0][request.listIndex()];
    switch (mode) {
    case KZFI_CONFIG_GET:
        return request.get(globalDescriptions);
    case KZFI_CONFIG_SET:
    case KZFI_CONFIG_SET_AGAIN:
        return request.set(globalDescriptions);
    case KZFI_CONFIG_CLEAR:
        return request.clear();
    case KZFI_CONFIG_GETPARAM:
        return request.getParam(*this, leadsItsOwner(*node));
    default:
        return KZFI_OK;
    }
}

int CFiPluginBase::errMsg(int code, const char** text) {
    KZFI_TRACE_SCOPE(traceLog);
    const CFiError error(code, "", "", 0, "");
    const std::string key =
        error.getMessageId(CFiStringTool::tstr2str(providerName), messageIndexOffset);
    char* message = nullptr;
    catalogManager->getLocalizedMessage(key.c_str(), "native", &message);
    if (text != nullptr) {
        *text = message;
    }
    return KZFI_OK;
}

} // namespace kzfi_pdk_4_4
