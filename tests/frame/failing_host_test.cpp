// Every operation of a plug-in and of a router, on arguments that give it something to do, while
// the host or the process runs out of memory.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <xercesc/util/OutOfMemoryException.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "cfiplugininterposer.h"
#include "kzfi_platform_control.h"
#include "support/failing_calls.h"
#include "support/failing_memory.h"
#include "support/product_paths.h"
#include "support/temp_dir.h"
#include "support/test_provider.h"

namespace kzfi_pdk_4_4 {
namespace {

using kzfi_tests::Call;
using kzfi_tests::Failing;
using kzfi_tests::Node;
using kzfi_tests::RecordingFactory;

/// Catalogues as a provider has them; the host's install root tells where they would be.
class Catalogs : public CFiMessageCatalogFactory {
  public:
    CFiMessageCatalogPtr createCatalog(std::string language) override {
        return new CFiIcuMessageCatalog(language.c_str(), "none");
    }
    std::string getDefaultLanguage() override { return "en"; }
    CFiMessagePtr createMessage(kfi_msg_info* info) override {
        const CFiMessagePtr message(new CFiIcuMessage);
        message->deserialize(info);
        return message;
    }
};

/// What an operation answered: every output by name.
using Answer = std::map<std::string, std::string>;

std::string textOf(const char* text) {
    return text != nullptr ? text : "null";
}

std::string nameOf(const kzfi_objid* id) {
    return id != nullptr ? textOf(id->name) : "null";
}

/// A plug-in or a router, everything that its operations work on, and room for what they hand out.
struct World {
    World(bool isRouter, const std::string& root)
        : node(isRouter ? "<rt>/dev/sdb" : "/dev/sdb"),
          below("/dev/sdb"),
          factory(new RecordingFactory),
          plugin(isRouter ? new CFiPluginInterposer : new CFiPluginBase),
          errors(new CFiErrorManager),
          catalogManager(new CFiMessageCatalogManager) {
        kzfi_platform_set_install_root(root.c_str());
        log = new CFiTraceLog;
        log->registerLogHandler([](const char*, int) {}, 6);
        plugin->registerTraceLog(log);
        CFiPrivateDataManagerPtr records(new CFiPrivateDataManager(factory.get()));
        plugin->registerPrivateDataManager(records);
        plugin->registerErrorManager(errors);
        plugin->registerCatalogManager(catalogManager);
        plugin->setProviderName("rt");
        if (isRouter) {
            router().addFim("/dev/", "mirror", "mirror_alt", 1, "");
            router().addFim("/dev/", "clone", "clone_alt", 2, "GROUP");
        }
        describe();
        errors->pushError(CFiMessagePtr(new CFiIcuMessage("MSG_ERROR_RT_0005", 3, "file", 1, {})));
    }
    World(const World&) = delete;
    World& operator=(const World&) = delete;
    ~World() {
        freeNames();
        node->assoc_list = nullptr;
    }

    CFiPluginInterposer& router() { return static_cast<CFiPluginInterposer&>(*plugin); }
    CFiPluginBase* operator->() { return plugin.get(); }

    /// What a record of a node and the descriptions hold.
    void describe() {
        CFiPrivateDataPtr record = factory->createPrivateData(node.get(), 0);
        record->setSessionId("S0");
        record->setHostList(&host);
        record->addSubObject(below.objid());
        for (CFiConfigParamInfoList* const descriptions :
             {record->configInfoList(1), plugin->globalConfigInfoList(1, false)}) {
            CFiConfigParamInfo& mode = descriptions->entries()["mode"];
            mode.key = "mode";
            mode.defaultValue = "a<b";
            descriptions->updateXML();
        }
    }

    /// The associations that initNode makes, which a provider or the host frees but for the names.
    void freeNames() {
        for (kfi_domain_assoc* each = node->assoc_list; each != nullptr;) {
            std::unique_ptr<kfi_domain_assoc> element(each);
            for (kfi_domain_assoc_entry* const side : {each->first, each->second}) {
                const std::unique_ptr<kfi_domain_assoc_entry> entry(side);
                std::free(entry->name);
            }
            each = each->next;
        }
    }

