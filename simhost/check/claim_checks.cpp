// Which objects a provider takes on, and what it says that it can do for them.
#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <set>

#include "cfiplugininterposer.h"
#include "context.h"
#include "parameter_values.h"

namespace kzfi_simhost {
namespace {

namespace fs = std::filesystem;

const char FOREIGN[] = "no object of any provider's";

/// The nodes of the configuration, its claims and decoys, and a name that nobody knows.
std::set<std::string> objectsOf(const Scenario& configuration) {
    std::set<std::string> objects = {FOREIGN};
    for (const ScenarioNode& node : configuration.nodes) {
        objects.insert(node.name);
    }
    objects.insert(configuration.claims.begin(), configuration.claims.end());
    objects.insert(configuration.decoys.begin(), configuration.decoys.end());
    return objects;
}

Json ask(CheckContext& c, const std::string& object) {
    return c.call("claim", {{"object", object}}).toJson();
}

// ---- The same answer

void isDeterministic(CheckContext& c) {
    c.start();
    const std::set<std::string> objects = objectsOf(c.config());
    std::map<std::string, Json> first;
    for (const std::string& object : objects) {
        first[object] = ask(c, object);
    }
    const int again = 3;
    for (int i = 0; i < again; ++i) {
        for (const auto& [object, answer] : first) {
            const Json now = ask(c, object);
            c.expect(now == answer, "claim of '" + object + "' gave " + answer.dump() +
                                        ", and when it was asked again " + now.dump());
        }
    }
}

// ---- The right answer

void claimsItsOwn(CheckContext& c) {
    if (c.config().claims.empty()) {
        c.skip(SkipReason::NOT_CONFIGURED, "claims");
    }
    c.start();
    for (const std::string& object : c.config().claims) {
        const Outcome outcome = c.call("claim", {{"object", object}});
        c.expect(outcome.status == KZFI_CLAIM_SECONDARY,
                 "claim of '" + object + "' gave " + outcome.toJson().dump());
    }
}

void expectRefusal(CheckContext& c, kzfi_objid* object, const std::string& name) {
    kzfi_objid** list = nullptr;
    int count = 0;
    int status = KZFI_CLAIM_NONE;
    c.guarded("claim(" + name + ")",
              [&] { status = c.create().provider().claim(object, &list, &count); });
    c.expect(status == KZFI_CLAIM_NONE,
             "claim of " + name + " gave " + std::to_string(status) + " instead of 0");
    c.expect(list == nullptr && count == 0,
             "claim of " + name + " handed out objects, which nobody would take back");
}

void refusesDecoys(CheckContext& c) {
    c.start();
    kzfi_objid nameless = {nullptr, 0, objectId(FOREIGN)->kind};
    expectRefusal(c, nullptr, "no object");
    expectRefusal(c, &nameless, "an object without a name");
    expectRefusal(c, objectId(""), "an object with an empty name");
    expectRefusal(c, objectId(FOREIGN), "a foreign object");
    for (const std::string& decoy : c.config().decoys) {
        expectRefusal(c, objectId(decoy), "'" + decoy + "'");
    }
}

// ---- Nothing but an answer

/// The files below the root, but for what the checker itself has there, with what a change of one
/// would change.
std::map<std::string, std::string> statesBelow(const HostRoot& root) {
    std::map<std::string, std::string> files;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root.path(), error)) {
        const std::string path = entry.path().string();
        struct stat status = {};
        const bool mine = path.rfind(root.traceFolder(), 0) == 0 || path == root.outputFile();
        if (mine || lstat(path.c_str(), &status) != 0) {
            continue;
        }
        std::string& state = files[path];
        state = std::to_string(status.st_mode);
        if (!S_ISDIR(status.st_mode)) {
            state += " " + std::to_string(status.st_size) + " " +
                     std::to_string(status.st_mtim.tv_sec) + "." +
                     std::to_string(status.st_mtim.tv_nsec);
        }
    }
    return files;
}

