// What a provider leaves behind when an operation fails: messages, by thread, and their texts.
#include <set>
#include <thread>

#include "context.h"
#include "heap.h"
#include "operations.h"
#include "statuses.h"

namespace kzfi_simhost {
namespace {

/// A call that may fail, and can be made again.
struct Trial {
    std::string operation;
    std::string how;
    std::function<std::optional<int>()> call;
};

bool isAboutMessages(const std::string& operation) {
    static const std::set<std::string> all = {"errMsg", "getLastError", "delLastError",
                                              "getLocaleMessage", "delLocaleMessage"};
    return all.count(operation) != 0;
}

void addProbes(CheckContext& c, kfi_domain* node, const std::string& how,
               std::vector<Trial>& trials) {
    ProbeRequest request;
    request.node = node;
    request.alternate = c.stranger("another node");
    request.text = "errors";
    for (const Probe& probe : probes()) {
        if (!isAboutMessages(probe.operation)) {
            const auto call = [=, &c, &probe] {
                return c.ask(probe, request, how).value_or(ProbeAnswer()).status;
            };
            trials.push_back({probe.operation, how, call});
        }
    }
}

/// With a session of this check's own.
Json withSession(const Step& step) {
    Json arguments = step.arguments;
    for (const Field& field : findOperation(step.operation)->fields) {
        if (field.name == "session") {
            arguments["session"] = "errors";
        }
    }
    return arguments;
}

/// Every operation without nodes, on the first node, and on one that nobody knows.
std::vector<Trial> trialsOf(CheckContext& c) {
    HostContext& host = c.start();
    std::vector<Trial> trials;
    for (const Step& step : c.harmlessCalls()) {
        if (!isAboutMessages(step.operation)) {
            const Json arguments = withSession(step);
            trials.push_back(
                {step.operation, "", [=, &c] { return c.call(step.operation, arguments).status; }});
        }
    }
    addProbes(c, host.nodes().first(), "(a node)", trials);
    addProbes(c, c.stranger("/no/such/node"), "(an unknown node)", trials);
    return trials;
}

/// The calling thread's last error as text, or null.
Json lastError(CheckContext& c) {
    return c.call("getLastError").text.value_or(Json());
}

/// The first operation that fails and leaves a message.
Trial failureOrSkip(CheckContext& c) {
    for (const Trial& trial : trialsOf(c)) {
        c.call("delLastError");
        const auto status = trial.call();
        const bool failed = status && isFailure(trial.operation, *status);
        if (failed && !lastError(c).is_null()) {
            return trial;
        }
    }
    c.skip(SkipReason::NOT_CONFIGURED, "nodes (no operation leaves an error message)");
}

// ---- Pairs

void errorsComeAndGo(CheckContext& c, const Trial& failure) {
    c.call("delLastError");
    c.expect(lastError(c).is_null(), "getLastError has a message after delLastError");
    failure.call();
    const Json error = lastError(c);
    c.expect(!error.is_null(),
             failure.operation + " failed and left a message only the first time");
    c.expect(lastError(c) == error, "getLastError gave something else when it was asked again");
    c.call("delLastError");
    c.expect(lastError(c).is_null(), "getLastError has a message after delLastError");
    c.call("delLastError");
}

void textsComeAndGo(CheckContext& c, const Trial& failure) {
    failure.call();
    lastError(c);
    const Json text = c.call("getLocaleMessage").text.value_or(Json());
    c.call("delLocaleMessage");
    c.expect(c.call("getLocaleMessage").text == text,
             "getLocaleMessage gave another text after delLocaleMessage");
    c.call("delLocaleMessage");
    c.call("delLocaleMessage");
    c.call("delLastError");
}

void getAndDelArePairs(CheckContext& c) {
    const Trial failure = failureOrSkip(c);
    errorsComeAndGo(c, failure);
    textsComeAndGo(c, failure);
    const std::size_t kept = keptPerTurn({50, 50}, [&] {
        failure.call();
        lastError(c);
        c.call("getLocaleMessage");
        c.call("delLocaleMessage");
        c.call("delLastError");
    });
    c.expect(kept == 0, "each error with its text keeps " + std::to_string(kept) +
                            " bytes after delLocaleMessage and delLastError");
}

// ---- Texts

/// What stands for a text that no catalogue has: the message's name in angle brackets.
bool isPlaceholder(const std::string& text, const std::string& id) {
    return text.find("<" + id + ">") != std::string::npos;
}

/// Whether failures explain themselves; one for all calls of a check.
class Explanations {
  public:
    explicit Explanations(CheckContext& context) : c(context) {}
    Explanations(const Explanations&) = delete;
    Explanations& operator=(const Explanations&) = delete;

