#include "run.h"

#include <chrono>
#include <filesystem>
#include <map>
#include <sstream>

#include "child_run.h"
#include "drive.h"
#include "report.h"

namespace kzfi_simhost {
namespace {

using Clock = std::chrono::steady_clock;

Result resultOf(ChildEnd::Kind kind) {
    switch (kind) {
    case ChildEnd::KILLED:
        return Result::CRASHED;
    case ChildEnd::HUNG:
        return Result::HUNG;
    default:
        return Result::EXITED;
    }
}

Stage stageOf(const Step& step) {
    Stage stage;
    stage.title = titleOf(step);
    stage.operation = step.operation;
    stage.line = step.line;
    stage.deadline = step.deadline;
    stage.watch = step.watch;
    stage.expect = step.expect;
    return stage;
}

Stage ownStage(const Scenario& scenario, const std::string& name) {
    Step step;
    step.operation = name;
    step.deadline = scenario.deadline;
    return stageOf(step);
}

class Runner {
  public:
    Runner(const Scenario& newScenario, const HostRoot& newRoot, const StageListener& newListener,
           const ProgressListener& newProgress)
        : scenario(newScenario),
          root(newRoot),
          listener(newListener),
          progress(newProgress) {
        report.scenario = scenario.file;
        report.provider = scenario.provider;
        report.root = root.path();
        report.stages.push_back(ownStage(scenario, "load"));
        report.stages.push_back(ownStage(scenario, "init"));
        for (const Step& step : scenario.steps) {
            report.stages.push_back(stageOf(step));
        }
        report.stages.push_back(ownStage(scenario, "fini"));
        report.stages.push_back(ownStage(scenario, "unload"));
    }

    RunReport run() {
        refuseHiddenProvider();
        placeFiles();
        std::filesystem::remove(root.outputFile());
        const std::map<std::string, std::uintmax_t> tracesBefore = root.traceSizes();
        const TickListener tick = [&] { tell(); };
        const ChildEnd end =
            runInChild([&](const EventWriter& events) { drive(scenario, root, events); },
                       [&](const Json& event) { return hear(event); }, scenario.deadline,
                       root.outputFile(), progress ? tick : nullptr);
        if (!refusal.empty()) {
            throw CannotRun(refusal);
        }
        report.privateUsr = end.privateUsr;
        findFiles(tracesBefore);
        if (end.kind != ChildEnd::DONE) {
            blame(end);
        }
        for (const Stage& stage : report.stages) {
            if (stage.result == Result::NOT_RUN) {
                listener(stage);
            }
        }
        return report;
    }

  private:
    /// The provider's process sees an empty folder there.
    void refuseHiddenProvider() const {
        std::error_code ignored;
        const std::string path = std::filesystem::weakly_canonical(scenario.provider, ignored);
        if (path.rfind("/usr/tarnex/", 0) == 0) {
            throw CannotRun(at(scenario, scenario.providerLine,
                               "the provider " + scenario.provider +
                                   " lies below /usr/tarnex, which is hidden during a run; "
                                   "copy it elsewhere"));
        }
    }

    void placeFiles() const {
        for (const ScenarioFile& file : scenario.files) {
            try {
                root.placeFile(file.path, file.content);
            } catch (const CannotRun& e) {
                throw CannotRun(at(scenario, file.line, e.what()));
            }
        }
    }

    /// That the stage which has begun and has no result yet goes on.
    void tell() const {
        const Stage& stage = report.stages[current];
        if (begun && stage.result == Result::NOT_RUN) {
            const std::chrono::duration<double> taken = Clock::now() - *begun;
            progress(stage, taken.count());
        }
    }

    double hear(const Json& event) {
        if (event.contains("begin")) {
            current = event["begin"].get<std::size_t>();
            begun = Clock::now();
            return report.stages.at(current).deadline;
        }
        if (event.contains("answer")) {
            take(report.stages.at(event["answer"].get<std::size_t>()), event);
        } else if (event.contains("provider")) {
            report.name = event["provider"].get<std::string>();
            report.fimName = event["fimName"].get<std::string>();
        } else if (event.contains("refused")) {
            refusal = event["refused"].get<std::string>();
        } else if (event.contains("tree")) {
            report.tree = event["tree"];
        }
        return scenario.deadline;
    }

