#include "drive.h"

#include <chrono>
#include <memory>

#include "call.h"
#include "exception_text.h"
#include "kzfi_platform_control.h"
#include "operations.h"

namespace kzfi_simhost {
namespace {

using Clock = std::chrono::steady_clock;

Step plainStep(const std::string& operation) {
    Step step;
    step.operation = operation;
    return step;
}

class Driver {
  public:
    Driver(const Scenario& newScenario, const HostRoot& newRoot, const EventWriter& newEvents)
        : scenario(newScenario),
          root(newRoot),
          events(newEvents) {}

    void run() {
        kzfi_platform_set_install_root(root.path().c_str());
        if (scenario.credentials) {
            kzfi_platform_set_credentials(scenario.credentials->c_str(),
                                          scenario.credentials->size());
        }
        if (!load()) {
            return;
        }
        const Outcome init = call(INIT_STAGE, plainStep("init"));
        if (init.exception.empty() && init.status == 0) {
            for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
                call(FIRST_STEP_STAGE + i, scenario.steps[i]);
            }
            events.send({{"tree", host->nodes().tree()}});
            call(finiStage(scenario), plainStep("fini"));
        }
        unload();
    }

  private:
    void begin(std::size_t stage) {
        started = Clock::now();
        events.send({{"begin", stage}});
    }

    void answer(std::size_t stage, const Outcome& outcome) {
        const std::chrono::duration<double> taken = Clock::now() - started;
        events.send({{"answer", stage}, {"seconds", taken.count()}, {"outcome", outcome.toJson()}});
    }

    bool load() {
        begin(LOAD_STAGE);
        try {
            library = std::make_unique<ProviderLibrary>(scenario.provider);
            host = std::make_unique<HostContext>(scenario, root, library->create());
        } catch (const NotAProvider& e) {
            events.send({{"refused", at(scenario, scenario.providerLine,
                                        "the provider " + scenario.provider +
                                            " cannot be loaded: " + e.what())}});
            return false;
        } catch (const CannotRun& e) {
            events.send({{"refused", e.what()}});
            return false;
        }
        events.send({{"provider", host->name()}, {"fimName", fimNameOf(host->provider())}});
        answer(LOAD_STAGE, Outcome());
        return true;
    }

    Outcome call(std::size_t stage, const Step& step) {
        begin(stage);
        const Outcome outcome = outcomeOf(*host, step);
        answer(stage, outcome);
        return outcome;
    }

    void unload() {
        const std::size_t stage = unloadStage(scenario);
        Outcome outcome;
        begin(stage);
        outcome.exception = exceptionOf([&] {
            const int left = host->releaseProvider();
            host.reset();
            outcome.values["references"] = left;
            // Its code must stay while there is an object that may still run it.
            outcome.values["unloaded"] = left == 0 && library->unload();
        });
        answer(stage, outcome);
    }

    const Scenario& scenario;
    const HostRoot& root;
    const EventWriter& events;
    Clock::time_point started;
    std::unique_ptr<ProviderLibrary> library;
    std::unique_ptr<HostContext> host;
};

} // namespace

std::size_t stageCount(const Scenario& scenario) {
    return unloadStage(scenario) + 1;
}

std::size_t finiStage(const Scenario& scenario) {
    return FIRST_STEP_STAGE + scenario.steps.size();
}

std::size_t unloadStage(const Scenario& scenario) {
    return finiStage(scenario) + 1;
}

Outcome outcomeOf(HostContext& host, const Step& step) {
    Outcome outcome;
    const std::string thrown = exceptionOf([&] {
        Call made(host, step.arguments);
        try {
            outcome = findOperation(step.operation)->call(made);
        } catch (const NoSuchNode& e) {
            outcome.notCalled = e.what();
        } catch (const CannotRun& e) {
            outcome.notCalled = e.what();
        }
    });
    if (!thrown.empty()) {
        outcome = Outcome();
        outcome.exception = thrown;
    }
    return outcome;
}

void drive(const Scenario& scenario, const HostRoot& root, const EventWriter& events) {
    Driver(scenario, root, events).run();
}

} // namespace kzfi_simhost
