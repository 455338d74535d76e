// Nodes that come and go, and what a provider may do to them.
#include <algorithm>
#include <cstdlib>
#include <set>

#include "context.h"
#include "heap.h"
#include "parameter_values.h"

namespace kzfi_simhost {
namespace {

// ---- What the checks have in common

/// initNode of a node that the configuration may know nothing of.
Outcome begin(CheckContext& c, const std::string& node) {
    c.create().nodes().findOrMake(node);
    return c.call("initNode", {{"node", node}});
}

void end(CheckContext& c, const std::string& node) {
    c.call("deInitNode", {{"node", node}});
}

/// Without a node that the provider takes there is nothing to look at.
void beginOrSkip(CheckContext& c, const std::string& node) {
    if (begin(c, node).status.value_or(KZFI_OK) != KZFI_OK) {
        c.skip(SkipReason::NOT_CONFIGURED, "nodes (initNode refuses '" + node + "')");
    }
}

/// Sets values of the node that are not its defaults, or skips the check.
ParameterValues setOrSkip(CheckContext& c, const std::string& node) {
    ParameterValues other = otherValues(c, node);
    if (other.values.empty() || setValues(c, node, other) != KZFI_OK) {
        c.skip(SkipReason::NOT_CONFIGURED, "parameters of '" + node + "'");
    }
    return other;
}

/// The second configured node, else one of a similar name.
std::string secondNode(CheckContext& c) {
    const auto& nodes = c.config().nodes;
    return nodes.size() > 1 ? nodes[1].name : c.firstNode() + " (another)";
}

/// What config says of the node in all ways of reading.
Json configOf(CheckContext& c, const std::string& node) {
    Json all = Json::array();
    for (const char* const list : {"0", "1"}) {
        for (const char* const mode : {"getparam", "get"}) {
            all.push_back(
                c.call("config", {{"node", node}, {"mode", mode}, {"list", list}}).toJson());
        }
    }
    return all;
}

// ---- Pairs

/// One life of the node: everything that is answered.
Json lifeOf(CheckContext& c, const std::string& node) {
    Json life;
    life["initNode"] = begin(c, node).toJson();
    life["config behind initNode"] = configOf(c, node);
    end(c, node);
    life["config behind deInitNode"] = configOf(c, node);
    return life;
}

void comeAndGo(CheckContext& c) {
    c.start();
    for (const ScenarioNode& node : c.config().nodes) {
        const Json first = lifeOf(c, node.name);
        const int again = 3;
        for (int i = 0; i < again; ++i) {
            const Json now = lifeOf(c, node.name);
            for (const auto& answer : first.items()) {
                c.expect(now[answer.key()] == answer.value(),
                         answer.key() + " answers otherwise when '" + node.name +
                             "' begins again after deInitNode");
            }
        }
    }
}

void secondInitChangesNothing(CheckContext& c) {
    c.start();
    const std::string& node = c.firstNode();
    const Json unknown = configOf(c, node);
    beginOrSkip(c, node);
    const ParameterValues other = otherValues(c, node);
    if (!other.values.empty()) {
        setValues(c, node, other);
    }
    const Json before = configOf(c, node);
    begin(c, node);
    c.expect(configOf(c, node) == before,
             "config of '" + node + "' answers otherwise after a second initNode");
    end(c, node);
    c.expect(configOf(c, node) == unknown,
             "after two initNodes one deInitNode was not enough for '" + node + "'");
}

void secondDeInitIsHarmless(CheckContext& c) {
    c.start();
    const std::string bystander = c.firstNode() + " (bystander)";
    begin(c, bystander);
    for (const ScenarioNode& node : c.config().nodes) {
        begin(c, node.name);
        end(c, node.name);
        const Json unknown = configOf(c, node.name);
        const Json others = configOf(c, bystander);
        end(c, node.name);
        end(c, node.name);
        c.expect(configOf(c, node.name) == unknown,
                 "config of '" + node.name + "' answers otherwise after a second deInitNode");
        c.expect(configOf(c, bystander) == others,
                 "a second deInitNode of '" + node.name +
                     "' changed what config says of another node");
    }
}

// ---- Stale nodes

/// These may make a record of a node anew.
bool beginsNodes(const std::string& operation) {
    static const std::set<std::string> all = {"initNode",        "initAltNode",  "reAccessTmpObj",
                                              "reAccessAltNode", "buildAltTree", "deInitNode"};
    return all.count(operation) != 0;
}

void callAllOnStale(CheckContext& c) {
    ProbeRequest request;
    request.node = c.create().nodes().first();
    request.alternate = request.node;
    request.text = "nodes.stale";
    for (const Probe& probe : probes()) {
        if (!beginsNodes(probe.operation)) {
            c.ask(probe, request, " after deInitNode");
        }
    }
}

void staleNodeIsUnknown(CheckContext& c) {
    c.start();
    const std::string& node = c.firstNode();
    const Json unknown = configOf(c, node);
    beginOrSkip(c, node);
    const Json fresh = configOf(c, node);
    const ParameterValues other = otherValues(c, node);
    if (!other.values.empty()) {
        setValues(c, node, other);
    }
    end(c, node);
    c.expect(configOf(c, node) == unknown, "config of '" + node +
                                               "' answers otherwise after deInitNode than before "
                                               "initNode");
    callAllOnStale(c);
    begin(c, node);
    c.expect(configOf(c, node) == fresh,
             "'" + node + "' still has what was set before deInitNode, when initNode comes again");
}

// ---- Nodes among each other

void recordsAreIsolated(CheckContext& c) {
    c.start();
    const std::string& one = c.firstNode();
    const std::string two = secondNode(c);
    beginOrSkip(c, one);
    beginOrSkip(c, two);
    const Json before = configOf(c, two);
    const ParameterValues other = setOrSkip(c, one);
    const Json set = configOf(c, one);
    c.expect(configOf(c, two) == before,
             "config SET of '" + one + "' changed what config says of '" + two + "'");
    c.call("config", {{"node", two}, {"mode", "clear"}, {"list", other.list}});
    c.expect(configOf(c, one) == set,
             "config CLEAR of '" + two + "' changed what config says of '" + one + "'");
    end(c, two);
    c.expect(configOf(c, one) == set,
             "deInitNode of '" + two + "' changed what config says of '" + one + "'");
}

// ---- Many nodes

/// The names in associations are the host's to free.
void freeNames(const kfi_domain& node) {
    for (kfi_domain_assoc* each = node.assoc_list; each != nullptr; each = each->next) {
        for (kfi_domain_assoc_entry* const entry : {each->first, each->second}) {
            if (entry != nullptr) {
                std::free(std::exchange(entry->name, nullptr));
            }
        }
    }
}

void thousandNodes(CheckContext& c) {
    const int count = 1000;
    kzfi_pdk_4_4::CFiPluginBase& provider = c.start().provider();
    std::vector<kfi_domain*> nodes(count);
    std::generate(nodes.begin(), nodes.end(), [&, i = 0]() mutable {
        return c.stranger(c.firstNode() + " (" + std::to_string(i++) + ")");
    });
    const std::size_t kept = keptPerTurn({1, 1, count}, [&] {
        c.guarded("initNode of 1,000 nodes", [&] {
            for (kfi_domain* const node : nodes) {
                provider.initNode(node, nullptr, 0, node->objid);
            }
        });
        c.guarded("deInitNode of 1,000 nodes", [&] {
            for (kfi_domain* const node : nodes) {
                freeNames(*node);
                provider.deInitNode(node);
            }
        });
    });
    c.expect(kept == 0, "1,000 nodes that came and went keep " + std::to_string(kept) + " bytes");
}

// ---- What is handed in

enum Part { KIND, FLAGS, NAME, LISTS, EVERYTHING_ELSE };

/// A node's record with all that it names, part by part.
std::map<Part, std::string> bytesOf(const kfi_domain& node) {
    const auto raw = [](const auto& value) {
        return std::string(reinterpret_cast<const char*>(&value), sizeof value);
    };
    const kzfi_objid& id = *node.objid;
    return {{KIND, raw(node.type)},
            {FLAGS, raw(node.flags)},
            {NAME, raw(node.display_name)},
            {LISTS, raw(node.assoc_list) + raw(node.second_list)},
            {EVERYTHING_ELSE, raw(node.objid) + raw(node.support_level) + raw(node.owner) +
                                  raw(id.name) + raw(id.length) + raw(id.kind) + id.name}};
}

/// The parts of a node that an operation is there to change.
std::set<Part> changedBy(const std::string& operation) {
    static const std::map<std::string, std::set<Part>> documented = {
        {"initNode", {KIND, FLAGS, NAME, LISTS}},
        {"initAltNode", {KIND, FLAGS, NAME, LISTS}},
        {"deInitNode", {NAME, LISTS}},
        {"isReady", {FLAGS}},
        {"enableAccess", {FLAGS}},
        {"disableAccess", {FLAGS}}};
    const auto found = documented.find(operation);
    return found != documented.end() ? found->second : std::set<Part>();
}

void expectUnchanged(CheckContext& c, const std::string& operation, const std::string& which,
                     const std::map<Part, std::string>& before,
                     const std::map<Part, std::string>& now) {
    const std::set<Part> mayChange = changedBy(operation);
    const bool kept = std::all_of(before.begin(), before.end(), [&](const auto& each) {
        return mayChange.count(each.first) != 0 || now.at(each.first) == each.second;
    });
    c.expect(kept, operation + " wrote to the record of " + which);
}

void inputsStay(CheckContext& c) {
    ProbeRequest request;
    request.node = c.start().nodes().first();
    request.alternate = c.stranger("another node");
    request.text = "nodes.inputs_unchanged";
    for (const Probe& probe : probes()) {
        const auto node = bytesOf(*request.node);
        const auto alternate = bytesOf(*request.alternate);
        const ProbeAnswer answer = c.ask(probe, request).value_or(ProbeAnswer());
        for (const std::string& input : answer.changedInputs) {
            c.fail(probe.operation + " wrote to its input '" + input + "'");
        }
        expectUnchanged(c, probe.operation, "its node", node, bytesOf(*request.node));
        expectUnchanged(c, probe.operation, "its second node", alternate,
                        bytesOf(*request.alternate));
    }
}

} // namespace

void addNodesChecks(std::vector<Check>& all) {
    all.push_back({"nodes.pairs", "A node can begin and end again and again, each time the same.",
                   "Let deInitNode undo all that initNode did for the node.", Needs::STARTED,
                   comeAndGo});
    all.push_back({"nodes.double_init",
                   "A second initNode of a node changes nothing, and one deInitNode ends it.",
                   "Let initNode look for the node's record first, and keep it when it is there.",
                   Needs::STARTED, secondInitChangesNothing});
    all.push_back({"nodes.double_deinit", "A second deInitNode of a node does nothing.",
                   "Let deInitNode look for the node's record first, and do nothing without one.",
                   Needs::STARTED, secondDeInitIsHarmless});
    all.push_back({"nodes.stale", "After deInitNode a node is as unknown as before initNode.",
                   "Look the record up in each operation instead of keeping a pointer to it, and "
                   "discard it in deInitNode.",
                   Needs::STARTED, staleNodeIsUnknown});
    all.push_back({"nodes.isolated", "What is set for one node does not show in another one.",
                   "Keep what belongs to a node in its own record.", Needs::STARTED,
                   recordsAreIsolated});
    all.push_back({"nodes.growth", "1,000 nodes can come and go, and keep no memory.",
                   "Free in deInitNode what initNode takes for the node.", Needs::STARTED,
                   thousandNodes});
    all.push_back({"nodes.inputs_unchanged",
                   "Records, ids and texts that are handed in are written to only where the "
                   "operation says so.",
                   "Work on a copy: what comes in stays the framework's.", Needs::STARTED,
                   inputsStay});
}

} // namespace kzfi_simhost