    void take(Stage& stage, const Json& event) {
        stage.seconds = event["seconds"].get<double>();
        stage.outcome = Outcome::fromJson(event["outcome"]);
        stage.mismatches = compare(stage.expect, *stage.outcome);
        stage.reason = stage.outcome->notCalled;
        if (&stage == &report.stages.back()) {
            judgeUnloading(stage);
        }
        stage.result = stage.mismatches.empty() ? Result::PASSED : Result::FAILED;
        listener(stage);
    }

    static void judgeUnloading(Stage& stage) {
        const Json& values = stage.outcome->values;
        const int references = values.value("references", 0);
        if (references != 0) {
            stage.mismatches.push_back(
                {"references to the provider", "0", std::to_string(references)});
        } else if (!values.value("unloaded", false)) {
            stage.note = "the dynamic linker keeps the library; built with -fno-gnu-unique and "
                         "without other users it can be unloaded";
        }
    }

    /// A provider that did not come as far as its name may have traced all the same.
    std::string traceName() const {
        const bool known = !report.name.empty();
        return scenario.trace.file.empty() && known ? report.name + ".log" : scenario.trace.file;
    }

    void findFiles(const std::map<std::string, std::uintmax_t>& tracesBefore) {
        report.traceFile = root.traceFile(traceName());
        const auto before = tracesBefore.find(report.traceFile);
        report.traceStart = before != tracesBefore.end() ? before->second : 0;
        std::error_code error;
        if (std::filesystem::file_size(root.outputFile(), error) > 0 && !error) {
            report.outputFile = root.outputFile();
        }
    }

    /// Finds the stage in which the child ended; between two of them it is the next one.
    void blame(const ChildEnd& end) {
        std::size_t index = current;
        while (report.stages[index].result != Result::NOT_RUN && index + 1 < report.stages.size()) {
            ++index;
        }
        Stage& stage = report.stages[index];
        report.lastTrace = lastLines(report.traceFile, LAST_LINES, report.traceStart);
        report.lastOutput = lastLines(report.outputFile, LAST_LINES);
        if (index == LOAD_STAGE) {
            throw CannotRun(at(scenario, scenario.providerLine,
                               "the provider " + scenario.provider +
                                   " cannot be loaded: its process " + end.inWords() +
                                   lastWords()));
        }
        stage.result = resultOf(end.kind);
        stage.reason = "the provider's process " + end.inWords();
        if (end.kind == ChildEnd::HUNG) {
            stage.seconds = stage.deadline;
        }
        listener(stage);
    }

    /// What the provider said before it ended, as lines behind a complaint.
    std::string lastWords() const {
        std::ostringstream words;
        writeExcerpt(words, LAST_TRACE, report.lastTrace);
        writeExcerpt(words, LAST_OUTPUT, report.lastOutput);
        const std::string text = words.str();
        return text.substr(0, text.find_last_not_of('\n') + 1);
    }

    const Scenario& scenario;
    const HostRoot& root;
    const StageListener& listener;
    const ProgressListener& progress;
    RunReport report;
    std::size_t current = LOAD_STAGE;
    std::optional<Clock::time_point> begun; ///< the current stage
    std::string refusal;
};

} // namespace

const char* wordFor(Result result) {
    switch (result) {
    case Result::NOT_RUN:
        return "not run";
    case Result::PASSED:
        return "passed";
    case Result::FAILED:
        return "failed";
    case Result::CRASHED:
        return "crashed";
    case Result::EXITED:
        return "exited";
    case Result::HUNG:
        return "hung";
    }
    return "";
}

bool isEnd(Result result) {
    return result == Result::CRASHED || result == Result::EXITED || result == Result::HUNG;
}

bool RunReport::passed() const {
    return count(Result::PASSED) == stages.size();
}

std::size_t RunReport::count(Result result) const {
    std::size_t found = 0;
    for (const Stage& stage : stages) {
        found += stage.result == result ? 1 : 0;
    }
    return found;
}

double RunReport::seconds() const {
    double sum = 0;
    for (const Stage& stage : stages) {
        sum += stage.seconds;
    }
    return sum;
}

RunReport runScenario(const Scenario& scenario, const HostRoot& root, const StageListener& listener,
                      const ProgressListener& progress) {
    return Runner(scenario, root, listener, progress).run();
}

} // namespace kzfi_simhost
