#include "check_run.h"

#include <fnmatch.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "child_run.h"
#include "context.h"
#include "stacks.h"

namespace kzfi_simhost {
namespace {

using Clock = std::chrono::steady_clock;

/// How far the provider comes without any check.
struct Standing {
    Needs reached = Needs::NOTHING;
    std::string reason; ///< why no further
};

void worsen(Verdict& verdict, Verdict by) {
    verdict = std::max(verdict, by);
}

/// Runs one check in a child and listens to it.
class OneCheck {
  public:
    OneCheck(const Check& newCheck, const Scenario& newScenario, const HostRoot& newRoot)
        : scenario(newScenario),
          root(newRoot) {
        result.check = &newCheck;
    }

    CheckResult run(std::string& privateUsr) {
        place();
        const auto started = Clock::now();
        const ChildEnd end = runInChild(
            [&](const EventWriter& events) { work(events); },
            [&](const Json& event) { return hear(event); }, scenario.deadline, root.outputFile(),
            nullptr, [&](int process) { result.stacks = takeStacks(process, stackFile()); });
        const std::chrono::duration<double> taken = Clock::now() - started;
        result.seconds = taken.count();
        privateUsr = end.privateUsr;
        if (!refusal.empty()) {
            throw CannotRun(refusal);
        }
        judge(end);
        findFiles();
        return result;
    }

  private:
    std::string stackFile() const { return root.path() + "/stacks.txt"; }

    void place() const {
        for (const ScenarioFile& file : scenario.files) {
            try {
                root.placeFile(file.path, file.content);
            } catch (const CannotRun& e) {
                throw CannotRun(at(scenario, file.line, e.what()));
            }
        }
        std::filesystem::remove(root.outputFile());
    }

    // ---- In the child

    void work(const EventWriter& events) const {
        prepareStacks(stackFile());
        try {
            CheckContext context(scenario, root, events);
            try {
                result.check->run(context);
            } catch (const CheckIsOver&) {
            }
            context.end();
        } catch (const CannotRun& e) {
            events.send({{"refused", e.what()}});
        }
    }

    // ---- In the command

    double hear(const Json& event) {
        if (event.contains("finding")) {
            hearFinding(event);
        } else if (event.contains("more")) {
            ++more;
            worsenBy(event["more"].get<std::string>());
        } else if (event.contains("skip")) {
            result.skipped = static_cast<SkipReason>(event["skip"].get<int>());
            result.detail = event["detail"].get<std::string>();
        } else if (event.contains("exception")) {
            hearException(event["exception"].get<std::string>());
        } else if (event.contains("doing")) {
            result.doing = event["doing"].get<std::string>();
        } else if (event.contains("traceName")) {
            traceName = event["traceName"].get<std::string>();
        } else if (event.contains("reached")) {
            result.reached = static_cast<Needs>(event["reached"].get<int>());
        } else if (event.contains("refused")) {
            refusal = event["refused"].get<std::string>();
        }
        return scenario.deadline;
    }

    void worsenBy(const std::string& severity) {
        worsen(result.verdict, severity == "fail" ? Verdict::FAIL : Verdict::WARN);
    }

    void hearFinding(const Json& event) {
        const std::string severity = event["severity"].get<std::string>();
        result.findings.push_back({severity == "fail", event["finding"].get<std::string>(),
                                   event["trace"].get<std::vector<std::string>>()});
        worsenBy(severity);
    }

    /// The first one counts.
    void hearException(const std::string& text) {
        if (!result.exceptionType.empty()) {
            return;
        }
        const std::size_t colon = text.find(": ");
        result.exceptionType = text.substr(0, colon);
        result.exceptionText = colon == std::string::npos ? "" : text.substr(colon + 2);
        result.detail = "in " + result.doing;
        worsen(result.verdict, Verdict::EXCEPTION);
    }