/// What is known of all nodes.
Json answersFor(CheckContext& c, const std::set<std::string>& nodes) {
    Json answers = Json::array();
    for (const std::string& node : nodes) {
        answers.push_back(valuesOf(c, node, "0"));
        answers.push_back(valuesOf(c, node, "1"));
        answers.push_back(c.call("supportsFiType", {{"node", node}, {"fiType", "any"}}).toJson());
    }
    return answers;
}

void hasNoSideEffects(CheckContext& c) {
    HostContext& host = c.start();
    const std::set<std::string> objects = objectsOf(c.config());
    for (const std::string& object : objects) {
        host.nodes().findOrMake(object);
    }
    c.call("initNode");
    const auto files = statesBelow(c.root());
    const Json answers = answersFor(c, objects);
    for (const std::string& object : objects) {
        ask(c, object);
        c.expect(answersFor(c, objects) == answers,
                 "after claim of '" + object + "' config or supportsFiType answers otherwise");
        c.expect(statesBelow(c.root()) == files,
                 "claim of '" + object + "' changed files below the install root");
    }
}

// ---- In agreement with prepare

/// The types that the provider is asked for: its method's name, any, and what the configured steps
/// ask for.
std::set<std::string> typesOf(CheckContext& c) {
    std::set<std::string> types = {fimNameOf(c.create().provider()), "any"};
    for (const Step& step : c.config().steps) {
        const auto type = step.arguments.find("fiType");
        if (type != step.arguments.end() && type->is_string()) {
            types.insert(type->get<std::string>());
        }
    }
    return types;
}

bool isSupported(CheckContext& c, const std::string& node) {
    for (const std::string& type : typesOf(c)) {
        if (c.call("supportsFiType", {{"node", node}, {"fiType", type}}).status == 1) {
            return true;
        }
    }
    return false;
}

/// A router's types are those of the methods below it, which prepare for themselves.
bool isRouter(CheckContext& c) {
    return dynamic_cast<kzfi_pdk_4_4::CFiPluginInterposer*>(&c.create().provider()) != nullptr;
}

void supportAgreesWithPrepare(CheckContext& c) {
    HostContext& host = c.start();
    host.nodes().findOrMake(FOREIGN);
    std::set<std::string> nodes = {FOREIGN};
    for (const ScenarioNode& node : c.config().nodes) {
        nodes.insert(node.name);
    }
    const bool router = isRouter(c);
    for (const std::string& node : nodes) {
        c.call("initNode", {{"node", node}});
        const bool supported = isSupported(c, node);
        const auto status = c.call("prepare", {{"nodes", {node}}}).status;
        if (!supported) {
            c.expect(status != KZFI_OK,
                     "supportsFiType answers 0 for '" + node + "', and prepare of it answered 0");
        } else if (!router) {
            c.expect(status != KZFI_ERR_NOT_IMPLEMENTED,
                     "supportsFiType answers 1 for '" + node +
                         "', and prepare of it answered 4 (not implemented)");
        }
    }
}

} // namespace

void addClaimChecks(std::vector<Check>& all) {
    all.push_back({"claim.deterministic", "claim answers the same for the same object.",
                   "Let claim decide by the object alone, not by what was asked before.",
                   Needs::STARTED, isDeterministic});
    all.push_back({"claim.claims", "claim takes on what the configuration calls the provider's.",
                   "Answer 2 (KZFI_CLAIM_SECONDARY) for the object named here, or take it out of "
                   "claims in the configuration.",
                   Needs::STARTED, claimsItsOwn});
    all.push_back({"claim.decoys",
                   "claim refuses what is not the provider's: foreign and empty names, no object, "
                   "and the decoys of the configuration.",
                   "Answer 0 unless the whole name shows that the object is the provider's, and "
                   "hand nothing out then.",
                   Needs::STARTED, refusesDecoys});
    all.push_back({"claim.side_effects", "claim only answers: it changes no file and no node.",
                   "Move what claim does beside answering to initNode; many objects are asked for "
                   "that never become a node.",
                   Needs::STARTED, hasNoSideEffects});
    all.push_back({"claim.support",
                   "What supportsFiType refuses is not prepared with 0, and what it accepts is "
                   "not answered with 4.",
                   "Let supportsFiType and prepare look at the same things.", Needs::STARTED,
                   supportAgreesWithPrepare});
}

} // namespace kzfi_simhost
