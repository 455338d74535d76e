#include "answer_watch.h"

#include <algorithm>

#include "statuses.h"

namespace kzfi_simhost {
namespace {

using Findings = std::vector<Finding>;

void judgeStatus(const std::string& operation, int status, int offset, Findings& found) {
    const std::string answered = operation + " answered " + std::to_string(status);
    switch (kindOf(operation, status, offset)) {
    case StatusKind::NEGATIVE:
        found.push_back({true, answered + ": no status is negative"});
        break;
    case StatusKind::UNKNOWN:
        found.push_back({false, answered +
                                    ", which is neither one of the framework's statuses nor one of "
                                    "the provider's own (above its message index offset " +
                                    std::to_string(offset) + ")"});
        break;
    default:
        break;
    }
}

/// A router's import names the node itself, whatever came of it; and how each one went is told also
/// where not all went well.
bool isWrittenAnyway(const std::string& operation, const std::string& output, bool declined) {
    return operation == "importTreeNode" || (output == "statuses" && !declined);
}

/// After 4 nothing is written; after another failure nothing that would have to be freed or read.
void judgeOutputs(const std::string& operation, const ProbeAnswer& answer, Findings& found) {
    if (!answer.status || !isFailure(operation, *answer.status)) {
        return;
    }
    const bool declined = answer.status == KZFI_ERR_NOT_IMPLEMENTED;
    const std::string wrote =
        operation + " answered " + std::to_string(*answer.status) + " and wrote to its output '";
    for (const std::string& output : declined ? answer.written : answer.filled) {
        if (!isWrittenAnyway(operation, output, declined)) {
            found.push_back({true, wrote + output + "'"});
        }
    }
}

/// The outcomes of these tell of nodes, or have what was sent in them; the others' values are
/// outputs.
bool tellsMoreThanOutputs(const std::string& operation) {
    static const std::set<std::string> all = {
        "config",  "initNode",     "initAltNode",   "reAccessTmpObj", "reAccessAltNode",
        "isReady", "enableAccess", "disableAccess", "supportsFiType", "processProviderState"};
    return all.count(operation) != 0;
}

bool holdsSomething(const Json& value) {
    if (value.is_array()) {
        return std::any_of(value.begin(), value.end(), holdsSomething);
    }
    return !value.is_null() && value != Json(false) && value != Json(0) && value != Json("");
}

/// As far as an outcome shows it: what was set to null and 0 cannot be told from what was left
/// alone.
ProbeAnswer answerIn(const std::string& operation, const Outcome& outcome) {
    ProbeAnswer answer;
    answer.status = outcome.status;
    if (tellsMoreThanOutputs(operation)) {
        return answer;
    }
    for (const auto& value : outcome.values.items()) {
        if (holdsSomething(value.value())) {
            answer.filled.push_back(value.key());
        }
    }
    if (holdsSomething(outcome.text.value_or(Json()))) {
        answer.filled.emplace_back("text");
    }
    answer.written = answer.filled;
    return answer;
}

} // namespace

Findings AnswerWatch::look(const std::string& operation, const ProbeAnswer& answer, int offset) {
    Findings found;
    if (answer.status) {
        judgeStatus(operation, *answer.status, offset, found);
        judgeOutputs(operation, answer, found);
    }
    const std::lock_guard<std::mutex> guard(lock);
    const auto isKnown = [&](const Finding& each) { return !known.insert(each.text).second; };
    found.erase(std::remove_if(found.begin(), found.end(), isKnown), found.end());
    return found;
}

Findings AnswerWatch::look(const std::string& operation, const Outcome& outcome, int offset) {
    return look(operation, answerIn(operation, outcome), offset);
}

} // namespace kzfi_simhost