    Answer answer(int status) {
        Answer all;
        all["status"] = std::to_string(status);
        all["list"] = takeList();
        all["count"] = std::to_string(count) + " " + std::to_string(longCount);
        all["object"] = object == &untouched ? "untouched" : nameOf(object);
        all["config"] = takeConfig();
        all["message"] = textOf(message);
        all["info"] = info != nullptr ? info->text : "null";
        all["any"] = any == this ? "untouched" : any == nullptr ? "null" : "set";
        all["level"] = std::to_string(node.level());
        all["flags"] = std::to_string(node->flags) + " " + std::to_string(below->flags);
        all["type"] = std::to_string(node->type);
        all["statuses"] = std::to_string(statuses[0]) + " " + std::to_string(statuses[1]);
        for (kfi_domain_assoc* each = node->assoc_list; each != nullptr; each = each->next) {
            all["associations"] += textOf(each->first->name) + " " + each->second->name + ", ";
        }
        for (const auto& entry : factory->records) {
            if (!entry.second) {
                continue; // the factory found no memory for it
            }
            CFiPrivateData& record = *entry.second;
            all["record of " + nameOf(entry.first->objid)] =
                record.getSessionId() + " " + record.getSplitType() + " " +
                std::to_string(record.getIntent()) + " " +
                std::to_string(record.getTransportable()) + " " +
                std::to_string(record.getHostList().size()) +
                (record.hasConfigDataList(1) ? record.configDataList(1)->getXML() : "");
        }
        return all;
    }

    /// Texts and lists that became the host's are given back with the size that the headers tell.
    std::string takeConfig() {
        const std::string xml = textOf(spec.text);
        if (spec.text != nullptr && spec.text != config) {
            kzfi_free_buf(spec.text, xml.size() + 1);
        }
        return xml;
    }
    std::string takeList() {
        std::string names = list == &untouchedId ? "untouched" : list == nullptr ? "null" : "";
        const std::size_t size = static_cast<std::size_t>(count) * sizeof *list;
        for (int i = 0; names.empty() && i < count; ++i) {
            names += nameOf(list[i]) + ";";
        }
        if (kzfi_platform_size_of(list) != 0) {
            kzfi_free_buf(list, size);
        }
        return names;
    }

