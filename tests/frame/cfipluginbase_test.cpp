#include "cfipluginbase.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "kzfi_platform_control.h"
#include "support/test_provider.h"
#include "support/trace_capture.h"

namespace kzfi_pdk_4_4 {
namespace {

using kzfi_tests::Node;
using kzfi_tests::PeekingPlugin;
using kzfi_tests::TraceCapture;
using kzfi_tests::TracedLine;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// A plug-in with the managers that four operations need.
class PluginBase : public testing::Test {
  protected:
    PluginBase() : errors(new CFiErrorManager), catalogs(new CFiMessageCatalogManager) {
        plugin.registerErrorManager(errors);
        plugin.registerCatalogManager(catalogs);
    }

    CFiErrorManagerPtr errors;
    CFiMessageCatalogManagerPtr catalogs;
    PeekingPlugin plugin;
};

TEST_F(PluginBase, StartsWithoutNamesManagersAndDescriptions) {
    PeekingPlugin fresh;
    EXPECT_STREQ(fresh.getProviderName().c_str(), "");
    EXPECT_EQ(fresh.fimName, "");
    EXPECT_EQ(fresh.messageIndexOffset, 0);
    EXPECT_FALSE(fresh.errorManager);
    EXPECT_FALSE(fresh.catalogManager);
    EXPECT_FALSE(fresh.privateDataManager);
    EXPECT_FALSE(fresh.sessionManager);
    EXPECT_EQ(fresh.getCount(), 0u);
    for (const bool second : {false, true}) {
        for (const int index : {0, 1}) {
            EXPECT_TRUE(fresh.globalConfigInfoList(index, second)->empty());
        }
    }
}

TEST_F(PluginBase, FimNameDefaultsOnlyForNull) {
    plugin.setFimName("mirror");
    EXPECT_EQ(plugin.fimName, "mirror");
    plugin.setFimName(nullptr);
    EXPECT_EQ(plugin.fimName, "KzFI");
    plugin.setFimName("");
    EXPECT_EQ(plugin.fimName, "");
}

TEST_F(PluginBase, ProviderNameIsHandedOutAsACopy) {
    plugin.setProviderName("array");
    tstring copy = plugin.getProviderName();
    copy += "x";
    EXPECT_STREQ(plugin.getProviderName().c_str(), "array");
    EXPECT_EQ(plugin.fimName, "") << "the names are independent";
}

TEST_F(PluginBase, MessageIndexOffsetKeepsItsLow32Bits) {
    const struct {
        long offset;
        std::int32_t stored;
    } cases[] = {
        {4294967301L, 5}, {1000, 1000}, {-7, -7}, {2147483648L, -2147483648}, {4294967296L, 0}};
    for (const auto& c : cases) {
        plugin.setMessageIndexOffset(c.offset);
        EXPECT_EQ(plugin.messageIndexOffset, c.stored) << c.offset;
    }
}

TEST_F(PluginBase, GlobalListsAreIndexedBySecondThenIndex) {
    EXPECT_EQ(plugin.globalConfigInfoList(0, false), &plugin.globalConfigInfo[0][0]);
    EXPECT_EQ(plugin.globalConfigInfoList(1, false), &plugin.globalConfigInfo[0][1]);
    EXPECT_EQ(plugin.globalConfigInfoList(0, true), &plugin.globalConfigInfo[1][0]);
    EXPECT_EQ(plugin.globalConfigInfoList(1, true), &plugin.globalConfigInfo[1][1]);
}

TEST_F(PluginBase, RegisteringCountsTheManager) {
    EXPECT_EQ(errors->getCount(), 2u);
    plugin.registerErrorManager(plugin.errorManager);
    EXPECT_EQ(errors->getCount(), 2u) << "the plug-in's own field";
    plugin.registerErrorManager(plugin.errorManager);
    CFiErrorManagerPtr another = errors;
    plugin.registerErrorManager(another);
    EXPECT_EQ(errors->getCount(), 3u) << "one release and one count";
    CFiErrorManagerPtr none;
    plugin.registerErrorManager(none);
    EXPECT_EQ(errors->getCount(), 2u);
    EXPECT_FALSE(plugin.errorManager);
}

TEST_F(PluginBase, ItsOwnFieldMayBeTheOnlyHolder) {
    errors.release();
    plugin.registerErrorManager(plugin.errorManager);
    ASSERT_TRUE(plugin.errorManager);
    EXPECT_EQ(plugin.errorManager->getCount(), 1u);
}

TEST_F(PluginBase, TheObjectLockIsTheProvidersAlone) {
    CFiTraceLogPtr log;
    plugin.registerTraceLog(log);
    plugin.objectLock.acquire();
    std::thread([this] {
        Node node("disk");
        kfi_confspec spec = {1, 0, nullptr};
        plugin.init();
        plugin.config(node.get(), 1, nullptr, &spec);
        plugin.deInitNode(node.get());
    }).join();
    plugin.objectLock.release();
}

TEST_F(PluginBase, EveryManagerHasItsField) {
    CFiPrivateDataManagerPtr data(new CFiPrivateDataManager);
    CFiSessionManagerPtr sessions(new CFiSessionManager);
    plugin.registerPrivateDataManager(data);
    plugin.registerSessionManager(sessions);
    EXPECT_EQ(plugin.errorManager.get(), errors.get());
    EXPECT_EQ(plugin.catalogManager.get(), catalogs.get());
    EXPECT_EQ(plugin.privateDataManager.get(), data.get());
    EXPECT_EQ(plugin.sessionManager.get(), sessions.get());
}

TEST(PluginBaseShutdown, StaysSetForAllPlugins) {
    PeekingPlugin one;
    // Nothing resets the flag, so that a second round in one process begins with it set.
    static bool firstRound = true;
    EXPECT_NE(one.isShuttingDown(false), firstRound);
    firstRound = false;
    EXPECT_TRUE(one.isShuttingDown(true));
    EXPECT_TRUE(one.isShuttingDown(false));
    EXPECT_TRUE(CFiPluginBase::isShuttingDown(false));
}

/// Writes its name down when it dies.
template <class Manager>
class Mortal : public Manager {
  public:
    Mortal(std::vector<std::string>& deaths, const char* kind) : log(deaths), name(kind) {}
    ~Mortal() override { log.push_back(name); }

