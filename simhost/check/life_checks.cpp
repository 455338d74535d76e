// Where a provider's life begins and ends, and two of them in one process.
#include "context.h"
#include "heap.h"
#include "parameter_values.h"

namespace kzfi_simhost {
namespace {

/// Calls every operation on the first node.
void callAll(CheckContext& c, const std::string& when) {
    ProbeRequest request;
    request.node = c.create().nodes().first();
    request.alternate = c.stranger("another node");
    for (const Probe& probe : probes()) {
        c.ask(probe, request, when);
    }
}

void beforeInit(CheckContext& c) {
    callAll(c, " before init");
    c.start();
}

void afterFini(CheckContext& c) {
    c.start();
    c.stop();
    callAll(c, " after fini");
}

void startsAndStopsWithoutGrowth(CheckContext& c) {
    const std::size_t kept = keptPerTurn({20, 80}, [&] {
        c.start();
        c.stop();
    });
    c.expect(kept == 0, "each init with its fini keeps " + std::to_string(kept) + " bytes");
}

// ---- Two instances

/// A second provider, beside that of the check.
class Neighbour {
  public:
    explicit Neighbour(CheckContext& context) : c(context), host(c.another()) {}
    Neighbour(const Neighbour&) = delete;
    Neighbour& operator=(const Neighbour&) = delete;

    bool start() {
        const Outcome outcome = c.callOn(*host, "init");
        return c.expect(outcome.status == KZFI_OK,
                        "init of a second provider object answered " + outcome.toJson().dump());
    }

    Outcome call(const std::string& operation, const Json& arguments = {}) {
        return c.callOn(*host, operation, arguments);
    }

    void end() {
        call("fini");
        const int left = host->releaseProvider();
        c.expect(left == 0, "a second provider object keeps " + std::to_string(left) +
                                " references to itself");
        host.reset();
    }

  private:
    CheckContext& c;
    std::unique_ptr<HostContext> host;
};

/// What the first provider answers that the second must not change.
Json answersOf(CheckContext& c, const std::string& list) {
    return {{"claim", c.call("claim").toJson()},
            {"config get", valuesOf(c, c.firstNode(), list)},
            {"config getparam", c.call("config", {{"list", list}}).toJson()}};
}

void twoInstances(CheckContext& c) {
    c.start();
    c.call("initNode");
    Neighbour second(c);
    if (!second.start()) {
        return;
    }
    second.call("initNode");
    const ParameterValues other = otherValues(c, c.firstNode());
    const Json get = {{"mode", "get"}, {"list", other.list.empty() ? "0" : other.list}};
    const Json before = second.call("config", get).toJson();
    if (!other.values.empty()) {
        setValues(c, c.firstNode(), other);
    }
    c.expect(second.call("config", get).toJson() == before,
             "values set in one provider object show in another one");
    const Json own = answersOf(c, get["list"]);
    second.call("deInitNode");
    c.expect(answersOf(c, get["list"]) == own,
             "a provider object answers otherwise after deInitNode of another one");
    second.end();
    c.expect(answersOf(c, get["list"]) == own,
             "a provider object answers otherwise after fini of another one");
}

} // namespace

void addLifeChecks(std::vector<Check>& all) {
    all.push_back({"life.before_init", "Every operation can be called before init.",
                   "Look at the operation named here: what init makes (the private-data factory, "
                   "say) is not there yet; answer 3 without it.",
                   Needs::STARTED, beforeInit});
    all.push_back({"life.after_fini", "Every operation can be called after fini.",
                   "Look at the operation named here: what fini took away must be known to be "
                   "gone; answer 3 without it.",
                   Needs::STARTED, afterFini});
    all.push_back({"life.repeat", "init and fini can be called 100 times, and keep no memory.",
                   "Free in fini what init takes, and let init replace what is there instead of "
                   "adding to it.",
                   Needs::STARTED, startsAndStopsWithoutGrowth});
    all.push_back({"life.two_instances",
                   "Two provider objects in one process do not get in each other's way.",
                   "Keep what belongs to a provider in its members, none of it in static or "
                   "global variables.",
                   Needs::STARTED, twoInstances});
}

} // namespace kzfi_simhost