    kzfi_objid untouched = {};
    kzfi_objid* untouchedId = nullptr;
    char session[8] = "S1";
    char text[32] = "mirror";
    char udid[32] = "UDID##acme##disk##ARR01##d1";
    char config[200] = "<ConfigValueList><ConfigValue><key>other</key><value>v</value>"
                       "</ConfigValue></ConfigValueList>";
    char* texts[2] = {text, udid};
    char** textList = texts;
    kfi_host_infn host = {text, nullptr};
    Node node;
    Node below;
    kzfi_objid* ids[2] = {node.objid(), below.objid()};
    kfi_domain* domains[1] = {below.get()};
    kfi_splitnode split = {nullptr, node.get(), below.get()};
    kfi_splitnode* splits[1] = {&split};
    kfi_node_subobj_list subobjects = {below.get(), nullptr, nullptr, nullptr};
    kzfi_objid** list = &untouchedId;
    kzfi_objid* object = &untouched;
    int count = -7;
    long longCount = -7;
    long statuses[2] = {-7, -7};
    kfi_confspec spec = {1, 0, nullptr};
    kfi_blob blob = {this, 7, 0};
    kfi_msg_info* info = nullptr;
    char* message = nullptr;
    void* any = this; // in place of the framework's lists
    CFiSessionPtr noSession;
    CFiObjctlArgs arguments;
    CFiTraceLogPtr log;
    CFiSmartPtr<RecordingFactory, CFiNullAllocator<RecordingFactory>> factory;
    Catalogs catalogs;
    CFiSmartPtr<CFiPluginBase, CFiNullAllocator<CFiPluginBase>> plugin;
    CFiErrorManagerPtr errors;
    CFiMessageCatalogManagerPtr catalogManager;
};

/// What is different in the answer when the nth buffer or object id is missing.
using Differences = std::vector<Answer>;

struct Operation {
    std::string name; // a second word tells rows of one operation apart
    std::function<int(World&)> call;
    Differences withoutBuffer = {};
};

template <class Nothing>
std::function<int(World&)> nothing(Nothing call) {
    return [call](World& w) {
        call(w);
        return 0;
    };
}

template <class List>
List** out(World& w) {
    return reinterpret_cast<List**>(&w.any);
}

int config(World& w, int mode, bool withText = false) {
    w.spec.text = withText ? w.config : nullptr;
    return w->config(w.node.get(), mode, w.session, &w.spec);
}

using W = World;

// One row for each operation, in the order of the interface.
std::vector<Operation> operations() {
    const Differences noText = {{{"config", "null"}}};
    return {
        {"delayedInit", [](W& w) { return w->delayedInit(); }},
        {"globalConfigInfoList",
         [](W& w) {
             return static_cast<int>(w->globalConfigInfoList(1, false)->entries().size());
         }},
        {"init", [](W& w) { return w->init(); }},
        {"fini", nothing([](W& w) { w->fini(); })},
        {"claim", [](W& w) { return w->claim(w.node.objid(), &w.list, &w.count); }},
        {"supportsFiType", [](W& w) { return w->supportsFiType(w.node.get(), w.text); }},
        {"deportTree", [](W& w) { return w->deportTree(w.node.get(), w.below.get(), nullptr); }},
        {"importTreeNode",
         [](W& w) { return w->importTreeNode(w.node.get(), w.ids, w.ids, 2, &w.object); }},
        {"initNode", [](W& w) { return w->initNode(w.node.get(), w.domains, 1, w.node.objid()); }},
        {"config get", [](W& w) { return config(w, KZFI_CONFIG_GET); }, noText},
        {"config set", [](W& w) { return config(w, KZFI_CONFIG_SET, true); }, noText},
        {"config clear", [](W& w) { return config(w, KZFI_CONFIG_CLEAR); }},
        {"config getparam", [](W& w) { return config(w, KZFI_CONFIG_GETPARAM); }, noText},
        {"initAltNode",
         [](W& w) { return w->initAltNode(w.node.get(), nullptr, w.below.get(), false); }},
        {"reAccessTmpObj",
         [](W& w) {
             return w->reAccessTmpObj(w.below.get(), w.ids[0], w.text, nullptr, w.session, 2);
         }},
        {"reAccessAltNode",
         [](W& w) {
             return w->reAccessAltNode(w.below.get(), w.ids[0], w.ids[1], w.session, w.ids, w.ids,
                                       2, 2);
         }},
        {"deInitNode", nothing([](W& w) { w->deInitNode(w.node.get()); })},
        {"dispose", [](W& w) { return w->dispose(w.node.get(), w.below.get(), &w.split, 1); }},
        {"online", [](W& w) { return w->online(w.node.get(), w.below.get(), 1, 1); }},
        {"subobjList", [](W& w) { return w->subobjList(w.node.get(), &w.list, &w.count); }},
        {"errMsg", [](W& w) { return w->errMsg(5, const_cast<const char**>(&w.message)); }},
        {"buildAltTree",
         [](W& w) { return w->buildAltTree(w.node.get(), w.session, w.ids, w.ids, 2, &w.object); }},
        {"quiesce", [](W& w) { return w->quiesce(nullptr, 0, w.session); }},
        {"unquiesce", nothing([](W& w) { w->unquiesce(nullptr, 0); })},
        {"make", [](W& w) { return w->make(w.session, w.splits, 1, &w.list, &w.count); }},
        {"makeSnapshots", [](W& w) { return w->makeSnapshots(w.noSession); }},
        {"prepare", [](W& w) { return w->prepare(w.session, w.splits, 1, 0); }},
        {"prepareSnapshots", [](W& w) { return w->prepareSnapshots(w.noSession); }},
        {"select", [](W& w) { return w->select(w.session, w.splits, 1); }},
        {"selectSnapshots", [](W& w) { return w->selectSnapshots(w.noSession); }},
        {"isReady", [](W& w) { return w->isReady(w.session, w.splits, 1); }},
        {"cacheDisable", [](W& w) { return w->cacheDisable(w.node.get(), 0); }},
        {"cacheEnable", nothing([](W& w) { w->cacheEnable(w.node.get(), 0); })},
        {"cacheFlush", nothing([](W& w) { w->cacheFlush(w.node.get(), 0); })},
        {"interpose",
         [](W& w) { return w->interpose(w.below.get(), &w.object, &w.list, &w.count); },
         {{{"list", "null"}}}},
        {"getAttr",
         [](W& w) { return w->getAttr(w.node.get(), w.below.get(), &w.split, nullptr); }},
        {"getProviderInfo", [](W& w) { return w->getProviderInfo(out<kfi_provider_list>(w)); }},
        {"enumerateNodes",
         [](W& w) { return w->enumerateNodes(out<kfi_node_list>(w), &w.count, 0, w.text); }},
        {"enumerateAssociations",
         [](W& w) { return w->enumerateAssociations(out<kfi_assoc_list>(w)); }},
        {"enumerateGroupNodes",
         [](W& w) { return w->enumerateGroupNodes(out<kfi_group_node_list>(w)); }},
        {"enumerateFims", [](W& w) { return w->enumerateFims(out<kfi_fim_list>(w)); }},
        {"isValidNodeAssociation",
         [](W& w) { return w->isValidNodeAssociation(nullptr, &w.count); }},
        {"getAssociatedNodes",
         [](W& w) { return w->getAssociatedNodes(nullptr, out<kfi_node_list>(w)); }},
        {"checkNodeExistence", [](W& w) { return w->checkNodeExistence(w.node.get(), &w.count); }},
        {"objctl", [](W& w) { return w->objctl("command", w.arguments); }},
        {"processProviderState",
         [](W& w) {
             const int status = w->processProviderState(w.node.get(), &w.blob, 1);
             w.any = w.blob.data;
             return status;
         }},
        {"getLastError", [](W& w) { return w->getLastError(&w.info); }},
        {"delLastError", [](W& w) { return w->delLastError(&w.info); }},
        {"getLocaleMessage",
         [](W& w) {
             return w->getLocaleMessage(nullptr, w.errors->getLastError(), "en", &w.message);
         }},
        {"delLocaleMessage",
         [](W& w) {
             char* given = w.text;
             return w->delLocaleMessage(&given);
         }},
        {"enableAccess", [](W& w) { return w->enableAccess(&w.subobjects, 0, 0, 0); }},
        {"disableAccess", [](W& w) { return w->disableAccess(&w.subobjects, 0); }},
        {"restore",
         [](W& w) {
             return w->restore(w.ids, w.ids, 2, w.session, w.text, &w.textList, &w.longCount, 0,
                               w.statuses);
         }},
        {"resync",
         [](W& w) { return w->resync(w.ids, w.ids, 2, w.session, w.text, 0, w.statuses); }},
        {"getStatus", [](W& w) { return w->getStatus(w.ids, w.ids, 2, w.session, 0, w.statuses); }},
        {"prePrepare", [](W& w) { return w->prePrepare(w.node.get()); }},
        {"queryValidSecondaries",
         [](W& w) { return w->queryValidSecondaries(w.text, &w.list, &w.longCount); }},
        {"resourceStatus",
         [](W& w) { return w->resourceStatus(w.ids[0], 0, w.statuses, &w.info); }},
        {"revisitPluginNodes", [](W& w) { return w->revisitPluginNodes(nullptr); }},
        {"verifyQSCombos", [](W& w) { return w->verifyQSCombos(w.splits, 1); }},
        {"setImportOptions",
         [](W& w) { return w->setImportOptions(w.splits, 1, &w.host, 1, nullptr); }},
        {"startBuildAltTree",
         [](W& w) { return w->startBuildAltTree(w.node.get(), w.ids, nullptr); }},
        {"translateResourceNames",
         [](W& w) { return w->translateResourceNames(w.texts, 2, &w.message); }},
        {"enumerateEnclosures",
         [](W& w) {
             return w->enumerateEnclosures(out<kfi_enclosure_node_list>(w), &w.count, w.text);
         }},
        {"importResource",
         [](W& w) {
             return w->importResource(w.texts, w.udid, w.text, w.session, KZFI_IMPORT, &w.message,
                                      w.text);
         }},
        {"format",
         [](W& w) {
             return w->format(w.texts, 2, w.text, w.text, w.text, 0, &w.textList, &w.count);
         }},
        {"enumerateHostNodes",
         [](W& w) { return w->enumerateHostNodes(out<kfi_host_node_list>(w), &w.count, w.text); }},
        {"onlineResource",
         [](W& w) {
             return w->onlineResource(w.texts, 2, w.text, w.text, w.text, w.text, 0, &w.textList,
                                      &w.count);
         }},
        {"deportResource",
         [](W& w) { return w->deportResource(w.udid, w.text, w.session, w.text, KZFI_DEPORT); }},
        {"isParentPgn", [](W& w) { return w->isParentPgn(w.text, &w.count, 0); }},
        {"unformat", [](W& w) { return w->unformat(w.texts, 2, 0); }},
        {"preDeportResource", [](W& w) { return w->preDeportResource(w.text, 0, w.text); }},
        {"refreshTree",
         [](W& w) { return w->refreshTree(w.node.get(), 0, 0, nullptr, 0, &w.count, nullptr, 0); }},
        {"getBackupset",
         [](W& w) { return w->getBackupset(w.node.get(), 0, w.texts, 2, nullptr); }},
        {"getAppStatus", [](W& w) { return w->getAppStatus(w.node.get(), 0, &w.count); }},
        {"setOpStatus", [](W& w) { return w->setOpStatus(w.node.get(), 1); }},
        {"setCompStatus", [](W& w) { return w->setCompStatus(w.node.get(), 1, w.text, 1); }},
        {"setRestorepaths", [](W& w) { return w->setRestorepaths(w.node.get(), w.text, 1); }},
        {"createSnapReplicaNode",
         [](W& w) { return w->createSnapReplicaNode(w.node.get(), nullptr); }},
        {"updateSnapshotId",
         [](W& w) { return w->updateSnapshotId(w.node.get(), w.below.get(), nullptr, 0); }},
        {"getSnapshotSetId", [](W& w) { return w->getSnapshotSetId(w.node.get(), &w.message); }},
        {"preselect", [](W& w) { return w->preselect(&w.split, w.session, w.splits, 1); }},
        {"updateSnapshotHandle",
         [](W& w) { return w->updateSnapshotHandle(w.noSession, nullptr); }},
        {"getSnapdiff",
         [](W& w) { return w->getSnapdiff(w.node.get(), nullptr, nullptr, nullptr); }},
        {"postDeport", [](W& w) { return w->postDeport(w.node.get(), w.below.get()); }},
    };
}

/// Both classes; the private /usr is there for the fixed paths behind a host without a root.
class FailingHost : public testing::TestWithParam<bool> {
  protected:
    void SetUp() override { KZFI_NEEDS_PRIVATE_USR(); }