  private:
    std::vector<std::string>& log;
    const char* name;
};

TEST(PluginBaseEnd, ManagersAreReleasedInReverseAndTheTraceLogLast) {
    std::vector<std::string> deaths;
    {
        CFiPluginBase plugin;
        CFiTraceLogPtr log(new Mortal<CFiTraceLog>(deaths, "trace log"));
        CFiErrorManagerPtr errors(new Mortal<CFiErrorManager>(deaths, "errors"));
        CFiMessageCatalogManagerPtr catalogs(
            new Mortal<CFiMessageCatalogManager>(deaths, "catalogs"));
        CFiPrivateDataManagerPtr data(new Mortal<CFiPrivateDataManager>(deaths, "data"));
        CFiSessionManagerPtr sessions(new Mortal<CFiSessionManager>(deaths, "sessions"));
        plugin.registerTraceLog(log);
        plugin.registerErrorManager(errors);
        plugin.registerCatalogManager(catalogs);
        plugin.registerPrivateDataManager(data);
        plugin.registerSessionManager(sessions);
        for (const auto count : {log->getCount(), errors->getCount(), sessions->getCount()}) {
            EXPECT_EQ(count, 2u);
        }
        sessions.release();
        data.release();
        catalogs.release();
        errors.release();
        log.release();
        EXPECT_THAT(deaths, IsEmpty());
    }
    EXPECT_THAT(deaths, ElementsAre("sessions", "data", "catalogs", "errors", "trace log"));
}

/// One operation, called with harmless arguments.
struct Operation {
    const char* name;
    int status;
    std::function<int(CFiPluginBase&)> call;
};

constexpr int NO_STATUS = -1;

template <class Call>
std::function<int(CFiPluginBase&)> nothing(Call call) {
    return [call](CFiPluginBase& plugin) {
        call(plugin);
        return NO_STATUS;
    };
}

CFiSessionPtr noSession;
CFiObjctlArgs noArguments;

/// All that trace, in order, with the answer of their default to null arguments.
const std::vector<Operation>& operations() {
    using P = CFiPluginBase;
    static const std::vector<Operation> all = {
        {"init", 0, [](P& p) { return p.init(); }},
        {"fini", NO_STATUS, nothing([](P& p) { p.fini(); })},
        {"claim", 0, [](P& p) { return p.claim(nullptr, nullptr, nullptr); }},
        {"supportsFiType", 0, [](P& p) { return p.supportsFiType(nullptr, nullptr); }},
        {"deportTree", 0, [](P& p) { return p.deportTree(nullptr, nullptr, nullptr); }},
        {"importTreeNode", 0,
         [](P& p) { return p.importTreeNode(nullptr, nullptr, nullptr, 0, nullptr); }},
        {"initNode", 0, [](P& p) { return p.initNode(nullptr, nullptr, 0, nullptr); }},
        {"config", 3, [](P& p) { return p.config(nullptr, 1, nullptr, nullptr); }},
        {"initAltNode", 0, [](P& p) { return p.initAltNode(nullptr, nullptr, nullptr, false); }},
        {"reAccessTmpObj", 0,
         [](P& p) { return p.reAccessTmpObj(nullptr, nullptr, nullptr, nullptr, nullptr, 0); }},
        {"reAccessAltNode", 0,
         [](P& p) {
             return p.reAccessAltNode(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0);
         }},
        {"deInitNode", NO_STATUS, nothing([](P& p) { p.deInitNode(nullptr); })},
        {"dispose", 0, [](P& p) { return p.dispose(nullptr, nullptr, nullptr, 0); }},
        {"online", 0, [](P& p) { return p.online(nullptr, nullptr, 0, 0); }},
        {"subobjList", 0, [](P& p) { return p.subobjList(nullptr, nullptr, nullptr); }},
        {"errMsg", 0, [](P& p) { return p.errMsg(1, nullptr); }},
        {"buildAltTree", 0,
         [](P& p) { return p.buildAltTree(nullptr, nullptr, nullptr, nullptr, 0, nullptr); }},
        {"quiesce", 0, [](P& p) { return p.quiesce(nullptr, 0, nullptr); }},
        {"unquiesce", NO_STATUS, nothing([](P& p) { p.unquiesce(nullptr, 0); })},
        {"make", 4, [](P& p) { return p.make(nullptr, nullptr, 0, nullptr, nullptr); }},
        {"makeSnapshots", 4, [](P& p) { return p.makeSnapshots(noSession); }},
        {"prepare", 4, [](P& p) { return p.prepare(nullptr, nullptr, 0, 0); }},
        {"prepareSnapshots", 0, [](P& p) { return p.prepareSnapshots(noSession); }},
        {"select", 4, [](P& p) { return p.select(nullptr, nullptr, 0); }},
        {"selectSnapshots", 0, [](P& p) { return p.selectSnapshots(noSession); }},
        {"isReady", 0, [](P& p) { return p.isReady(nullptr, nullptr, 0); }},
        {"cacheDisable", 0, [](P& p) { return p.cacheDisable(nullptr, 0); }},
        {"cacheEnable", NO_STATUS, nothing([](P& p) { p.cacheEnable(nullptr, 0); })},
        {"cacheFlush", NO_STATUS, nothing([](P& p) { p.cacheFlush(nullptr, 0); })},
        {"interpose", 0, [](P& p) { return p.interpose(nullptr, nullptr, nullptr, nullptr); }},
        {"getAttr", 0, [](P& p) { return p.getAttr(nullptr, nullptr, nullptr, nullptr); }},
        {"getProviderInfo", 0, [](P& p) { return p.getProviderInfo(nullptr); }},
        {"enumerateNodes", 3, [](P& p) { return p.enumerateNodes(nullptr, nullptr, 0, nullptr); }},
        {"enumerateAssociations", 3, [](P& p) { return p.enumerateAssociations(nullptr); }},
        {"enumerateGroupNodes", 3, [](P& p) { return p.enumerateGroupNodes(nullptr); }},
        {"enumerateFims", 0, [](P& p) { return p.enumerateFims(nullptr); }},
        {"isValidNodeAssociation", 4,
         [](P& p) { return p.isValidNodeAssociation(nullptr, nullptr); }},
        {"getAssociatedNodes", 3, [](P& p) { return p.getAssociatedNodes(nullptr, nullptr); }},
        {"checkNodeExistence", 4, [](P& p) { return p.checkNodeExistence(nullptr, nullptr); }},
        {"objctl", 0, [](P& p) { return p.objctl("command", noArguments); }},
        {"processProviderState", 0,
         [](P& p) { return p.processProviderState(nullptr, nullptr, 1); }},
        {"getLastError", 0, [](P& p) { return p.getLastError(nullptr); }},
        {"delLastError", 0, [](P& p) { return p.delLastError(nullptr); }},
        {"getLocaleMessage", 0,
         [](P& p) { return p.getLocaleMessage(nullptr, nullptr, nullptr, nullptr); }},
        {"delLocaleMessage", 0, [](P& p) { return p.delLocaleMessage(nullptr); }},
        {"enableAccess", 3, [](P& p) { return p.enableAccess(nullptr, 0, 0, 0); }},
        {"disableAccess", 3, [](P& p) { return p.disableAccess(nullptr, 0); }},
        {"restore", 4,
         [](P& p) {
             return p.restore(nullptr, nullptr, 0, nullptr, nullptr, nullptr, nullptr, 0, nullptr);
         }},
        {"resync", 0,
         [](P& p) { return p.resync(nullptr, nullptr, 0, nullptr, nullptr, 0, nullptr); }},
        {"getStatus", 0,
         [](P& p) { return p.getStatus(nullptr, nullptr, 1, nullptr, 0, nullptr); }},
        {"prePrepare", 0, [](P& p) { return p.prePrepare(nullptr); }},
        {"queryValidSecondaries", 0,
         [](P& p) { return p.queryValidSecondaries(nullptr, nullptr, nullptr); }},
        {"resourceStatus", 0, [](P& p) { return p.resourceStatus(nullptr, 0, nullptr, nullptr); }},
        {"revisitPluginNodes", 0, [](P& p) { return p.revisitPluginNodes(nullptr); }},
        {"verifyQSCombos", 0, [](P& p) { return p.verifyQSCombos(nullptr, 0); }},
        {"setImportOptions", 0,
         [](P& p) { return p.setImportOptions(nullptr, 1, nullptr, 0, nullptr); }},
        {"startBuildAltTree", 0,
         [](P& p) { return p.startBuildAltTree(nullptr, nullptr, nullptr); }},
        {"translateResourceNames", 0,
         [](P& p) { return p.translateResourceNames(nullptr, 0, nullptr); }},
        {"enumerateEnclosures", 0,
         [](P& p) { return p.enumerateEnclosures(nullptr, nullptr, nullptr); }},
        {"importResource", 0,
         [](P& p) {
             return p.importResource(nullptr, nullptr, nullptr, nullptr, 0, nullptr, nullptr);
         }},
        {"format", 0,
         [](P& p) { return p.format(nullptr, 0, nullptr, nullptr, nullptr, 0, nullptr, nullptr); }},
        {"enumerateHostNodes", 0,
         [](P& p) { return p.enumerateHostNodes(nullptr, nullptr, nullptr); }},
        {"onlineResource", 0,
         [](P& p) {
             return p.onlineResource(nullptr, 0, nullptr, nullptr, nullptr, nullptr, 0, nullptr,
                                     nullptr);
         }},
        {"deportResource", 0,
         [](P& p) { return p.deportResource(nullptr, nullptr, nullptr, nullptr, 0); }},
        {"isParentPgn", 0, [](P& p) { return p.isParentPgn(nullptr, nullptr, 0); }},
        {"unformat", 0, [](P& p) { return p.unformat(nullptr, 0, 0); }},
        {"preDeportResource", 0, [](P& p) { return p.preDeportResource(nullptr, 0, nullptr); }},
        {"refreshTree", 0,
         [](P& p) { return p.refreshTree(nullptr, 0, 0, nullptr, 0, nullptr, nullptr, 0); }},
        {"getBackupset", 0, [](P& p) { return p.getBackupset(nullptr, 0, nullptr, 0, nullptr); }},
        {"getAppStatus", 0, [](P& p) { return p.getAppStatus(nullptr, 0, nullptr); }},
        {"setOpStatus", 0, [](P& p) { return p.setOpStatus(nullptr, 0); }},
        {"setCompStatus", 0, [](P& p) { return p.setCompStatus(nullptr, 0, nullptr, 0); }},
        {"setRestorepaths", 0, [](P& p) { return p.setRestorepaths(nullptr, nullptr, 0); }},
        {"createSnapReplicaNode", 0,
         [](P& p) { return p.createSnapReplicaNode(nullptr, nullptr); }},
        {"updateSnapshotId", 0,
         [](P& p) { return p.updateSnapshotId(nullptr, nullptr, nullptr, 0); }},
        {"getSnapshotSetId", 0, [](P& p) { return p.getSnapshotSetId(nullptr, nullptr); }},
        {"preselect", 0, [](P& p) { return p.preselect(nullptr, nullptr, nullptr, 0); }},
        {"updateSnapshotHandle", 0,
         [](P& p) { return p.updateSnapshotHandle(noSession, nullptr); }},
        {"getSnapdiff", 0, [](P& p) { return p.getSnapdiff(nullptr, nullptr, nullptr, nullptr); }},
        {"postDeport", 0, [](P& p) { return p.postDeport(nullptr, nullptr); }},
    };
    return all;
}

TEST_F(PluginBase, EveryOperationAnswersItsDefault) {
    ASSERT_EQ(operations().size(), 80u);
    for (const Operation& operation : operations()) {
        EXPECT_EQ(operation.call(plugin), operation.status) << operation.name;
    }
    EXPECT_EQ(plugin.delayedInit(), 0);
}

TEST_F(PluginBase, EveryOperationTracesEntryAndExit) {
    TraceCapture trace(6);
    plugin.registerTraceLog(trace.log());
    for (const Operation& operation : operations()) {
        operation.call(plugin);
        const std::vector<TracedLine> lines = trace.all();
        ASSERT_THAT(lines, testing::SizeIs(2)) << operation.name;
        const std::string name(operation.name);
        EXPECT_THAT(lines[0].text, StartsWith("Entering Function " + name + " ["));
        EXPECT_THAT(lines[0].text, HasSubstr(", cfipluginbase"));
        EXPECT_EQ("Exiting" + lines[0].text.substr(8), lines[1].text);
        EXPECT_EQ(lines[0].level, 6);
        EXPECT_EQ(lines[1].level, 6);
    }
}

TEST_F(PluginBase, TwoOperationsTraceNothing) {
    TraceCapture trace(6);
    plugin.registerTraceLog(trace.log());
    plugin.delayedInit();
    plugin.globalConfigInfoList(0, false);
    EXPECT_THAT(trace.all(), IsEmpty());
}

TEST_F(PluginBase, ClaimAndInterposeLeaveTheirArguments) {
    Node node("disk");
    kzfi_objid* object = node.objid();
    kzfi_objid** objects = &object;
    int count = 7;
    EXPECT_EQ(plugin.claim(node.objid(), &objects, &count), 0);
    kzfi_objid* interposer = object;
    EXPECT_EQ(plugin.interpose(node.get(), &interposer, &objects, &count), 0);
    EXPECT_EQ(objects, &object);
    EXPECT_EQ(interposer, object);
    EXPECT_EQ(count, 7);
}

TEST_F(PluginBase, NoFiTypeIsSupported) {
    Node node("disk");
    char type[] = "mirror";
    EXPECT_EQ(plugin.supportsFiType(node.get(), type), 0);
    EXPECT_EQ(node.level(), 0);
    node->support_level = nullptr;
    EXPECT_EQ(plugin.supportsFiType(node.get(), type), 0);
}

template <class List>
List* somewhere() {
    static char place;
    return reinterpret_cast<List*>(&place);
}

TEST_F(PluginBase, EnumerationsHandOutNothing) {
    kfi_node_list* nodes = somewhere<kfi_node_list>();
    EXPECT_EQ(plugin.enumerateNodes(&nodes, nullptr, 0, nullptr), 0);
    EXPECT_EQ(nodes, nullptr);
    nodes = somewhere<kfi_node_list>();
    EXPECT_EQ(plugin.getAssociatedNodes(nullptr, &nodes), 0);
    EXPECT_EQ(nodes, nullptr);
    kfi_assoc_list* associations = somewhere<kfi_assoc_list>();
    EXPECT_EQ(plugin.enumerateAssociations(&associations), 0);
    EXPECT_EQ(associations, nullptr);
    kfi_group_node_list* groups = somewhere<kfi_group_node_list>();
    EXPECT_EQ(plugin.enumerateGroupNodes(&groups), 0);
    EXPECT_EQ(groups, nullptr);
    kfi_fim_list* fims = somewhere<kfi_fim_list>();
    EXPECT_EQ(plugin.enumerateFims(&fims), 0);
    EXPECT_EQ(fims, nullptr);
}

TEST_F(PluginBase, ThreeQueriesLeaveTheirOutPointer) {
    kfi_provider_list* providers = somewhere<kfi_provider_list>();
    EXPECT_EQ(plugin.getProviderInfo(&providers), 0);
    EXPECT_NE(providers, nullptr);
    kfi_enclosure_node_list* enclosures = somewhere<kfi_enclosure_node_list>();
    EXPECT_EQ(plugin.enumerateEnclosures(&enclosures, nullptr, nullptr), 0);
    EXPECT_NE(enclosures, nullptr);
    kfi_host_node_list* hosts = somewhere<kfi_host_node_list>();
    EXPECT_EQ(plugin.enumerateHostNodes(&hosts, nullptr, nullptr), 0);
    EXPECT_NE(hosts, nullptr);
}

TEST_F(PluginBase, UnimplementedQueriesLeaveTheirFlag) {
    int flag = 42;
    EXPECT_EQ(plugin.isValidNodeAssociation(nullptr, &flag), 4);
    EXPECT_EQ(plugin.checkNodeExistence(nullptr, &flag), 4);
    EXPECT_EQ(flag, 42);
}

TEST_F(PluginBase, ProducedProviderStateIsEmpty) {
    char bytes[] = "state";
    kfi_blob blob = {bytes, sizeof bytes, 5};
    for (const kfi_op_providerstate op : {0, 2, -1}) {
        EXPECT_EQ(plugin.processProviderState(nullptr, &blob, op), 0);
        EXPECT_EQ(blob.data, bytes);
        EXPECT_EQ(blob.size, sizeof bytes);
    }
    EXPECT_EQ(plugin.processProviderState(nullptr, &blob, 1), 0);
    EXPECT_EQ(blob.data, nullptr);
    EXPECT_EQ(blob.size, 0u);
    EXPECT_EQ(blob.flag, 5);
}

TEST_F(PluginBase, StatusIsEightForEveryEntry) {
    long statuses[] = {-1, -1, -1};
    EXPECT_EQ(plugin.getStatus(nullptr, nullptr, 2, nullptr, 0, statuses), 0);
    EXPECT_THAT(statuses, ElementsAre(8, 8, -1));
}

TEST_F(PluginBase, StatusOfNothingWritesNothing) {
    long statuses[] = {-1};
    for (const long count : {0L, -3L}) {
        EXPECT_EQ(plugin.getStatus(nullptr, nullptr, count, nullptr, 0, statuses), 0);
        EXPECT_THAT(statuses, ElementsAre(-1));
    }
    EXPECT_EQ(plugin.getStatus(nullptr, nullptr, 1, nullptr, 0, nullptr), 0);
}

TEST_F(PluginBase, NoSecondariesAreValid) {
    kzfi_objid* object = nullptr;
    kzfi_objid** list = &object;
    long count = 9;
    EXPECT_EQ(plugin.queryValidSecondaries(nullptr, &list, &count), 0);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(list, &object);
}

TEST_F(PluginBase, AccessSkipsElementsWithoutSubObject) {
    Node first("a");
    Node last("b");
    first->flags = 0x8;
    last->flags = 0x48;
    kfi_node_subobj_list three = {last.get(), nullptr, nullptr, nullptr};
    kfi_node_subobj_list two = {nullptr, nullptr, nullptr, &three};
    kfi_node_subobj_list one = {first.get(), nullptr, nullptr, &two};
    EXPECT_EQ(plugin.disableAccess(&one, 0), 0);
    EXPECT_EQ(first->flags, 0x48u);
    EXPECT_EQ(last->flags, 0x48u);
    EXPECT_EQ(plugin.enableAccess(&one, 0, 0, 0), 0);
    EXPECT_EQ(first->flags, 0x8u);
    EXPECT_EQ(last->flags, 0x8u);
}

// ---- Errors and their texts ----

CFiMessagePtr message(const std::string& id) {
    return new CFiIcuMessage(id, 3, "test.cpp", 1, {icu::Formattable("disk1")});
}

TEST_F(PluginBase, LastErrorComesFromTheManager) {
    kfi_msg_info* info = reinterpret_cast<kfi_msg_info*>(1);
    EXPECT_EQ(plugin.getLastError(&info), 0);
    EXPECT_EQ(info, nullptr);
    errors->pushError(message("MSG_ERROR_T_0001"));
    EXPECT_EQ(plugin.getLastError(&info), 0);
    ASSERT_NE(info, nullptr);
    EXPECT_THAT(info->text, HasSubstr("MSGID=MSG_ERROR_T_0001 "));
    EXPECT_EQ(plugin.delLastError(&info), 0);
    EXPECT_EQ(plugin.getLastError(&info), 0);
    EXPECT_EQ(info, nullptr);
}

/// Makes messages; has no catalogue.
class MessageFactory : public CFiMessageCatalogFactory {
  public:
    CFiMessageCatalogPtr createCatalog(std::string) override { return {}; }
    std::string getDefaultLanguage() override { return "en"; }
    CFiMessagePtr createMessage(kfi_msg_info* info) override {
        CFiMessagePtr made(new CFiIcuMessage);
        made->deserialize(info);
        return made;
    }
};

TEST_F(PluginBase, LocaleMessageComesFromTheCatalogueManager) {
    MessageFactory factory;
    catalogs->registerFactory(&factory);
    errors->pushError(message("MSG_ERROR_T_0001"));
    kfi_msg_info* info = nullptr;
    plugin.getLastError(&info);
    int status = 77;
    char* text = nullptr;
    EXPECT_EQ(plugin.getLocaleMessage(&status, info, "en", &text), 0);
    EXPECT_STREQ(text, "<MSG_ERROR_T_0001>");
    EXPECT_EQ(status, 77);
    EXPECT_EQ(plugin.delLocaleMessage(&text), 0);
}

TEST_F(PluginBase, ErrMsgBuildsTheKeyFromNameAndOffset) {
    const struct {
        const char* provider;
        long offset;
        int code;
        const char* text;
    } cases[] = {
        {"array", 1000, 1007, "<MSG_ERROR_ARRAY_0007>"},
        {"array", 1000, 12, "<MSG_ERROR_ARRAY_0012>"},
        {"array", 1000, 1000, "<MSG_ERROR_ARRAY_1000>"},
        {"Ab-c", 0, 5, "<MSG_ERROR_AB-C_0005>"},
        {"x", 0, 123456, "<MSG_ERROR_X_123456>"},
        {"x", 0, -5, "<MSG_ERROR_X_-005>"},
        {"x", -10, -5, "<MSG_ERROR_X_0005>"},
        {"x", -2147483648L, 2147483647, "<MSG_ERROR_X_-001>"},
        {"", 0, 1, "<MSG_ERROR__0001>"},
    };
    for (const auto& c : cases) {
        plugin.setProviderName(c.provider);
        plugin.setMessageIndexOffset(c.offset);
        const char* text = nullptr;
        EXPECT_EQ(plugin.errMsg(c.code, &text), 0);
        EXPECT_STREQ(text, c.text);
    }
}

TEST_F(PluginBase, ErrMsgPushesNothing) {
    const char* text = nullptr;
    plugin.errMsg(5, &text);
    EXPECT_EQ(errors->getLastError(), nullptr);
    EXPECT_EQ(plugin.errMsg(5, nullptr), 0);
}

TEST_F(PluginBase, ErrMsgAsksForTheNativeLanguage) {
    class Factory : public MessageFactory {
      public:
        CFiMessageCatalogPtr createCatalog(std::string language) override {
            asked.push_back(language);
            return {};
        }
        std::vector<std::string> asked;
    };
    Factory factory;
    catalogs->registerFactory(&factory);
    catalogs->setNativeLanguage("de");
    factory.asked.clear();
    const char* text = nullptr;
    plugin.errMsg(5, &text);
    EXPECT_THAT(factory.asked, ElementsAre("de", "en"));
}

TEST_F(PluginBase, AnExceptionPassesAndTheExitIsTraced) {
    class Broken : public MessageFactory {
      public:
        CFiMessagePtr createMessage(kfi_msg_info*) override { throw std::runtime_error("broken"); }
    };
    Broken factory;
    catalogs->registerFactory(&factory);
    TraceCapture trace(6);
    plugin.registerTraceLog(trace.log());
    char* text = nullptr;
    kfi_msg_info info = {"", 0};
    EXPECT_THROW(plugin.getLocaleMessage(nullptr, &info, "en", &text), std::runtime_error);
    const std::vector<TracedLine> lines = trace.all();
    ASSERT_THAT(lines, testing::SizeIs(2));
    EXPECT_THAT(lines[1].text, StartsWith("Exiting Function getLocaleMessage ["));
}

} // namespace
} // namespace kzfi_pdk_4_4
