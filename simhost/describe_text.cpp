#include <sstream>

#include "cfistringtool.h"
#include "describe.h"
#include "kzfi_framework.h"
#include "operations.h"
#include "report.h"
#include "text_tools.h"

namespace kzfi_simhost {
namespace {

using namespace kzfi_pdk_4_4;

const char* typeWord(FiConfigDataType type) {
    static const char* const words[] = {"string",   "int",          "boolean", "string_list",
                                        "int_list", "boolean_list", "unknown"};
    return words[type >= FI_DATA_STRING && type <= FI_DATA_UNKNOWN ? type : FI_DATA_UNKNOWN];
}

const char* usageWord(FiConfigUsageType usage) {
    static const char* const words[] = {"SELECT", "AUTO", "NO_MODIFY", "UNKNOWN"};
    return words[usage >= FI_USAGE_SELECT && usage <= FI_USAGE_UNKNOWN ? usage : FI_USAGE_UNKNOWN];
}

bool hasRange(const CFiConfigParamInfo& info) {
    return info.rangeMin != -1 || info.rangeMax != -1;
}

std::string limitsOf(const CFiConfigParamInfo& info) {
    std::string limits;
    if (hasRange(info)) {
        limits = std::to_string(info.rangeMin) + ".." + std::to_string(info.rangeMax);
    }
    for (const std::string& choice : info.selectionList) {
        limits += (limits.empty() ? "" : " | ") + choice;
    }
    return limits;
}

void writeParameters(std::ostream& out, const std::vector<CFiConfigParamInfo>& list, int index) {
    if (list.empty()) {
        return;
    }
    out << "\nparameters, list " << index << "\n  " << fitted("name", 24) << " "
        << fitted("type", 12) << " " << fitted("usage", 9) << " " << fitted("default", 16)
        << " limits\n";
    for (const CFiConfigParamInfo& info : list) {
        out << "  " << fitted(harmless(info.key), 24) << " " << fitted(typeWord(info.dataType), 12)
            << " " << fitted(usageWord(info.usageType), 9) << " "
            << fitted(harmless(info.defaultValue), 16) << " " << harmless(limitsOf(info)) << "\n";
    }
}

std::string answerOf(const Stage& stage) {
    if (!stage.outcome) {
        return stage.reason;
    }
    if (!stage.outcome->exception.empty()) {
        return "threw " + stage.outcome->exception;
    }
    if (!stage.outcome->status) {
        return "-";
    }
    const int status = *stage.outcome->status;
    return std::to_string(status) +
           (status == KZFI_ERR_NOT_IMPLEMENTED ? " (not implemented)" : "");
}

/// What came with the answer, in one line.
std::string detailOf(const Stage& stage) {
    if (!stage.outcome) {
        return {};
    }
    std::string detail;
    if (stage.outcome->text && stage.outcome->text->is_string()) {
        detail = oneLine(*stage.outcome->text);
    } else if (!stage.outcome->values.empty()) {
        detail = oneLine(stage.outcome->values);
    }
    return lengthOf(detail) > 60 ? fitted(detail, 60) : detail;
}

void writeOperation(std::ostream& out, const std::string& number, const std::string& name,
                    const std::string& answer, const std::string& detail) {
    out << "  " << std::string(3 - number.size(), ' ') << number << "  " << fitted(name, 24) << " "
        << (detail.empty() ? answer : fitted(answer, 20) + " " + detail) << "\n";
}

/// What a further call asks for: its title without the operation's name.
std::string furtherName(const Stage& stage) {
    return "  " + harmless(stage.title.substr(stage.operation.size() + 1));
}

void writeOperations(std::ostream& out, const Description& description) {
    out << "\noperations, each on a harmless call\n";
    for (const Operation& operation : operations()) {
        const std::string number = std::to_string(operation.number);
        const auto found = description.answers.find(operation.number);
        if (found == description.answers.end()) {
            writeOperation(out, number, operation.name, "not called", "");
            continue;
        }
        const std::vector<Stage>& stages = found->second;
        for (const Stage& stage : stages) {
            // Further calls are called by what they ask for.
            const bool first = &stage == &stages.front();
            writeOperation(out, first ? number : "", first ? operation.name : furtherName(stage),
                           harmless(answerOf(stage)), harmless(detailOf(stage)));
        }
    }
}

void writeLastWords(std::ostream& out, const LastWords& words) {
    out << "\n" << harmless(words.title) << ": " << harmless(words.reason) << "\n";
    writeExcerpt(out, LAST_TRACE, words.trace);
    writeExcerpt(out, LAST_OUTPUT, words.output);
}

Json parametersToJson(const std::vector<CFiConfigParamInfo>& list) {
    Json json = Json::array();
    for (const CFiConfigParamInfo& info : list) {
        Json entry = {{"name", info.key},
                      {"type", typeWord(info.dataType)},
                      {"usage", usageWord(info.usageType)},
                      {"default", info.defaultValue},
                      {"messageId", info.messageId},
                      {"shared", info.isSharedParam}};
        if (hasRange(info)) {
            entry["range"] = {info.rangeMin, info.rangeMax};
        }
        if (!info.selectionList.empty()) {
            entry["choices"] = info.selectionList;
        }
        json.push_back(entry);
    }
    return json;
}

Json callToJson(const Stage& stage) {
    Json json = {{"result", stage.outcome ? "answered" : wordFor(stage.result)}};
    if (stage.outcome) {
        json["answer"] = stage.outcome->toJson();
    } else {
        json["reason"] = stage.reason;
    }
    return json;
}

Json operationToJson(const Description& description, const Operation& operation) {
    Json json = {{"number", operation.number}, {"name", operation.name}};
    const auto found = description.answers.find(operation.number);
    if (found == description.answers.end()) {
        json["result"] = "not called";
        return json;
    }
    const std::vector<Stage>& stages = found->second;
    json.update(callToJson(stages.front()));
    for (std::size_t i = 1; i < stages.size(); ++i) {
        Json further = {{"title", stages[i].title}};
        further.update(callToJson(stages[i]));
        json["further"].push_back(further);
    }
    return json;
}

Json toJson(const LastWords& words) {
    return {{"title", words.title},
            {"reason", words.reason},
            {"lastTrace", words.trace},
            {"lastOutput", words.output}};
}

} // namespace

std::string toText(const Description& description) {
    const RunReport& report = description.report;
    std::ostringstream out;
    out << "provider  " << harmless(report.provider) << "\n"
        << "name      " << harmless(report.name) << "\n"
        << "FIM name  " << harmless(report.fimName.empty() ? "(none)" : report.fimName) << "\n"
        << "root      " << harmless(report.root) << "\n";
    writeParameters(out, description.parameters[0], 0);
    writeParameters(out, description.parameters[1], 1);
    writeOperations(out, description);
    for (const LastWords& words : description.lastWords) {
        writeLastWords(out, words);
    }
    if (!report.privateUsr.empty()) {
        out << "\n/usr      not private, so the provider could change /usr/tarnex: "
            << report.privateUsr << "\n";
    }
    return out.str();
}

Json toJson(const Description& description) {
    const RunReport& report = description.report;
    Json json = {{"provider", report.provider},
                 {"name", report.name},
                 {"fimName", report.fimName},
                 {"root", report.root},
                 {"privateUsr", report.privateUsr.empty()},
                 {"complete", description.complete()},
                 {"parameters",
                  {parametersToJson(description.parameters[0]),
                   parametersToJson(description.parameters[1])}},
                 {"operations", Json::array()}};
    if (!report.privateUsr.empty()) {
        json["noPrivateUsrReason"] = report.privateUsr;
    }
    for (const Operation& operation : operations()) {
        json["operations"].push_back(operationToJson(description, operation));
    }
    for (const LastWords& words : description.lastWords) {
        json["lastWords"].push_back(toJson(words));
    }
    return json;
}

} // namespace kzfi_simhost
