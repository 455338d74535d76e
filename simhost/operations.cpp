#include "operations.h"

#include <algorithm>
#include <cstring>

#include "adapters.h"

namespace kzfi_simhost {
namespace {

using namespace kzfi_pdk_4_4;

Field node(const char* name) {
    return {name, FieldKind::NODE};
}

Field nodes(const char* name) {
    return {name, FieldKind::NODES};
}

Field text(const char* name) {
    return {name, FieldKind::TEXT};
}

Field texts(const char* name) {
    return {name, FieldKind::TEXTS};
}

Field number(const char* name) {
    return {name, FieldKind::NUMBER};
}

Field flag(const char* name) {
    return {name, FieldKind::FLAG};
}

Field choice(const char* name, std::vector<std::string> choices) {
    return {name, FieldKind::CHOICE, std::move(choices)};
}

Field parameters(const char* name) {
    return {name, FieldKind::PARAMETERS};
}

int integer(const Call& c, const char* field) {
    return static_cast<int>(c.number(field));
}

// ---- Adapters by what the operations hand out ----

Outcome callClaim(Call& c) {
    kzfi_objid** claimed = nullptr;
    int count = 0;
    const int status = c.provider().claim(c.object("object"), &claimed, &count);
    return answered(status, "claimed", takeNames(claimed, count));
}

Outcome callSupportsFiType(Call& c) {
    kfi_domain* const domain = c.node();
    const int status = c.provider().supportsFiType(domain, c.text("fiType"));
    return answered(status, "supportLevel",
                    domain != nullptr ? Json(*domain->support_level) : Json());
}

Outcome callImportTreeNode(Call& c) {
    std::vector<kzfi_objid*>& primaries = c.objects("primaries");
    kzfi_objid* imported = nullptr;
    const int status = c.provider().importTreeNode(
        c.node(), primaries.data(), c.objects("secondaries", primaries.size()).data(),
        countOf(primaries), &imported);
    return answered(status, "imported", nameOf(imported));
}

Outcome callSubobjList(Call& c) {
    kzfi_objid** list = nullptr;
    int count = 0;
    const int status = c.provider().subobjList(c.node(), &list, &count);
    // The list stays the node's record's own.
    return answered(status, "objects", namesOf(list, count));
}

Outcome callBuildAltTree(Call& c) {
    std::vector<kzfi_objid*>& primaries = c.objects("primaries");
    kzfi_objid* built = nullptr;
    const int status = c.provider().buildAltTree(c.node(), c.text("session"), primaries.data(),
                                                 c.objects("secondaries", primaries.size()).data(),
                                                 countOf(primaries), &built);
    return answered(status, "built", nameOf(built));
}

Outcome callMake(Call& c) {
    std::vector<kfi_splitnode*>& split = c.splits();
    kzfi_objid** made = nullptr;
    int count = 0;
    const int status =
        c.provider().make(c.text("session"), split.data(), countOf(split), &made, &count);
    return answered(status, "made", takeNames(made, count));
}

Outcome callPrepare(Call& c) {
    std::vector<kfi_splitnode*>& split = c.splits();
    return answered(c.provider().prepare(c.text("session"), split.data(), countOf(split),
                                         integer(c, "options")));
}

Outcome callSelect(Call& c) {
    std::vector<kfi_splitnode*>& split = c.splits();
    return answered(c.provider().select(c.text("session"), split.data(), countOf(split)));
}

/// Calls one of the session-style operations with a session of its own.
Outcome withSession(Call& c, int (CFiPluginBase::*operation)(CFiSessionPtr&)) {
    CFiSessionPtr session(new CFiSession);
    return answered((c.provider().*operation)(session));
}

/// Calls an operation that gives a list of an opaque kind: all that shows is whether there is one.
template <class List>
Outcome listed(Call& c, int (CFiPluginBase::*operation)(List**)) {
    List* list = nullptr;
    const int status = (c.provider().*operation)(&list);
    return answered(status, "list", list != nullptr);
}

Outcome callEnumerateNodes(Call& c) {
    kfi_node_list* list = nullptr;
    int count = 0;
    const int status =
        c.provider().enumerateNodes(&list, &count, integer(c, "options"), c.text("filter"));
    Outcome outcome = answered(status, "list", list != nullptr);
    outcome.values["count"] = count;
    return outcome;
}

template <class List>
Outcome filtered(Call& c, int (CFiPluginBase::*operation)(List**, int*, char*)) {
    List* list = nullptr;
    int count = 0;
    const int status = (c.provider().*operation)(&list, &count, c.text("filter"));
    Outcome outcome = answered(status, "list", list != nullptr);
    outcome.values["count"] = count;
    return outcome;
}

Outcome callGetAssociatedNodes(Call& c) {
    kfi_node_list* list = nullptr;
    const int status = c.provider().getAssociatedNodes(nullptr, &list);
    return answered(status, "list", list != nullptr);
}

Outcome callIsValidNodeAssociation(Call& c) {
    int valid = 0;
    const int status = c.provider().isValidNodeAssociation(nullptr, &valid);
    return answered(status, "valid", valid);
}

Outcome callCheckNodeExistence(Call& c) {
    int exists = 0;
    const int status = c.provider().checkNodeExistence(c.node(), &exists);
    return answered(status, "exists", exists);
}

Outcome callObjctl(Call& c) {
    CFiObjctlArgs arguments;
    return answered(c.provider().objctl(c.text("command"), arguments));
}

Outcome callProcessProviderState(Call& c) {
    const int op = static_cast<int>(c.number("op", KZFI_PROVIDERSTATE_PRODUCE));
    kfi_blob state = {};
    if (char* const stored = c.text("state"); stored && op != KZFI_PROVIDERSTATE_PRODUCE) {
        state = {stored, std::strlen(stored) + 1, 1};
    }
    Outcome outcome = answered(c.provider().processProviderState(c.node(), &state, op));
    if (state.data != nullptr) {
        const char* const bytes = static_cast<const char*>(state.data);
        outcome.text = std::string(bytes, strnlen(bytes, state.size));
    } else {
        outcome.text = Json();
    }
    if (op == KZFI_PROVIDERSTATE_PRODUCE) {
        kzfi_free_buf(state.data, state.size);
    }
    return outcome;
}

/// Room for a status of each object, and for one at least.
std::vector<long> roomFor(const std::vector<kzfi_objid*>& objects) {
    return std::vector<long>(std::max<std::size_t>(objects.size(), 1));
}

Json firstOf(const std::vector<long>& statuses, std::size_t count) {
    return std::vector<long>(statuses.begin(),
                             statuses.begin() + static_cast<std::ptrdiff_t>(count));
}

Outcome callRestore(Call& c) {
    std::vector<kzfi_objid*>& primaries = c.objects("primaries");
    std::vector<long> statuses = roomFor(primaries);
    char** results = nullptr;
    long resultCount = 0;
    const int status =
        c.provider().restore(primaries.data(), c.objects("snapshots", primaries.size()).data(),
                             countOf(primaries), c.text("session"), c.text("options"), &results,
                             &resultCount, c.number("flags"), statuses.data());
    Outcome outcome = answered(status, "results", textsOf(results, resultCount));
    outcome.values["statuses"] = firstOf(statuses, primaries.size());
    return outcome;
}

Outcome callResync(Call& c) {
    std::vector<kzfi_objid*>& primaries = c.objects("primaries");
    std::vector<long> statuses = roomFor(primaries);
    const int status = c.provider().resync(
        primaries.data(), c.objects("snapshots", primaries.size()).data(), countOf(primaries),
        c.text("session"), c.text("options"), c.number("flags"), statuses.data());
    return answered(status, "statuses", firstOf(statuses, primaries.size()));
}

Outcome callGetStatus(Call& c) {
    std::vector<kzfi_objid*>& primaries = c.objects("primaries");
    std::vector<long> statuses = roomFor(primaries);
    const int status = c.provider().getStatus(
        primaries.data(), c.objects("snapshots", primaries.size()).data(), countOf(primaries),
        c.text("session"), c.number("flags"), statuses.data());
    return answered(status, "statuses", firstOf(statuses, primaries.size()));
}

Outcome callQueryValidSecondaries(Call& c) {
    kzfi_objid** list = nullptr;
    long count = 0;
    const int status = c.provider().queryValidSecondaries(c.text("primary"), &list, &count);
    return answered(status, "secondaries", takeNames(list, count));
}

Outcome callResourceStatus(Call& c) {
    long state = 0;
    kfi_msg_info* info = nullptr;
    const int status =
        c.provider().resourceStatus(c.object("resource"), c.number("options"), &state, &info);
    Outcome outcome = answered(status, "state", state);
    outcome.text = textOf(info != nullptr ? info->text : nullptr);
    return outcome;
}

Outcome callVerifyQSCombos(Call& c) {
    std::vector<kfi_splitnode*>& split = c.splits();
    return answered(c.provider().verifyQSCombos(split.data(), countOf(split)));
}

Outcome callSetImportOptions(Call& c) {
    std::vector<kfi_splitnode*>& split = c.splits();
    return answered(c.provider().setImportOptions(split.data(), countOf(split), c.hosts("hosts"),
                                                  integer(c, "transportable"), nullptr));
}

Outcome callStartBuildAltTree(Call& c) {
    std::vector<kzfi_objid*>& objects = c.objects("objects");
    objects.push_back(nullptr);
    return answered(c.provider().startBuildAltTree(c.node(), objects.data(), nullptr));
}

Outcome callTranslateResourceNames(Call& c) {
    std::vector<char*>& names = c.texts("names");
    std::vector<char*> translated(names.size() + 1);
    const int status =
        c.provider().translateResourceNames(names.data(), countOf(names), translated.data());
    return answered(status, "translated",
                    textsOf(translated.data(), static_cast<long>(names.size())));
}

Outcome callImportResource(Call& c) {
    std::vector<char*>& resources = c.texts("resources");
    const std::size_t count = resources.size();
    resources.push_back(nullptr);
    std::vector<char*> results(resources.size());
    const int status = c.provider().importResource(
        resources.data(), c.text("udid"), c.text("hostname"), c.text("session"),
        integer(c, "request"), results.data(), c.text("options"));
    return answered(status, "results", textsOf(results.data(), static_cast<long>(count)));
}

Outcome callFormat(Call& c) {
    std::vector<char*>& resources = c.texts("resources");
    char** results = nullptr;
    int count = 0;
    const int status = c.provider().format(
        resources.data(), countOf(resources), c.text("fileSystem"), c.text("label"),
        c.text("parameters"), integer(c, "options"), &results, &count);
    return answered(status, "results", textsOf(results, count));
}

Outcome callOnlineResource(Call& c) {
    std::vector<char*>& resources = c.texts("resources");
    char** results = nullptr;
    int count = 0;
    const int status = c.provider().onlineResource(
        resources.data(), countOf(resources), c.text("hostname"), c.text("mountPoint"),
        c.text("fileSystem"), c.text("parameters"), integer(c, "options"), &results, &count);
    return answered(status, "results", textsOf(results, count));
}

Outcome callIsParentPgn(Call& c) {
    int answer = 0;
    const int status = c.provider().isParentPgn(c.text("name"), &answer, integer(c, "options"));
    return answered(status, "answer", answer);
}

Outcome callUnformat(Call& c) {
    std::vector<char*>& resources = c.texts("resources");
    return answered(
        c.provider().unformat(resources.data(), countOf(resources), integer(c, "options")));
}

Outcome callRefreshTree(Call& c) {
    int changed = 0;
    const int status = c.provider().refreshTree(c.node(), integer(c, "options"), integer(c, "kind"),
                                                nullptr, 0, &changed, nullptr, integer(c, "flags"));
    return answered(status, "changed", changed);
}

Outcome callGetBackupset(Call& c) {
    std::vector<char*>& files = c.texts("files");
    return answered(c.provider().getBackupset(c.node(), integer(c, "options"), files.data(),
                                              countOf(files), nullptr));
}

Outcome callGetSnapshotSetId(Call& c) {
    char* id = nullptr;
    const int status = c.provider().getSnapshotSetId(c.node(), &id);
    Outcome outcome = answered(status);
    outcome.text = textOf(id);
    return outcome;
}

Outcome callPreselect(Call& c) {
    std::vector<kfi_splitnode*>& split = c.splits();
    kfi_splitnode first = {nullptr, c.node(), nullptr};
    return answered(
        c.provider().preselect(&first, c.text("session"), split.data(), countOf(split)));
}

Outcome callDispose(Call& c) {
    kfi_splitnode split = {nullptr, c.node(), c.node("alternate")};
    return answered(
        c.provider().dispose(c.node(), c.node("alternate"), &split, integer(c, "disposition")));
}

Outcome callGetAttr(Call& c) {
    kfi_splitnode split = {nullptr, c.node(), c.node("alternate")};
    return answered(c.provider().getAttr(c.node(), c.node("alternate"), &split, nullptr));
}

Outcome callUpdateSnapshotHandle(Call& c) {
    CFiSessionPtr session(new CFiSession);
    return answered(c.provider().updateSnapshotHandle(session, nullptr));
}

/// The order of the plug-in base. Records that only the framework knows are null pointers.
std::vector<Operation> table() {
    using C = Call;
    return {
        {1, "~CFiPluginBase", {}, nullptr},
        {2, "delayedInit", {}, [](C& c) { return answered(c.provider().delayedInit()); }},
        {3,
         "globalConfigInfoList",
         {choice("list", {"0", "1"}), flag("second")},
         callGlobalConfigInfoList},
        {4, "init", {}, [](C& c) { return answered(c.provider().init()); }},
        {5, "fini", {}, [](C& c) { return c.provider().fini(), Outcome(); }},
        {6, "claim", {text("object")}, callClaim},
        {7, "supportsFiType", {node("node"), text("fiType")}, callSupportsFiType},
        {8,
         "deportTree",
         {node("node"), node("alternate")},
         [](C& c) {
             return answered(c.provider().deportTree(c.node(), c.node("alternate"), nullptr));
         }},
        {9,
         "importTreeNode",
         {node("node"), texts("primaries"), texts("secondaries")},
         callImportTreeNode},
        {10, "initNode", {node("node"), nodes("parents"), text("object")}, callInitNode},
        {11,
         "config",
         {choice("mode", {"get", "set", "clear", "getparam", "set-again"}), node("node"),
          choice("list", {"0", "1", "none"}), text("session"), text("text"),
          parameters("parameters")},
         callConfig},
        {12,
         "initAltNode",
         {node("node"), node("parent"), node("target"), flag("skipImport")},
         callInitAltNode},
        {13,
         "reAccessTmpObj",
         {node("node"), text("object"), text("splitType"), node("parent"), text("session"),
          number("intent")},
         callReAccessTmpObj},
        {14,
         "reAccessAltNode",
         {node("node"), text("primary"), text("alternate"), text("session"), texts("primaries"),
          texts("secondaries"), number("intent")},
         callReAccessAltNode},
        {15, "deInitNode", {node("node")}, callDeInitNode},
        {16, "dispose", {node("node"), node("alternate"), number("disposition")}, callDispose},
        {17,
         "online",
         {node("node"), node("alternate"), number("options"), number("disposition")},
         [](C& c) {
             return answered(c.provider().online(c.node(), c.node("alternate"),
                                                 integer(c, "options"), integer(c, "disposition")));
         }},
        {18, "subobjList", {node("node")}, callSubobjList},
        {19, "errMsg", {number("code"), text("language")}, callErrMsg},
        {20,
         "buildAltTree",
         {node("node"), text("session"), texts("primaries"), texts("secondaries")},
         callBuildAltTree},
        {21,
         "quiesce",
         {text("session")},
         [](C& c) { return answered(c.provider().quiesce(nullptr, 0, c.text("session"))); }},
        {22, "unquiesce", {}, [](C& c) { return c.provider().unquiesce(nullptr, 0), Outcome(); }},
        {23, "make", {nodes("nodes"), text("session")}, callMake},
        {24,
         "makeSnapshots",
         {},
         [](C& c) { return withSession(c, &CFiPluginBase::makeSnapshots); }},
        {25, "prepare", {nodes("nodes"), text("session"), number("options")}, callPrepare},
        {26,
         "prepareSnapshots",
         {},
         [](C& c) { return withSession(c, &CFiPluginBase::prepareSnapshots); }},
        {27, "select", {nodes("nodes"), text("session")}, callSelect},
        {28,
         "selectSnapshots",
         {},
         [](C& c) { return withSession(c, &CFiPluginBase::selectSnapshots); }},
        {29, "isReady", {nodes("nodes"), text("session")}, callIsReady},
        {30,
         "cacheDisable",
         {node("node"), number("options")},
         [](C& c) { return answered(c.provider().cacheDisable(c.node(), integer(c, "options"))); }},
        {31,
         "cacheEnable",
         {node("node"), number("options")},
         [](C& c) { return c.provider().cacheEnable(c.node(), integer(c, "options")), Outcome(); }},
        {32,
         "cacheFlush",
         {node("node"), number("options")},
         [](C& c) { return c.provider().cacheFlush(c.node(), integer(c, "options")), Outcome(); }},
        {33, "interpose", {node("node")}, callInterpose},
        {34, "getAttr", {node("node"), node("alternate")}, callGetAttr},
        {35,
         "getProviderInfo",
         {},
         [](C& c) { return listed(c, &CFiPluginBase::getProviderInfo); }},
        {36, "enumerateNodes", {number("options"), text("filter")}, callEnumerateNodes},
        {37,
         "enumerateAssociations",
         {},
         [](C& c) { return listed(c, &CFiPluginBase::enumerateAssociations); }},
        {38,
         "enumerateGroupNodes",
         {},
         [](C& c) { return listed(c, &CFiPluginBase::enumerateGroupNodes); }},
        {39, "enumerateFims", {}, [](C& c) { return listed(c, &CFiPluginBase::enumerateFims); }},
        {40, "isValidNodeAssociation", {}, callIsValidNodeAssociation},
        {41, "getAssociatedNodes", {}, callGetAssociatedNodes},
        {42, "checkNodeExistence", {node("node")}, callCheckNodeExistence},
        {43, "objctl", {text("command")}, callObjctl},
        {44,
         "processProviderState",
         {node("node"), number("op"), text("state")},
         callProcessProviderState},
        {45, "getLastError", {}, callGetLastError},
        {46, "delLastError", {}, callDelLastError},
        {47, "getLocaleMessage", {text("language")}, callGetLocaleMessage},
        {48, "delLocaleMessage", {}, callDelLocaleMessage},
        {49,
         "enableAccess",
         {nodes("nodes"), number("options"), number("first"), number("second")},
         callEnableAccess},
        {50, "disableAccess", {nodes("nodes"), number("options")}, callDisableAccess},
        {51,
         "restore",
         {texts("primaries"), texts("snapshots"), text("session"), text("options"),
          number("flags")},
         callRestore},
        {52,
         "resync",
         {texts("primaries"), texts("snapshots"), text("session"), text("options"),
          number("flags")},
         callResync},
        {53,
         "getStatus",
         {texts("primaries"), texts("snapshots"), text("session"), number("flags")},
         callGetStatus},
        {54,
         "prePrepare",
         {node("node")},
         [](C& c) { return answered(c.provider().prePrepare(c.node())); }},
        {55, "queryValidSecondaries", {text("primary")}, callQueryValidSecondaries},
        {56, "resourceStatus", {text("resource"), number("options")}, callResourceStatus},
        {57,
         "revisitPluginNodes",
         {},
         [](C& c) { return answered(c.provider().revisitPluginNodes(nullptr)); }},
        {58, "verifyQSCombos", {nodes("nodes")}, callVerifyQSCombos},
        {59,
         "setImportOptions",
         {nodes("nodes"), texts("hosts"), number("transportable")},
         callSetImportOptions},
        {60, "startBuildAltTree", {node("node"), texts("objects")}, callStartBuildAltTree},
        {61, "translateResourceNames", {texts("names")}, callTranslateResourceNames},
        {62,
         "enumerateEnclosures",
         {text("filter")},
         [](C& c) { return filtered(c, &CFiPluginBase::enumerateEnclosures); }},
        {63,
         "importResource",
         {texts("resources"), text("udid"), text("hostname"), text("session"), number("request"),
          text("options")},
         callImportResource},
        {64,
         "format",
         {texts("resources"), text("fileSystem"), text("label"), text("parameters"),
          number("options")},
         callFormat},
        {65,
         "enumerateHostNodes",
         {text("filter")},
         [](C& c) { return filtered(c, &CFiPluginBase::enumerateHostNodes); }},
        {66,
         "onlineResource",
         {texts("resources"), text("hostname"), text("mountPoint"), text("fileSystem"),
          text("parameters"), number("options")},
         callOnlineResource},
        {67,
         "deportResource",
         {text("udid"), text("hostname"), text("session"), text("options"), number("request")},
         [](C& c) {
             return answered(c.provider().deportResource(c.text("udid"), c.text("hostname"),
                                                         c.text("session"), c.text("options"),
                                                         integer(c, "request")));
         }},
        {68, "isParentPgn", {text("name"), number("options")}, callIsParentPgn},
        {69, "unformat", {texts("resources"), number("options")}, callUnformat},
        {70,
         "preDeportResource",
         {text("resource"), number("options"), text("hostname")},
         [](C& c) {
             return answered(c.provider().preDeportResource(
                 c.text("resource"), integer(c, "options"), c.text("hostname")));
         }},
        {71,
         "refreshTree",
         {node("node"), number("options"), number("kind"), number("flags")},
         callRefreshTree},
        {72, "getBackupset", {node("node"), number("options"), texts("files")}, callGetBackupset},
        {73,
         "getAppStatus",
         {node("node"), number("options")},
         [](C& c) {
             return answered(c.provider().getAppStatus(c.node(), integer(c, "options"), nullptr));
         }},
        {74,
         "setOpStatus",
         {node("node"), number("status")},
         [](C& c) { return answered(c.provider().setOpStatus(c.node(), integer(c, "status"))); }},
        {75,
         "setCompStatus",
         {node("node"), number("component"), text("name"), number("status")},
         [](C& c) {
             return answered(c.provider().setCompStatus(c.node(), integer(c, "component"),
                                                        c.text("name"), integer(c, "status")));
         }},
        {76,
         "setRestorepaths",
         {node("node"), text("paths"), number("count")},
         [](C& c) {
             return answered(
                 c.provider().setRestorepaths(c.node(), c.text("paths"), integer(c, "count")));
         }},
        {77,
         "createSnapReplicaNode",
         {node("node")},
         [](C& c) { return answered(c.provider().createSnapReplicaNode(c.node(), nullptr)); }},
        {78,
         "updateSnapshotId",
         {node("node"), node("alternate"), number("options")},
         [](C& c) {
             return answered(c.provider().updateSnapshotId(c.node(), c.node("alternate"), nullptr,
                                                           integer(c, "options")));
         }},
        {79, "getSnapshotSetId", {node("node")}, callGetSnapshotSetId},
        {80, "preselect", {node("node"), nodes("nodes"), text("session")}, callPreselect},
        {81, "updateSnapshotHandle", {}, callUpdateSnapshotHandle},
        {82,
         "getSnapdiff",
         {node("node")},
         [](C& c) {
             return answered(c.provider().getSnapdiff(c.node(), nullptr, nullptr, nullptr));
         }},
        {83,
         "postDeport",
         {node("node"), node("alternate")},
         [](C& c) { return answered(c.provider().postDeport(c.node(), c.node("alternate"))); }},
    };
}

} // namespace

const std::vector<Operation>& operations() {
    static const std::vector<Operation> all = table();
    return all;
}

const Operation* findOperation(const std::string& name) {
    for (const std::vector<Operation>* const list : {&operations(), &hostSteps()}) {
        for (const Operation& operation : *list) {
            if (operation.name == name && operation.call != nullptr) {
                return &operation;
            }
        }
    }
    return nullptr;
}

} // namespace kzfi_simhost
