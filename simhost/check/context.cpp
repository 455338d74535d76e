#include "context.h"

#include "describe.h"
#include "drive.h"
#include "exception_text.h"
#include "kzfi_platform_control.h"
#include "statuses.h"

namespace kzfi_simhost {
namespace {

// More lines of one severity help nobody.
const std::size_t MOST_FINDINGS = 20;
const std::size_t TRACE_LINES = 4;
const int STABLE_AFTER = 2;

Step stepOf(const std::string& operation, const Json& arguments) {
    Step step;
    step.operation = operation;
    step.arguments = arguments.is_null() ? Json::object() : arguments;
    return step;
}

} // namespace

CheckContext::CheckContext(const Scenario& configuration, const HostRoot& newRoot,
                           const EventWriter& newEvents)
    : scenario(configuration),
      hostRoot(newRoot),
      events(newEvents) {
    begin();
}

CheckContext::~CheckContext() = default;

void CheckContext::begin() {
    kzfi_platform_set_install_root(hostRoot.path().c_str());
    if (scenario.credentials) {
        kzfi_platform_set_credentials(scenario.credentials->c_str(), scenario.credentials->size());
    }
    watch.surroundings = std::make_unique<Surroundings>();
    watch.buffers = std::make_unique<BufferWatch>();
}

// ---- Findings ----

void CheckContext::found(const char* severity, const std::string& text) {
    const std::lock_guard<std::mutex> guard(sending);
    if (++findings[severity] > MOST_FINDINGS) {
        events.send({{"more", severity}});
        return;
    }
    events.send({{"finding", text},
                 {"severity", severity},
                 {"trace", lastLines(traceFile(), TRACE_LINES)}});
}

void CheckContext::fail(const std::string& text) {
    found("fail", text);
}

void CheckContext::warn(const std::string& text) {
    found("warn", text);
}

bool CheckContext::expect(bool holds, const std::string& otherwise) {
    if (!holds) {
        fail(otherwise);
    }
    return holds;
}

void CheckContext::skip(SkipReason reason, const std::string& detail) {
    events.send({{"skip", static_cast<int>(reason)}, {"detail", detail}});
    throw CheckIsOver();
}

void CheckContext::skipUnlessImplemented(const std::string& operation, const Json& arguments) {
    if (call(operation, arguments).status != KZFI_ERR_NOT_IMPLEMENTED) {
        return;
    }
    for (int i = 0; i < STABLE_AFTER; ++i) {
        const Outcome again = call(operation, arguments);
        if (again.status != KZFI_ERR_NOT_IMPLEMENTED) {
            fail(operation + " answered 4 (not implemented), and something else when it was called "
                             "again");
            throw CheckIsOver();
        }
    }
    skip(SkipReason::NOT_IMPLEMENTED, operation);
}

void CheckContext::report(const std::vector<Finding>& list, const std::string& by) {
    for (const Finding& finding : list) {
        found(finding.fails ? "fail" : "warn", (by.empty() ? "" : by + ": ") + finding.text);
    }
}

void CheckContext::lookAtBuffers(const std::string& what) {
    report(watch.buffers->findings(), what);
}

void CheckContext::lookAround(const std::string& what) {
    report(watch.surroundings->lastingChanges(), what);
    watch.surroundings->takeLastingChanges();
}

std::string CheckContext::traceFile() const {
    return traceName.empty() ? std::string() : hostRoot.traceFile(traceName);
}

// ---- The provider's life ----

ProviderLibrary& CheckContext::load() {
    if (!library) {
        doing("load " + scenario.provider);
        try {
            library = std::make_unique<ProviderLibrary>(scenario.provider);
            events.send({{"reached", static_cast<int>(Needs::LIBRARY)}});
        } catch (const NotAProvider& e) {
            fail(std::string("the provider cannot be loaded: ") + e.what());
            throw CheckIsOver();
        }
    }
    return *library;
}

std::unique_ptr<HostContext> CheckContext::another() {
    ProviderLibrary& loaded = load();
    doing("kzfi_create_provider");
    try {
        auto made = std::make_unique<HostContext>(scenario, hostRoot, loaded.create());
        traceName = scenario.trace.file.empty() ? made->name() + ".log" : scenario.trace.file;
        return made;
    } catch (const NotAProvider& e) {
        fail(std::string("the provider cannot be made: ") + e.what());
        throw CheckIsOver();
    }
}

HostContext& CheckContext::create() {
    if (!host) {
        host = another();
        watch.references = std::make_unique<ReferenceWatch>(host->provider());
        events.send({{"traceName", traceName}});
        events.send({{"reached", static_cast<int>(Needs::PROVIDER)}});
    }
    return *host;
}

HostContext& CheckContext::start() {
    create();
    if (!started) {
        const Outcome outcome = call("init");
        if (!outcome.exception.empty()) {
            throw CheckIsOver();
        }
        if (outcome.status != KZFI_OK) {
            fail("init answered " + std::to_string(outcome.status.value_or(-1)));
            throw CheckIsOver();
        }
        started = true;
        events.send({{"reached", static_cast<int>(Needs::STARTED)}});
    }
    return *host;
}

void CheckContext::stop() {
    if (started) {
        call("fini");
        started = false;
    }
}

void CheckContext::end() {
    if (ended) {
        return;
    }
    ended = true;
    stop();
    release();
    unload();
    doing("look at what is left");
    if (const std::string file = traceFile(); !file.empty()) {
        report(unpaired(file));
    }
    report(watch.surroundings->changes());
}

void CheckContext::release() {
    if (!host) {
        return;
    }
    const std::vector<Finding> tooFew = watch.references->tooFew();
    if (!tooFew.empty()) {
        report(tooFew);
        // What is left is not safe to be let go of any more.
        static_cast<void>(host.release());
        static_cast<void>(watch.references.release());
        static_cast<void>(library.release());
        abandoned = true;
        return;
    }
    guarded("release the provider", [&] {
        const int left = host->releaseProvider();
        expect(left == 0, std::to_string(left) + (left == 1 ? " reference" : " references") +
                              " to the provider itself never given back");
        host.reset();
        report(watch.references->leftOver());
    });
}

/// Whether it goes away is a matter of checks of their own.
void CheckContext::unload() {
    if (library) {
        // The code that a thread still runs must stay.
        if (!watch.surroundings->hasNewThreads()) {
            guarded("unload the provider", [&] { library->unload(); });
        }
        library.reset();
    }
    // Destructors of static objects give back, too.
    report(abandoned ? watch.buffers->findings() : watch.buffers->leftOver());
}

// ---- Calls ----

void CheckContext::doing(const std::string& what) {
    const std::lock_guard<std::mutex> guard(sending);
    events.send({{"doing", what}});
}

std::string CheckContext::thrownBy(const std::string& what, const std::function<void()>& call) {
    doing(what);
    std::string thrown = exceptionOf(call);
    noteException(thrown);
    return thrown;
}

void CheckContext::noteException(const std::string& thrown) {
    if (!thrown.empty() && exceptionsCount) {
        const std::lock_guard<std::mutex> guard(sending);
        events.send({{"exception", thrown}});
    }
}

bool CheckContext::guarded(const std::string& what, const std::function<void()>& call) {
    return thrownBy(what, call).empty();
}

Outcome CheckContext::call(const std::string& operation, const Json& arguments) {
    return callOn(create(), operation, arguments);
}

Outcome CheckContext::callOn(HostContext& target, const std::string& operation,
                             const Json& arguments) {
    const Step step = stepOf(operation, arguments);
    return callStep(target, step, titleOf(step), "");
}

Outcome CheckContext::callAs(const std::string& what, const std::string& operation,
                             const Json& arguments) {
    return callStep(create(), stepOf(operation, arguments), what, what);
}

Outcome CheckContext::callStep(HostContext& target, const Step& step, const std::string& what,
                               const std::string& by) {
    doing(what);
    Outcome outcome = outcomeOf(target, step);
    noteException(outcome.exception);
    const int offset = messageIndexOffsetOf(target.provider());
    report(watch.answers.look(step.operation, outcome, offset), by);
    return outcome;
}

std::optional<ProbeAnswer> CheckContext::ask(const Probe& probe, const ProbeRequest& request,
                                             const std::string& how) {
    kzfi_pdk_4_4::CFiPluginBase& provider = create().provider();
    std::optional<ProbeAnswer> answer;
    guarded(probe.operation + how, [&] { answer = probe.call(provider, request); });
    if (answer) {
        report(watch.answers.look(probe.operation, *answer, messageIndexOffsetOf(provider)));
    }
    return answer;
}

kfi_domain* CheckContext::stranger(const std::string& name) {
    LooseNode& node = strangers.emplace_back();
    node.record.objid = objectId(name);
    node.record.support_level = &node.supportLevel;
    return &node.record;
}

std::vector<Step> CheckContext::harmlessCalls() const {
    return harmlessSteps(firstNode(), scenario.deadline);
}

} // namespace kzfi_simhost
