#include "parameter_values.h"

#include <algorithm>
#include <cstdlib>

namespace kzfi_simhost {
namespace {

using namespace kzfi_pdk_4_4;

bool isText(const CFiConfigParamInfo& description) {
    return description.selectionList.empty() && description.dataType == FI_DATA_STRING;
}

Json otherNumber(const CFiConfigParamInfo& description) {
    const long usual = std::strtol(description.defaultValue.c_str(), nullptr, 10);
    const bool ranged = description.rangeMin != -1 || description.rangeMax != -1;
    if (!ranged) {
        return std::to_string(usual + 1);
    }
    const long other = usual != description.rangeMax ? description.rangeMax : description.rangeMin;
    return other != usual ? Json(std::to_string(other)) : Json();
}

Json otherChoice(const CFiConfigParamInfo& description) {
    const auto& choices = description.selectionList;
    const auto found = std::find_if(choices.begin(), choices.end(), [&](const auto& choice) {
        return choice != description.defaultValue;
    });
    return found != choices.end() ? Json(*found) : Json();
}

/// What the configuration says of the node, where it is not the default anyway.
Json configured(CheckContext& c, const std::string& node, const CFiConfigParamInfoList& known) {
    Json values = Json::object();
    for (const ScenarioNode& each : c.config().nodes) {
        for (const auto& entry : known.entries()) {
            const std::string& key = entry.first;
            if (each.name == node && each.parameters.contains(key) &&
                each.parameters[key] != entry.second.defaultValue) {
                values[key] = each.parameters[key];
            }
        }
    }
    return values;
}

Json made(const CFiConfigParamInfoList& known, bool texts) {
    Json values = Json::object();
    for (const auto& entry : known.entries()) {
        const bool fixed = entry.second.usageType == FI_USAGE_NO_MODIFY;
        const Json value = fixed ? Json() : otherValue(entry.second);
        if (!value.is_null() && isText(entry.second) == texts) {
            values[entry.first] = value;
        }
    }
    return values;
}

} // namespace

Json otherValue(const CFiConfigParamInfo& description) {
    if (!description.selectionList.empty()) {
        return otherChoice(description);
    }
    switch (description.dataType) {
    case FI_DATA_INT:
        return otherNumber(description);
    case FI_DATA_BOOLEAN:
        return description.defaultValue == "true" ? "false" : "true";
    case FI_DATA_STRING:
        return description.defaultValue + "x";
    default:
        return Json();
    }
}

ParameterValues otherValues(CheckContext& c, const std::string& node) {
    for (const char* const list : {"0", "1"}) {
        const Outcome told =
            c.call("config", {{"node", node}, {"mode", "getparam"}, {"list", list}});
        if (!told.text || !told.text->is_string()) {
            continue;
        }
        const CFiConfigParamInfoList known(told.text->get<std::string>().c_str());
        for (const Json& values :
             {configured(c, node, known), made(known, false), made(known, true)}) {
            if (!values.empty()) {
                return {list, values};
            }
        }
    }
    return {};
}

Json valuesOf(CheckContext& c, const std::string& node, const std::string& list) {
    return c.call("config", {{"node", node}, {"mode", "get"}, {"list", list}}).toJson();
}

std::optional<int> setValues(CheckContext& c, const std::string& node,
                             const ParameterValues& parameters) {
    return c
        .call("config", {{"node", node},
                         {"mode", "set"},
                         {"list", parameters.list},
                         {"parameters", parameters.values}})
        .status;
}

} // namespace kzfi_simhost
