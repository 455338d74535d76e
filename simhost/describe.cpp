#include "describe.h"

#include <algorithm>

#include "drive.h"
#include "operations.h"

namespace kzfi_simhost {
namespace {

using namespace kzfi_pdk_4_4;

const char* const NODE = "node1";

/// Operations that a run calls by itself, or that take away what others need.
bool hasItsOwnPlace(const std::string& operation) {
    return operation == "init" || operation == "fini" || operation == "deInitNode";
}

/// What has to be said beside what a call has anyway: a list that is left out is a null pointer.
Json harmlessArguments(const Operation& operation, const std::string& node) {
    const bool takesList = operation.name == "enableAccess" || operation.name == "disableAccess";
    return takesList ? Json({{"nodes", {node}}}) : Json::object();
}

Step* findStep(std::vector<Step>& steps, const std::string& operation) {
    for (Step& step : steps) {
        if (step.operation == operation) {
            return &step;
        }
    }
    return nullptr;
}

int numberOf(const std::string& operation) {
    const Operation* const found = findOperation(operation);
    return found != nullptr ? found->number : 0;
}

class Describer {
  public:
    Describer(const std::string& path, const HostRoot& newRoot, double deadline)
        : root(newRoot),
          all(harmlessSteps(NODE, deadline)) {
        scenario.provider = path;
        scenario.deadline = deadline;
        scenario.nodes.emplace_back().name = NODE;
    }

    Description describe() {
        while (next < all.size()) {
            ask();
        }
        return description;
    }

  private:
    bool answered(const std::string& operation) const {
        const auto found = description.answers.find(numberOf(operation));
        return found != description.answers.end() && found->second.front().outcome;
    }

    /// Makes the calls that are left, as far as the provider goes along.
    void ask() {
        const std::size_t first = next;
        scenario.steps.assign(all.begin() + static_cast<std::ptrdiff_t>(first), all.end());
        // A new process must know the node again.
        const bool again = answered("initNode");
        if (again) {
            scenario.steps.insert(scenario.steps.begin(), *findStep(all, "initNode"));
        }
        description.report = runScenario(scenario, root, [](const Stage&) {});
        const std::vector<Stage>& stages = description.report.stages;
        keepFirst(stages[INIT_STAGE]);
        keepFirst(stages[finiStage(scenario)]);
        keepLastWords();
        const std::size_t offset = FIRST_STEP_STAGE + (again ? 1 : 0);
        while (next < all.size() && stages[offset + next - first].result != Result::NOT_RUN) {
            keep(stages[offset + next - first]);
            takeParameters(all[next], stages[offset + next - first]);
            ++next;
        }
        if (next == first) {
            next = all.size(); // It does not come as far as the first call any more.
        }
    }

    void keep(const Stage& stage) {
        if (stage.result != Result::NOT_RUN) {
            description.answers[numberOf(stage.operation)].push_back(stage);
        }
    }

    /// What every process goes through: the first time counts.
    void keepFirst(const Stage& stage) {
        if (description.answers.count(numberOf(stage.operation)) == 0) {
            keep(stage);
        }
    }

    void keepLastWords() {
        const RunReport& report = description.report;
        for (const Stage& stage : report.stages) {
            if (isEnd(stage.result)) {
                description.lastWords.push_back(
                    {stage.title, stage.reason, report.lastTrace, report.lastOutput});
            }
        }
    }

    /// What the framework would be told goes before what the provider has in store.
    void takeParameters(const Step& step, const Stage& stage) {
        if (!stage.outcome || !stage.outcome->text || !stage.outcome->text->is_string()) {
            return;
        }
        std::vector<CFiConfigParamInfo>& list =
            description.parameters[step.arguments.value("list", "0") == "1" ? 1 : 0];
        if (step.operation != "config" && step.operation != "globalConfigInfoList") {
            return;
        }
        const CFiConfigParamInfoList told(stage.outcome->text->get<std::string>().c_str());
        if (!told.empty()) {
            list.clear();
        }
        for (const auto& entry : told.entries()) {
            list.push_back(entry.second);
        }
    }

    const HostRoot& root;
    std::vector<Step> all;
    std::size_t next = 0;
    Scenario scenario;
    Description description;
};

} // namespace

std::vector<Step> harmlessSteps(const std::string& node, double deadline) {
    std::vector<Step> steps;
    const auto add = [&](const std::string& operation, const Json& arguments) {
        Step& step = steps.emplace_back();
        step.operation = operation;
        step.arguments = arguments;
        step.deadline = deadline;
    };
    for (const Operation& operation : operations()) {
        if (operation.call != nullptr && !hasItsOwnPlace(operation.name)) {
            add(operation.name, harmlessArguments(operation, node));
        }
    }
    add("globalConfigInfoList", {{"list", "1"}});
    add("config", {{"mode", "getparam"}, {"list", "1"}});
    add("deInitNode", Json::object());
    return steps;
}

bool Description::complete() const {
    for (const Operation& operation : operations()) {
        const auto found = answers.find(operation.number);
        const auto isAnswer = [](const Stage& stage) {
            return stage.outcome && stage.outcome->exception.empty();
        };
        const bool answered = found != answers.end() &&
                              std::all_of(found->second.begin(), found->second.end(), isAnswer);
        if (operation.call != nullptr && !answered) {
            return false;
        }
    }
    return true;
}

Description describeProvider(const std::string& path, const HostRoot& root, double deadline) {
    return Describer(path, root, deadline).describe();
}

} // namespace kzfi_simhost