    /// An operation in a world of its own, after prepare; the buffers of the host are all given
    /// back with their sizes.
    Answer run(const Operation& operation, const std::function<void()>& prepare) {
        Answer answer;
        {
            World world(GetParam(), root.path());
            // After the root is known, so that nothing but the operation asks the host.
            world.catalogManager->registerFactory(&world.catalogs);
            before = kzfi_platform_get_counts();
            prepare();
            const int status = called(operation, world);
            after = kzfi_platform_get_counts();
            kzfi_platform_fail_alloc(0);
            kzfi_platform_fail_objid(0);
            answer = world.answer(status);
        }
        const kzfi_platform_counts counts = kzfi_platform_get_counts();
        EXPECT_EQ(counts.taken, counts.given_back) << operation.name;
        EXPECT_EQ(counts.wrong_size, 0U) << operation.name;
        EXPECT_EQ(counts.unknown, 0U) << operation.name;
        return answer;
    }

    /// Memory that is short may show as an exception.
    int called(const Operation& operation, World& world) {
        int status = -1;
        try {
            status = operation.call(world);
        } catch (const std::bad_alloc&) {
        } catch (const xercesc::OutOfMemoryException&) { // passes from the reader
        }
        allocationFailed = kzfi_tests::allocationFailed();
        return status;
    }

