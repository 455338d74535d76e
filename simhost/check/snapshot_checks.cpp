// The configured snapshot, from end to end: what comes of it, in another order, again, and when
// something fails on the way.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>

#include "context.h"
#include "kzfi_platform_control.h"
#include "statuses.h"

namespace kzfi_simhost {
namespace {

namespace fs = std::filesystem;

// For a step that takes more and more whenever it is called.
const unsigned long MOST_FAILURES = 200;

/// What is done for a snapshot, and may fail on the way.
bool isWork(const Step& step) {
    static const std::set<std::string> work = {"select",  "prepare", "make",
                                               "restore", "resync",  "dispose"};
    return work.count(step.operation) != 0;
}

/// What a new life of the provider needs again.
bool isSetUp(const Step& step) {
    static const std::set<std::string> setUp = {"initNode", "initAltNode", "config", "select"};
    return setUp.count(step.operation) != 0;
}

/// Contents of the files below the root by path, without what the checker keeps there.
using Files = std::map<std::string, std::string>;

Files filesBelow(const HostRoot& root) {
    Files files;
    std::error_code none;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root.path(), none)) {
        const std::string name = entry.path().lexically_relative(root.path());
        const std::string first = *entry.path().lexically_relative(root.path()).begin();
        if (entry.is_regular_file() && first != "trace" && first != "resources" &&
            first != "output.txt" && first != "stacks.txt") {
            std::ifstream file(entry.path(), std::ios::binary);
            files[name] = std::string(std::istreambuf_iterator<char>(file), {});
        }
    }
    return files;
}

/// The configured steps.
class Flow {
  public:
    explicit Flow(CheckContext& context) : c(context), steps(context.config().steps) {
        if (steps.empty()) {
            c.skip(SkipReason::NOT_CONFIGURED, "snapshot");
        }
        c.start();
    }

    std::size_t size() const { return steps.size(); }
    const Step& operator[](std::size_t index) const { return steps[index]; }

    /// The first step with this operation from begin on; size() when there is none.
    std::size_t find(const std::string& operation, std::size_t begin = 0) const {
        for (std::size_t i = begin; i < steps.size(); ++i) {
            if (steps[i].operation == operation) {
                return i;
            }
        }
        return steps.size();
    }

    /// The same, which the check cannot do without.
    std::size_t need(const std::string& operation, std::size_t begin = 0) const {
        const std::size_t found = find(operation, begin);
        if (found == steps.size()) {
            c.skip(SkipReason::NOT_CONFIGURED,
                   "snapshot: a step " + operation + (begin > 0 ? " behind the others" : ""));
        }
        return found;
    }

    Outcome call(std::size_t index) const {
        return c.call(steps[index].operation, steps[index].arguments);
    }

    /// Does the steps from begin up to end; where one is not as expected it fails, with when.
    bool run(std::size_t begin, std::size_t end, const std::string& when) const {
        bool good = true;
        for (std::size_t i = begin; i < end; ++i) {
            const std::string found = difference(i, call(i));
            const std::string step = titleOf(steps[i]) + when;
            good = c.expect(found.empty(), step + ": " + found) && good;
        }
        return good;
    }

    /// All that came of a whole run. When that is not what is expected there is nothing to compare
    /// with; what is wrong is the business of snapshot.bytes.
    std::vector<Outcome> baseline() const {
        std::vector<Outcome> outcomes;
        for (std::size_t i = 0; i < steps.size(); ++i) {
            outcomes.push_back(call(i));
            if (!difference(i, outcomes.back()).empty()) {
                c.skip(SkipReason::NOT_CONFIGURED, "snapshot: steps that come out as expected");
            }
        }
        return outcomes;
    }

    /// How the outcome differs from what is expected; empty when it does not.
    std::string difference(std::size_t index, const Outcome& outcome) const {
        if (!outcome.notCalled.empty()) {
            return "not done: " + outcome.notCalled;
        }
        const std::vector<Mismatch> found = compare(steps[index].expect, outcome);
        return found.empty() ? ""
                             : found.front().what + " is " + found.front().actual + ", not " +
                                   found.front().expected;
    }

  private:
    CheckContext& c;
    const std::vector<Step>& steps;
};

// ---- What comes of it

void bytesComeBack(CheckContext& c) {
    const Flow flow(c);
    const std::size_t restore = flow.need("restore", flow.need("make"));
    const std::size_t comparison = flow.need("host compare", restore);
    flow.run(0, restore, "");
    if (flow.call(comparison).values["same"] == true) {
        c.warn("the steps change nothing between make and restore, so nothing is proven");
    }
    flow.run(restore, flow.size(), "");
    const bool looks = flow[comparison].expect.values.contains("same");
    c.expect(looks, "the host compare behind restore expects nothing of 'same'");
}