    void judge(const Trial& trial, int status) {
        const std::string failed =
            trial.operation + trial.how + " answered " + std::to_string(status);
        const Outcome error = c.call("getLastError");
        if (error.text.value_or(Json()).is_null()) {
            judgeStatus(failed, status);
        } else {
            judgeMessage(failed, error.values.value("id", ""));
        }
    }

    /// Without catalogues every text is a placeholder.
    void skipWithoutCatalogues() {
        if (unclear) {
            c.skip(SkipReason::NOT_CONFIGURED, "catalogues");
        }
    }

  private:
    /// The framework's own statuses say enough; one of the provider's needs a text for people.
    void judgeStatus(const std::string& failed, int status) {
        if (kindOf("", status, messageIndexOffsetOf(c.create().provider())) != StatusKind::OWN) {
            return;
        }
        const Outcome told = c.call("errMsg", {{"code", status}});
        const Json text = told.text.value_or(Json());
        c.call("delLocaleMessage");
        if (text.is_string() && text.get<std::string>().find("<MSG_ERROR_") == std::string::npos) {
            return;
        }
        if (!localises()) {
            c.warn(failed + " and left no error message; errMsg has no text for it, either");
        } else if (c.config().catalogues.empty()) {
            unclear = true;
        } else {
            c.fail(failed + " and left no error message; errMsg has no text for it, either");
        }
    }

    /// A provider without a message factory has no texts at all.
    bool localises() {
        c.call("delLastError");
        c.call("getLastError");
        const bool any = !c.call("getLocaleMessage").text.value_or(Json()).is_null();
        c.call("delLocaleMessage");
        return any;
    }

    void judgeMessage(const std::string& failed, const std::string& id) {
        const Json text = c.call("getLocaleMessage").text.value_or(Json());
        c.call("delLocaleMessage");
        if (!text.is_string() || text.get<std::string>().empty()) {
            c.fail(failed + " and left the message " + id +
                   ", which getLocaleMessage has no text "
                   "for");
        } else if (isPlaceholder(text.get<std::string>(), id)) {
            if (c.config().catalogues.empty()) {
                unclear = true;
            } else {
                c.fail(failed + " and left the message " + id + ", which no catalogue has");
            }
        }
    }

    CheckContext& c;
    bool unclear = false;
};

void failuresExplainThemselves(CheckContext& c) {
    Explanations explanations(c);
    for (const Trial& trial : trialsOf(c)) {
        c.call("delLastError");
        const auto status = trial.call();
        const bool failed = status && isFailure(trial.operation, *status);
        if (failed && status != KZFI_ERR_INVALID && status != KZFI_ERR_NOT_IMPLEMENTED) {
            explanations.judge(trial, *status);
        }
    }
    explanations.skipWithoutCatalogues();
}

// ---- Threads

/// It begins with delLastError, as a thread with the same id may have been here before.
void onAnotherThread(CheckContext& c, const std::function<void()>& work) {
    std::thread([&] {
        c.call("delLastError");
        work();
    }).join();
}

void errorsBelongToThreads(CheckContext& c) {
    const Trial failure = failureOrSkip(c);
    const Json error = lastError(c);
    onAnotherThread(c, [&] {
        c.expect(lastError(c).is_null(), "the error message of " + failure.operation +
                                             " on one thread shows on another one");
    });
    onAnotherThread(c, [&] {
        failure.call();
        c.expect(!lastError(c).is_null(),
                 failure.operation + " leaves its message on its first thread only");
    });
    onAnotherThread(c, [] {});
    c.expect(lastError(c) == error,
             "delLastError on one thread took away or changed another one's message");
}

} // namespace

void addErrorsChecks(std::vector<Check>& all) {
    all.push_back({"errors.pairs",
                   "An error message stays until delLastError, and its text comes as often as it "
                   "is asked for; neither keeps memory.",
                   "Leave the four message operations to the base, or let each del undo its get.",
                   Needs::STARTED, getAndDelArePairs});
    all.push_back({"errors.text",
                   "A failure with a status of the provider's own has a text for people.",
                   "Push a message to errorManager on the calling thread before the operation "
                   "fails, and put its text, or that of the status, into the catalogues.",
                   Needs::STARTED, failuresExplainThemselves});
    all.push_back({"errors.per_thread", "A failure on one thread does not show on another one.",
                   "Push messages to errorManager on the thread that was called, and keep no last "
                   "error of your own.",
                   Needs::STARTED, errorsBelongToThreads});
}

} // namespace kzfi_simhost