    /// An end in the middle stands over findings, and these over a skip.
    void judge(const ChildEnd& end) {
        if (end.kind == ChildEnd::DONE) {
            if (result.verdict == Verdict::PASS && result.skipped) {
                result.verdict = Verdict::SKIP;
            }
        } else {
            result.verdict = end.kind == ChildEnd::KILLED ? Verdict::CRASH
                             : end.kind == ChildEnd::HUNG ? Verdict::HANG
                                                          : Verdict::EXIT;
            result.detail = "the provider's process " + end.inWords() + " in " + result.doing;
        }
        if (more > 0) {
            result.findings.push_back({false, "and " + std::to_string(more) + " more", {}});
        }
    }

    void findFiles() {
        if (!traceName.empty()) {
            result.traceFile = root.traceFile(traceName);
        }
        std::error_code error;
        if (std::filesystem::file_size(root.outputFile(), error) > 0 && !error) {
            result.outputFile = root.outputFile();
        }
        if (result.verdict != Verdict::PASS && result.verdict != Verdict::SKIP) {
            result.lastTrace = lastLines(result.traceFile, LAST_LINES);
        }
    }

    const Scenario& scenario;
    const HostRoot& root;
    CheckResult result;
    std::size_t more = 0;
    std::string traceName;
    std::string refusal;
};

// ---- Before the checks: how far the provider comes ----

void tryToStart(CheckContext& context) {
    context.start();
}

std::string firstWords(const CheckResult& result) {
    if (result.verdict == Verdict::EXCEPTION) {
        return result.exceptionType + " " + result.detail;
    }
    for (const FoundLine& line : result.findings) {
        if (line.fails) {
            return line.text;
        }
    }
    return result.detail;
}

class CheckRunner {
  public:
    CheckRunner(const Scenario& newScenario, const HostRoot& newRoot)
        : scenario(newScenario),
          root(newRoot) {
        report.provider = scenario.provider;
        report.root = root.path();
        report.seed = scenario.seed;
        standing = standingOf();
        if (standing.reached < Needs::PROVIDER) {
            report.unusable = standing.reason;
        }
    }

    CheckReport run(const std::vector<const Check*>& selected, const CheckListener& listener) {
        for (std::size_t i = 0; i < selected.size(); ++i) {
            listener.begin(*selected[i], i, selected.size());
            report.results.push_back(resultOf(*selected[i]));
            listener.end(report.results.back());
        }
        return report;
    }

  private:
    CheckResult runOne(const Check& check) {
        const HostRoot own(root.path() + "/" + check.name);
        return OneCheck(check, scenario, own).run(report.privateUsr);
    }

    /// What the watch finds here is left to the checks.
    Standing standingOf() {
        static const Check start = {"start", "", "", Needs::NOTHING, tryToStart};
        const CheckResult result = runOne(start);
        return {result.reached, firstWords(result)};
    }

    CheckResult resultOf(const Check& check) {
        if (check.needs <= standing.reached) {
            return runOne(check);
        }
        CheckResult result;
        result.check = &check;
        result.verdict = Verdict::SKIP;
        result.skipped = SkipReason::UNUSABLE;
        result.detail = standing.reason;
        return result;
    }

    const Scenario& scenario;
    const HostRoot& root;
    CheckReport report;
    Standing standing;
};

} // namespace

bool CheckReport::isGreen() const {
    return std::all_of(results.begin(), results.end(), [](const CheckResult& result) {
        return kzfi_simhost::isGreen(result.verdict);
    });
}

std::size_t CheckReport::count(Verdict verdict) const {
    return static_cast<std::size_t>(
        std::count_if(results.begin(), results.end(),
                      [=](const CheckResult& result) { return result.verdict == verdict; }));
}

double CheckReport::seconds() const {
    double sum = 0;
    for (const CheckResult& result : results) {
        sum += result.seconds;
    }
    return sum;
}

std::vector<const Check*> checksLike(const std::string& pattern) {
    std::vector<const Check*> found;
    for (const Check& check : checks()) {
        if (pattern.empty() || fnmatch(pattern.c_str(), check.name.c_str(), 0) == 0) {
            found.push_back(&check);
        }
    }
    return found;
}

CheckReport runChecks(const std::vector<const Check*>& selected, const Scenario& configuration,
                      const HostRoot& root, const CheckListener& listener) {
    return CheckRunner(configuration, root).run(selected, listener);
}

} // namespace kzfi_simhost