void againIsTheSame(CheckContext& c) {
    const Flow flow(c);
    const std::vector<Outcome> first = flow.baseline();
    for (std::size_t i = 0; i < flow.size(); ++i) {
        const Json now = flow.call(i).toJson();
        c.expect(now == first[i].toJson(), titleOf(flow[i]) + " came to " + oneLine(now) +
                                               " the second time, to " +
                                               oneLine(first[i].toJson()) + " the first time");
    }
}

// ---- Another order

/// A failure leaves the files as they were; dispose may have removed some already.
void expectNothingLeft(CheckContext& c, const std::string& operation, const Files& before,
                       const std::string& when) {
    const std::string failed = operation + " failed " + when;
    const Files now = filesBelow(c.root());
    for (const auto& [name, content] : now) {
        const auto old = before.find(name);
        if (old == before.end()) {
            c.fail(failed + " and left " + name);
        } else if (old->second != content) {
            c.fail(failed + " and changed " + name);
        }
    }
    for (const auto& file : before) {
        c.expect(operation == "dispose" || now.count(file.first) != 0,
                 failed + " and removed " + file.first);
    }
}

/// Calls a step out of its order. Whether it was refused, which is what is hoped for.
bool isRefused(CheckContext& c, const Flow& flow, std::size_t index, const std::string& when) {
    const Files before = filesBelow(c.root());
    const Outcome outcome = flow.call(index);
    const std::string& operation = flow[index].operation;
    if (!outcome.status) {
        return true; // No call, or an exception, which is the verdict already.
    }
    if (!isFailure(operation, *outcome.status)) {
        return false;
    }
    expectNothingLeft(c, operation, before, when);
    return true;
}

void otherOrdersAreRefused(CheckContext& c) {
    const Flow flow(c);
    const std::size_t prepare = flow.need("prepare");
    const std::size_t make = flow.need("make", prepare);
    const std::size_t restore = flow.need("restore", make);
    const std::size_t dispose = flow.need("dispose", make);
    flow.baseline();
    flow.run(0, prepare, "");
    if (!isRefused(c, flow, make, "before prepare")) {
        c.warn("make answered 0 before prepare");
        flow.run(dispose, dispose + 1, " after make without prepare");
    }
    flow.run(prepare, make, " after make had come too early");
    c.expect(isRefused(c, flow, restore, "before make"), "restore answered 0 before make");
    flow.run(make, dispose + 1, " after restore had come too early");
    isRefused(c, flow, dispose, "a second time");
    flow.run(dispose + 1, flow.size(), " after dispose had come twice");
}

// ---- Failures

/// What fails: makes the n-th of it fail, and says afterwards whether it came to that.
struct FailingThing {
    const char* name;
    void (*arm)(unsigned long n);
    bool (*takeOne)(); ///< whether the one that this takes itself is given
};

const FailingThing MEMORY = {"allocation", kzfi_platform_fail_alloc, [] {
                                 void* const buffer = kzfi_alloc_buf(1);
                                 kzfi_free_buf(buffer, 1);
                                 return buffer != nullptr;
                             }};
const FailingThing OBJECT_IDS = {"object id", kzfi_platform_fail_objid, [] {
                                     return kzfi_get_objid("probe", sizeof "probe", 3) != nullptr;
                                 }};

/// Disarms it. Had the step not come to the n-th, one of the next n would be it.
bool hadFailed(const FailingThing& thing, unsigned long n) {
    bool failed = true;
    for (unsigned long i = 0; i < n; ++i) {
        failed = thing.takeOne() && failed;
    }
    thing.arm(0);
    return failed;
}

/// Whether the step is done after all; else it failed, and must have done so in order.
bool judgeFailure(CheckContext& c, const Step& step, const Outcome& outcome, const Outcome& usual,
                  const Files& before, const std::string& when) {
    if (!outcome.exception.empty()) {
        c.warn(step.operation + " let out " + outcome.exception + " " + when);
    } else if (outcome.toJson() == usual.toJson()) {
        return true;
    } else if (!outcome.status || !isFailure(step.operation, *outcome.status)) {
        c.fail(step.operation + " came to " + oneLine(outcome.toJson()) + " " + when +
               "; it answers a failure, or " + oneLine(usual.toJson()));
        return true;
    }
    expectNothingLeft(c, step.operation, before, when);
    return false;
}

/// One run in which one step meets the failure. Whether it came to that.
bool failIn(CheckContext& c, const Flow& flow, const std::vector<Outcome>& usual, std::size_t index,
            const FailingThing& thing, unsigned long n) {
    const std::string when =
        "when " + std::string(thing.name) + " " + std::to_string(n) + " failed";
    if (!flow.run(0, index, " after an earlier failure")) {
        throw CheckIsOver();
    }
    const Files before = filesBelow(c.root());
    c.keepExceptions(false); // They are only worth a look here.
    thing.arm(n);
    const Outcome outcome = flow.call(index);
    c.keepExceptions(true);
    const bool failed = hadFailed(thing, n);
    const bool done = !failed || judgeFailure(c, flow[index], outcome, usual[index], before, when);
    flow.run(done ? index + 1 : index, flow.size(), " after " + flow[index].operation + " " + when);
    return failed;
}