    /// The buffers that the operation took from the host in the last run.
    unsigned long taken() const { return static_cast<unsigned long>(after.taken - before.taken); }

    static Answer with(Answer answer, const Answer& differences) {
        for (const auto& difference : differences) {
            answer[difference.first] = difference.second;
        }
        return answer;
    }

    kzfi_tests::EmptyProduct product;
    kzfi_tests::TempDir root;
    kzfi_platform_counts before = {};
    kzfi_platform_counts after = {};
    bool allocationFailed = false;
};

INSTANTIATE_TEST_SUITE_P(Plugins, FailingHost, testing::Bool(), [](const auto& each) {
    return std::string(each.param ? "Router" : "Plugin");
});

TEST_P(FailingHost, AllOperationsAreHere) {
    std::set<std::string> names;
    for (const Operation& operation : operations()) {
        names.insert(operation.name.substr(0, operation.name.find(' ')));
    }
    EXPECT_EQ(names.size(), 82U);
}

TEST_P(FailingHost, WithoutABufferAnOperationAnswersAsTold) {
    unsigned long failed = 0;
    for (const Operation& operation : operations()) {
        const Answer usual = run(operation, [] {});
        const unsigned long buffers = taken();
        for (unsigned long nth = 1; nth <= buffers; ++nth, ++failed) {
            const Answer got = run(operation, [nth] { kzfi_platform_fail_alloc(nth); });
            EXPECT_LT(taken(), buffers) << operation.name << " " << nth;
            const bool differs = nth <= operation.withoutBuffer.size();
            EXPECT_EQ(got, with(usual, differs ? operation.withoutBuffer[nth - 1] : Answer()))
                << operation.name << " " << nth;
        }
        EXPECT_GE(buffers,
                  GetParam() || operation.name != "interpose" ? operation.withoutBuffer.size() : 0U)
            << operation.name;
    }
    EXPECT_GE(failed, GetParam() ? 4U : 3U);
}

TEST_P(FailingHost, WithoutAnObjectIdNothingIsNamed) {
    const Differences interpose = {{{"object", "null"}}, {{"list", "null"}}, {{"list", "null"}}};
    for (const Operation& operation : operations()) {
        const Answer usual = run(operation, [] {});
        for (unsigned long nth = 1; nth <= interpose.size(); ++nth) {
            const Answer got = run(operation, [nth] { kzfi_platform_fail_objid(nth); });
            const bool differs = GetParam() && operation.name == "interpose";
            EXPECT_EQ(got, with(usual, differs ? interpose[nth - 1] : Answer()))
                << operation.name << " " << nth;
        }
    }
}

TEST_P(FailingHost, WithoutMemoryNothingIsLost) {
    if (!kzfi_tests::controlsAllocations()) {
        GTEST_SKIP() << "the sanitizer owns the allocator";
    }
    // ACE's strings, which paths of catalogues are made of, end the process without memory.
    const std::set<std::string> excluded = {"errMsg", "getLocaleMessage"};
    int failures = 0;
    for (const Operation& operation : operations()) {
        if (excluded.count(operation.name) != 0) {
            continue;
        }
        run(operation, [] {}); // what is made once is there
        for (int nth = 1, failed = 1; failed != 0; ++nth, failures += failed) {
            const std::ptrdiff_t live = kzfi_tests::liveAllocations();
            run(operation, [nth] { kzfi_tests::failAllocation(nth); });
            failed = allocationFailed ? 1 : 0;
            // What Xerces-C loses on its way out of a parse is nobody's to give back.
            EXPECT_TRUE(kzfi_tests::liveAllocations() == live || operation.name == "config set")
                << operation.name << " " << nth;
        }
    }
    EXPECT_GT(failures, 80);
}

// The names of an association are the only memory that comes from neither.
TEST_P(FailingHost, WithoutMemoryForNamesANodeIsNotBegun) {
    const std::vector<Operation> all = operations();
    const auto initNode = std::find_if(all.begin(), all.end(),
                                       [](const Operation& o) { return o.name == "initNode"; });
    ASSERT_NE(initNode, all.end());
    const Answer usual = run(*initNode, [] {});
    const std::string associations = GetParam() ? "mirror_alt mirror, clone_alt clone, " : "";
    ASSERT_EQ(usual.count("associations") != 0 ? usual.at("associations") : "", associations);
    const char* const kept[] = {"", "", "mirror_alt mirror, ", "mirror_alt mirror, "};
    for (int nth = 1; GetParam() && nth <= 4; ++nth) {
        std::unique_ptr<Failing> names;
        const Answer got =
            run(*initNode, [&names, nth] { names.reset(new Failing(Call::STRDUP, ENOMEM, nth)); });
        EXPECT_EQ(got.at("status"), std::to_string(KZFI_ERR_FAILED));
        EXPECT_EQ(got.count("associations") != 0 ? got.at("associations") : "", kept[nth - 1]);
    }
}

} // namespace
} // namespace kzfi_pdk_4_4
