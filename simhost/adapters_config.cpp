#include <cstring>
#include <map>

#include "adapters.h"
#include "cficonfigparam.h"
#include "cfistringtool.h"

namespace kzfi_simhost {
namespace {

using namespace kzfi_pdk_4_4;

int modeOf(const Call& call) {
    static const std::map<std::string, int> modes = {{"get", KZFI_CONFIG_GET},
                                                     {"set", KZFI_CONFIG_SET},
                                                     {"clear", KZFI_CONFIG_CLEAR},
                                                     {"getparam", KZFI_CONFIG_GETPARAM},
                                                     {"set-again", KZFI_CONFIG_SET_AGAIN}};
    return modes.at(call.choice("mode", "getparam"));
}

bool isSet(int mode) {
    return mode == KZFI_CONFIG_SET || mode == KZFI_CONFIG_SET_AGAIN;
}

CFiConfigParamData dataOf(const std::string& key, const Json& value) {
    CFiConfigParamData data;
    data.key = key;
    if (value.is_array()) {
        data.valueList = value.get<std::vector<std::string>>();
    } else {
        data.value = value.get<std::string>();
    }
    return data;
}

std::string toXml(const Json& parameters) {
    CFiConfigParamDataList list;
    for (const auto& parameter : parameters.items()) {
        list.entries()[parameter.key()] = dataOf(parameter.key(), parameter.value());
    }
    list.updateXML();
    return list.getXML();
}

/// What a SET sends: the step's text, else its parameters, else those of the node.
Json textToSend(const Call& call, const kfi_domain* node, bool hasText, int mode) {
    if (hasText || !isSet(mode)) {
        return call.raw("text");
    }
    Json parameters = call.raw("parameters");
    const ScenarioNode* const described = call.host.nodes().description(node);
    if (parameters.is_null() && described != nullptr) {
        parameters = described->parameters;
    }
    return parameters.empty() ? Json() : Json(toXml(parameters));
}

/// A buffer of the framework's with text in it up to its first NUL, as it goes in and out of
/// config; null for null.
char* bufferOf(const Json& text) {
    if (text.is_null()) {
        return nullptr;
    }
    return CFiStringTool::tstrdup(tstring(text.get<std::string>().c_str()));
}

void giveBack(char* text) {
    if (text != nullptr) {
        kzfi_free_buf(text, std::strlen(text) + 1);
    }
}

Json valuesIn(const CFiConfigParamDataList& list) {
    Json values = Json::object();
    for (const auto& entry : list.entries()) {
        const CFiConfigParamData& data = entry.second;
        values[entry.first] = data.valueList.empty() ? Json(data.value) : Json(data.valueList);
    }
    return values;
}

Json defaultsIn(const CFiConfigParamInfoList& list) {
    Json values = Json::object();
    for (const auto& entry : list.entries()) {
        values[entry.first] = entry.second.defaultValue;
    }
    return values;
}

kfi_confspec requestFor(const std::string& list) {
    kfi_confspec spec = {};
    spec.first_selector = list == "1" ? 1 : 0;
    spec.second_selector = list == "0" ? 1 : 0;
    return spec;
}

Outcome callGlobalConfigInfoList(Call& call) {
    CFiConfigParamInfoList* const list = call.provider().globalConfigInfoList(
        call.choice("list", "0") == "1" ? 1 : 0, call.flag("second"));
    Outcome outcome;
    if (list == nullptr) {
        outcome.text = Json();
        return outcome;
    }
    outcome.text = textOf(list->getXML());
    outcome.values = defaultsIn(*list);
    return outcome;
}

Outcome callConfig(Call& call) {
    kfi_domain* const node = call.node();
    const int mode = modeOf(call);
    char* const sent = bufferOf(textToSend(call, node, call.has("text"), mode));
    kfi_confspec spec = requestFor(call.choice("list", "0"));
    spec.text = sent;
    Outcome outcome = answered(call.provider().config(node, mode, call.text("session"), &spec));
    outcome.text = textOf(spec.text);
    if (spec.text != nullptr && mode == KZFI_CONFIG_GETPARAM) {
        outcome.values = defaultsIn(CFiConfigParamInfoList(spec.text));
    } else if (spec.text != nullptr) {
        outcome.values = valuesIn(CFiConfigParamDataList(spec.text));
    }
    if (spec.text != sent) {
        giveBack(spec.text);
    }
    giveBack(sent);
    return outcome;
}

} // namespace

std::vector<Operation> configOperations() {
    using namespace fields;
    return {
        {3,
         "globalConfigInfoList",
         {choice("list", {"0", "1"}), flag("second")},
         callGlobalConfigInfoList},
        {11,
         "config",
         {choice("mode", {"get", "set", "clear", "getparam", "set-again"}), node("node"),
          choice("list", {"0", "1", "none"}), text("session"), text("text"),
          parameters("parameters")},
         callConfig},
    };
}

} // namespace kzfi_simhost