void failInTurn(CheckContext& c, const FailingThing& thing) {
    const Flow flow(c);
    const std::vector<Outcome> usual = flow.baseline();
    for (std::size_t i = 0; i < flow.size(); ++i) {
        for (unsigned long n = 1; isWork(flow[i]) && n <= MOST_FAILURES; ++n) {
            if (!failIn(c, flow, usual, i, thing, n)) {
                break;
            }
        }
    }
}

void everyAllocationFailsInTurn(CheckContext& c) {
    failInTurn(c, MEMORY);
}

void everyObjectIdFailsInTurn(CheckContext& c) {
    failInTurn(c, OBJECT_IDS);
}

/// The files that make the provider's tool fail, from a new life of the provider on.
class FailingTool {
  public:
    explicit FailingTool(CheckContext& context) : c(context) {
        if (c.config().toolFailure.empty()) {
            c.skip(SkipReason::NOT_CONFIGURED, "toolFailure");
        }
    }

    void begin() const {
        for (const ScenarioFile& file : c.config().toolFailure) {
            c.root().placeFile(file.path, file.content);
        }
        liveAnew();
    }

    void end() const {
        for (const ScenarioFile& file : c.config().toolFailure) {
            fs::remove(c.root().inside(file.path));
        }
        for (const ScenarioFile& file : c.config().files) {
            const auto replaces = [&](const ScenarioFile& other) {
                return other.path == file.path;
            };
            const auto& failing = c.config().toolFailure;
            if (std::any_of(failing.begin(), failing.end(), replaces)) {
                c.root().placeFile(file.path, file.content);
            }
        }
        liveAnew();
    }

  private:
    void liveAnew() const {
        c.stop();
        c.start();
    }

    CheckContext& c;
};

void setUpAgain(const Flow& flow, std::size_t end) {
    for (std::size_t i = 0; i < end; ++i) {
        if (isSetUp(flow[i])) {
            flow.call(i);
        }
    }
}

/// Whether the tool's failure was one of the step.
bool failToolIn(CheckContext& c, const Flow& flow, const FailingTool& tool,
                const std::vector<Outcome>& usual, std::size_t index) {
    const std::string when = "when the tool failed";
    if (!flow.run(0, index, " after an earlier failure")) {
        throw CheckIsOver();
    }
    tool.begin();
    setUpAgain(flow, index);
    const Files before = filesBelow(c.root());
    const bool done = judgeFailure(c, flow[index], flow.call(index), usual[index], before, when);
    tool.end();
    const std::size_t next = done ? index + 1 : index;
    setUpAgain(flow, next);
    flow.run(next, flow.size(), " after " + flow[index].operation + " " + when);
    return !done;
}

void theToolFailsInTurn(CheckContext& c) {
    const Flow flow(c);
    const FailingTool tool(c);
    const std::vector<Outcome> usual = flow.baseline();
    bool mattered = false;
    for (std::size_t i = 0; i < flow.size(); ++i) {
        mattered = (isWork(flow[i]) && failToolIn(c, flow, tool, usual, i)) || mattered;
    }
    if (!mattered) {
        c.warn("no step failed with the files of toolFailure in place, so nothing is proven");
    }
}

} // namespace

void addSnapshotChecks(std::vector<Check>& all) {
    all.push_back({"snapshot.bytes", "After restore every byte is what it was before make.",
                   "Look at the step named here: its answer is not what the configuration "
                   "expects.",
                   Needs::STARTED, bytesComeBack});
    all.push_back({"snapshot.order",
                   "A step that comes too early, or twice, is refused and leaves nothing behind.",
                   "Keep in the node's record how far its request has come, and answer a status of "
                   "the provider's own where a step does not fit.",
                   Needs::STARTED, otherOrdersAreRefused});
    all.push_back({"snapshot.repeat", "The same request again comes to the same.",
                   "Forget on dispose and deInitNode what the request before has left.",
                   Needs::STARTED, againIsTheSame});
    all.push_back({"snapshot.no_memory",
                   "When kzfi_alloc_buf gives null a step fails, leaves nothing half-made, and "
                   "works the next time.",
                   "Test what kzfi_alloc_buf gives, undo what the step has done so far, and answer "
                   "a failure.",
                   Needs::STARTED, everyAllocationFailsInTurn});
    all.push_back({"snapshot.no_object_id",
                   "When kzfi_get_objid gives null a step fails, leaves nothing half-made, and "
                   "works the next time.",
                   "Test what kzfi_get_objid gives, undo what the step has done so far, and answer "
                   "a failure.",
                   Needs::STARTED, everyObjectIdFailsInTurn});
    all.push_back({"snapshot.tool_failure",
                   "When the provider's tool fails a step fails, leaves nothing half-made, and "
                   "works the next time.",
                   "Look at the tool's exit status, remove what it wrote, and answer a failure.",
                   Needs::STARTED, theToolFailsInTurn});
}

} // namespace kzfi_simhost
