#include "probe.h"

#include "kzfi_platform_control.h"
#include "probe_arguments.h"

namespace kzfi_simhost {
namespace {

using namespace kzfi_pdk_4_4;
using Base = CFiPluginBase;
using Args = ProbeArguments;

// ---- Inputs ----

ProbeMaker<kfi_domain*> node(const char* name = "node") {
    return {name, [](Args& a) { return a.request.node; }};
}

ProbeMaker<kfi_domain*> alternate(const char* name = "alternate") {
    return {name, [](Args& a) { return a.request.alternate; }};
}

ProbeMaker<kfi_domain**> parents() {
    return {"parents",
            [](Args& a) { return a.input<kfi_domain*>("parents", a.request.alternate); }};
}

kzfi_objid* idOf(const Args& a) {
    return a.request.node != nullptr ? a.request.node->objid : nullptr;
}

ProbeMaker<kzfi_objid*> id(const char* name = "object") {
    return {name, [](Args& a) { return idOf(a); }};
}

/// A list of one, with a null behind it.
ProbeMaker<kzfi_objid**> ids(const char* name) {
    return {name, [=](Args& a) {
                kzfi_objid* const list[] = {idOf(a), nullptr};
                return static_cast<kzfi_objid**>(a.piece(name, list, sizeof list, false));
            }};
}

ProbeMaker<char*> text(const char* name) {
    return {name, [=](Args& a) { return a.text(name); }};
}

ProbeMaker<const char*> constText(const char* name) {
    return {name, [=](Args& a) { return a.text(name); }};
}

ProbeMaker<char**> texts(const char* name) {
    return {name, [=](Args& a) {
                char* const list[] = {a.text(std::string(name) + "[0]"), nullptr};
                return static_cast<char**>(a.piece(name, list, sizeof list, false));
            }};
}

ProbeMaker<tstring> command() {
    return {nullptr, [](Args& a) { return tstring(a.request.text.c_str()); }};
}

ProbeMaker<CFiObjctlArgs&> objctlArguments() {
    return {nullptr, [](Args&) -> CFiObjctlArgs& {
                static CFiObjctlArgs arguments;
                return arguments;
            }};
}

kfi_splitnode* makeSplit(Args& a, const char* name) {
    return a.input<kfi_splitnode>(name, {nullptr, a.request.node, a.request.alternate});
}

ProbeMaker<kfi_splitnode*> split(const char* name = "split") {
    return {name, [=](Args& a) { return makeSplit(a, name); }};
}

ProbeMaker<kfi_splitnode**> splits() {
    return {"nodes",
            [](Args& a) { return a.input<kfi_splitnode*>("nodes", makeSplit(a, "nodes[0]")); }};
}

/// One element; its node's flags are for the operation to change.
ProbeMaker<kfi_node_subobj_list*> subObjects() {
    return {"list", [](Args& a) {
                return a.input<kfi_node_subobj_list>("list",
                                                     {a.request.node, nullptr, nullptr, nullptr});
            }};
}

ProbeMaker<kfi_host_infn*> hosts() {
    return {"hosts", [](Args& a) {
                return a.input<kfi_host_infn>("hosts", {a.text("hosts[0]"), nullptr});
            }};
}

ProbeMaker<kfi_msg_info*> message() {
    return {"info", [](Args& a) {
                const auto length = static_cast<uint32_t>(a.request.text.size());
                return a.input<kfi_msg_info>("info", {a.text("info.text"), length});
            }};
}

/// A record that only the framework knows: it is never there.
template <class T>
ProbeMaker<T*> unknown() {
    return {nullptr, [](Args&) { return static_cast<T*>(nullptr); }};
}

template <class T = int>
ProbeMaker<T> count() {
    return {nullptr, [](Args&) { return T(1); }};
}

template <class T = int>
ProbeMaker<T> none() {
    return {nullptr, [](Args&) { return T(0); }};
}

template <class T = int>
ProbeMaker<T> number() {
    return {nullptr, [](Args& a) { return static_cast<T>(a.request.number); }};
}

ProbeMaker<bool> flag() {
    return {nullptr, [](Args& a) { return a.request.number != 0; }};
}

ProbeMaker<CFiSessionPtr&> session() {
    return {nullptr, [](Args& a) -> CFiSessionPtr& {
                auto* const made = new CFiSessionPtr(new CFiSession);
                a.afterwards([=](bool) { delete made; });
                return *made;
            }};
}

// ---- Outputs ----

template <class T>
ProbeMaker<T*> out(const char* name) {
    return {name, [=](Args& a) { return a.output<T>(name); }};
}

/// A list that becomes the framework's. Its size is that of the buffer: the checks of the
/// operations themselves look at the count.
ProbeMaker<kzfi_objid***> outIds(const char* name) {
    return {name, [=](Args& a) {
                kzfi_objid*** const place = a.output<kzfi_objid**>(name);
                a.afterwards([=](bool succeeded) {
                    if (const std::size_t size = kzfi_platform_size_of(*place);
                        succeeded && size > 0) {
                        kzfi_free_buf(*place, size);
                    }
                });
                return place;
            }};
}

/// A text that is given back through delLocaleMessage.
template <class Char>
ProbeMaker<Char**> localeText() {
    return {"text", [](Args& a) {
                Char** const place = a.output<Char*>("text");
                a.afterwards([&a, place](bool) {
                    if (*place != nullptr && *place != probeMark()) {
                        a.provider.delLocaleMessage(const_cast<char**>(place));
                    }
                });
                return place;
            }};
}

/// Room for one status.
ProbeMaker<long*> statuses() {
    return out<long>("statuses");
}

/// What it names of the last call: nothing.
template <class T>
ProbeMaker<T**> given(const char* name) {
    return {name, [=](Args& a) {
                T* const nothing = nullptr;
                return static_cast<T**>(a.piece(name, &nothing, sizeof nothing, true));
            }};
}

void freeText(char* text) {
    if (const std::size_t size = kzfi_platform_size_of(text); size > 0) {
        kzfi_free_buf(text, size);
    }
}

/// A request for the descriptions of list 0.
ProbeMaker<kfi_confspec*> request() {
    return {"spec", [](Args& a) {
                kfi_confspec spec = {};
                spec.second_selector = 1;
                auto* const place =
                    static_cast<kfi_confspec*>(a.piece("spec", &spec, sizeof spec, true));
                a.afterwards([=](bool) { freeText(place->text); });
                return place;
            }};
}

ProbeMaker<int> configMode() {
    return {nullptr, [](Args&) { return static_cast<int>(KZFI_CONFIG_GETPARAM); }};
}

ProbeMaker<kfi_blob*> state() {
    return {"state", [](Args& a) {
                const kfi_blob empty = {};
                auto* const place =
                    static_cast<kfi_blob*>(a.piece("state", &empty, sizeof empty, true));
                a.afterwards([=](bool) { kzfi_free_buf(place->data, place->size); });
                return place;
            }};
}

ProbeMaker<kfi_op_providerstate> produce() {
    return {nullptr,
            [](Args&) { return static_cast<kfi_op_providerstate>(KZFI_PROVIDERSTATE_PRODUCE); }};
}

// ---- The operations, in the plug-in base's order ----

std::vector<Probe> nodeProbes() {
    return {
        probe("delayedInit", &Base::delayedInit),
        probe("claim", &Base::claim, id(), outIds("claimed"), out<int>("count")),
        probe("initNode", &Base::initNode, node(), parents(), count(), id()),
        probe("supportsFiType", &Base::supportsFiType, node(), text("fiType")),
        probe("deportTree", &Base::deportTree, node(), alternate(), unknown<kfi_accessnode>()),
        probe("importTreeNode", &Base::importTreeNode, node(), ids("primaries"), ids("secondaries"),
              count(), out<kzfi_objid*>("out")),
        probe("config", &Base::config, node(), configMode(), text("session"), request()),
    };
}

std::vector<Probe> treeProbes() {
    return {
        probe("initAltNode", &Base::initAltNode, node(), alternate("parent"), alternate("target"),
              flag()),
        probe("reAccessTmpObj", &Base::reAccessTmpObj, node(), id(), text("splitType"),
              alternate("parent"), text("session"), number<kfi_intent>()),
        probe("reAccessAltNode", &Base::reAccessAltNode, node(), id("primary"), id("alternate"),
              text("session"), ids("primaries"), ids("secondaries"), count(), number<kfi_intent>()),
        probe("dispose", &Base::dispose, node(), alternate(), split(), number<kfi_disposition>()),
        probe("online", &Base::online, node(), alternate(), number(), number<kfi_disposition>()),
        probe("subobjList", &Base::subobjList, node(), out<kzfi_objid**>("list"),
              out<int>("count")),
        probe("errMsg", &Base::errMsg, number(), localeText<const char>()),
        probe("buildAltTree", &Base::buildAltTree, node(), text("session"), ids("primaries"),
              ids("secondaries"), count(), out<kzfi_objid*>("out")),
    };
}

std::vector<Probe> snapshotProbes() {
    return {
        probe("quiesce", &Base::quiesce, unknown<kfi_quiescenode*>(), none(), text("session")),
        probe("unquiesce", &Base::unquiesce, unknown<kfi_quiescenode*>(), none()),
        probe("make", &Base::make, text("session"), splits(), count(), outIds("made"),
              out<int>("count")),
        probe("makeSnapshots", &Base::makeSnapshots, session()),
        probe("prepare", &Base::prepare, text("session"), splits(), count(), number()),
        probe("prepareSnapshots", &Base::prepareSnapshots, session()),
        probe("select", &Base::select, text("session"), splits(), count()),
        probe("selectSnapshots", &Base::selectSnapshots, session()),
        probe("isReady", &Base::isReady, text("session"), splits(), count()),
        probe("cacheDisable", &Base::cacheDisable, node(), number()),
        probe("cacheEnable", &Base::cacheEnable, node(), number()),
        probe("cacheFlush", &Base::cacheFlush, node(), number()),
        probe("interpose", &Base::interpose, node(), out<kzfi_objid*>("interposer"),
              outIds("lower"), out<int>("count")),
    };
}

std::vector<Probe> enumerationProbes() {
    return {
        probe("getAttr", &Base::getAttr, node(), alternate(), split(), unknown<kfi_attributes>()),
        probe("getProviderInfo", &Base::getProviderInfo, out<kfi_provider_list*>("list")),
        probe("enumerateNodes", &Base::enumerateNodes, out<kfi_node_list*>("list"),
              out<int>("count"), number(), text("filter")),
        probe("enumerateAssociations", &Base::enumerateAssociations, out<kfi_assoc_list*>("list")),
        probe("enumerateGroupNodes", &Base::enumerateGroupNodes, out<kfi_group_node_list*>("list")),
        probe("enumerateFims", &Base::enumerateFims, out<kfi_fim_list*>("list")),
        probe("isValidNodeAssociation", &Base::isValidNodeAssociation, unknown<kfi_assoc>(),
              out<int>("valid")),
        probe("getAssociatedNodes", &Base::getAssociatedNodes, unknown<kfi_node>(),
              out<kfi_node_list*>("list")),
        probe("checkNodeExistence", &Base::checkNodeExistence, node(), out<int>("exists")),
        probe("objctl", &Base::objctl, command(), objctlArguments()),
        probe("processProviderState", &Base::processProviderState, node(), state(), produce()),
    };
}

std::vector<Probe> messageAndRestoreProbes() {
    return {
        probe("getLastError", &Base::getLastError, out<kfi_msg_info*>("info")),
        probe("delLastError", &Base::delLastError, given<kfi_msg_info>("info")),
        probe("getLocaleMessage", &Base::getLocaleMessage, out<int>("status"), message(),
              constText("locale"), localeText<char>()),
        probe("delLocaleMessage", &Base::delLocaleMessage, given<char>("text")),
        probe("enableAccess", &Base::enableAccess, subObjects(), number<long>(), number(),
              number()),
        probe("disableAccess", &Base::disableAccess, subObjects(), number<long>()),
        probe("restore", &Base::restore, ids("primaries"), ids("snapshots"), count<long>(),
              text("session"), text("options"), out<char**>("results"), out<long>("count"),
              number<long>(), statuses()),
        probe("resync", &Base::resync, ids("primaries"), ids("snapshots"), count<long>(),
              text("session"), text("options"), number<long>(), statuses()),
        probe("getStatus", &Base::getStatus, ids("primaries"), ids("snapshots"), count<long>(),
              text("session"), number<long>(), statuses()),
    };
}

std::vector<Probe> preparationProbes() {
    return {
        probe("prePrepare", &Base::prePrepare, node()),
        probe("queryValidSecondaries", &Base::queryValidSecondaries, text("primary"),
              outIds("list"), out<long>("count")),
        probe("resourceStatus", &Base::resourceStatus, id("resource"), number<long>(),
              out<long>("state"), out<kfi_msg_info*>("info")),
        probe("revisitPluginNodes", &Base::revisitPluginNodes, unknown<kfi_pgn_node_list>()),
        probe("verifyQSCombos", &Base::verifyQSCombos, splits(), count()),
        probe("setImportOptions", &Base::setImportOptions, splits(), count(), hosts(), number(),
              unknown<void>()),
        probe("startBuildAltTree", &Base::startBuildAltTree, node(), ids("objects"),
              unknown<void>()),
        probe("translateResourceNames", &Base::translateResourceNames, texts("names"), count(),
              out<char*>("translated")),
    };
}

std::vector<Probe> resourceProbes() {
    return {
        probe("enumerateEnclosures", &Base::enumerateEnclosures,
              out<kfi_enclosure_node_list*>("list"), out<int>("count"), text("filter")),
        probe("importResource", &Base::importResource, texts("resources"), text("udid"),
              text("hostname"), text("session"), number(), out<char*>("results"), text("options")),
        probe("format", &Base::format, texts("resources"), count(), text("fileSystem"),
              text("label"), text("parameters"), number(), out<char**>("results"),
              out<int>("count")),
        probe("enumerateHostNodes", &Base::enumerateHostNodes, out<kfi_host_node_list*>("list"),
              out<int>("count"), text("filter")),
        probe("onlineResource", &Base::onlineResource, texts("resources"), count(),
              text("hostname"), text("mountPoint"), text("fileSystem"), text("parameters"),
              number(), out<char**>("results"), out<int>("count")),
        probe("deportResource", &Base::deportResource, text("udid"), text("hostname"),
              text("session"), text("options"), number()),
        probe("isParentPgn", &Base::isParentPgn, text("name"), out<int>("answer"), number()),
        probe("unformat", &Base::unformat, texts("resources"), count(), number()),
        probe("preDeportResource", &Base::preDeportResource, text("resource"), number(),
              text("hostname")),
    };
}

std::vector<Probe> requestProbes() {
    return {
        probe("refreshTree", &Base::refreshTree, node(), number(), number(),
              unknown<kfi_resource>(), none(), out<int>("changed"), unknown<void>(), number()),
        probe("getBackupset", &Base::getBackupset, node(), number(), texts("files"), count(),
              unknown<kfi_bkupset>()),
        probe("getAppStatus", &Base::getAppStatus, node(), number(), unknown<void>()),
        probe("setOpStatus", &Base::setOpStatus, node(), number()),
        probe("setCompStatus", &Base::setCompStatus, node(), number(), text("name"), number()),
        probe("setRestorepaths", &Base::setRestorepaths, node(), text("paths"), count()),
        probe("createSnapReplicaNode", &Base::createSnapReplicaNode, node(),
              unknown<kfi_snapreplica_ele>()),
        probe("updateSnapshotId", &Base::updateSnapshotId, node(), alternate(),
              unknown<kfi_snapreplica_ele>(), number()),
        probe("getSnapshotSetId", &Base::getSnapshotSetId, node(), out<char*>("id")),
        probe("preselect", &Base::preselect, split("node"), text("session"), splits(), count()),
        probe("updateSnapshotHandle", &Base::updateSnapshotHandle, session(),
              unknown<kfi_snapreplica_ele>()),
        probe("getSnapdiff", &Base::getSnapdiff, node(), unknown<kfi_snapreplica_ele>(),
              unknown<kfi_snapreplica_ele>(), unknown<TrieNode_>()),
        probe("postDeport", &Base::postDeport, node(), alternate()),
        probe("deInitNode", &Base::deInitNode, node()),
    };
}

} // namespace

const std::vector<Probe>& probes() {
    static const std::vector<Probe> all = [] {
        std::vector<Probe> list;
        for (const auto part :
             {nodeProbes, treeProbes, snapshotProbes, enumerationProbes, messageAndRestoreProbes,
              preparationProbes, resourceProbes, requestProbes}) {
            const std::vector<Probe> more = part();
            list.insert(list.end(), more.begin(), more.end());
        }
        return list;
    }();
    return all;
}

} // namespace kzfi_simhost
