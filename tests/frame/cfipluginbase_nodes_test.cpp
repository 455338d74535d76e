#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "support/test_provider.h"
#include "support/trace_capture.h"

namespace kzfi_pdk_4_4 {
namespace {

using kzfi_tests::Node;
using kzfi_tests::PeekingPlugin;
using kzfi_tests::RecordingFactory;
using kzfi_tests::TraceCapture;
using kzfi_tests::TracedLine;
using testing::ElementsAre;
using testing::IsEmpty;

class NodeOperations : public testing::Test {
  protected:
    NodeOperations() : factory(new RecordingFactory), node("disk") {
        CFiPrivateDataManagerPtr manager(new CFiPrivateDataManager(factory.get()));
        plugin.registerPrivateDataManager(manager);
    }

    CFiPrivateDataPtr know(Node& known) {
        CFiPrivateDataPtr record = factory->createPrivateData(known.get(), 0);
        factory->calls.clear();
        return record;
    }

    static std::vector<std::string> hostsOf(const CFiPrivateDataPtr& record) {
        std::vector<std::string> names;
        for (const tstring& host : record->getHostList()) {
            names.push_back(host.c_str());
        }
        return names;
    }

    CFiSmartPtr<RecordingFactory, CFiNullAllocator<RecordingFactory>> factory;
    Node node;
    PeekingPlugin plugin;
};

// ---- Coming back to objects ----

TEST_F(NodeOperations, ReAccessingATemporaryObjectKeepsTheRequest) {
    char split[] = "mirror";
    char session[] = "S1";
    EXPECT_EQ(plugin.reAccessTmpObj(node.get(), nullptr, split, nullptr, session, 7), 0);
    EXPECT_THAT(factory->calls, ElementsAre("create 0"));
    const CFiPrivateDataPtr record = know(node);
    EXPECT_EQ(record->getIntent(), 7);
    EXPECT_EQ(record->getSplitType(), "mirror");
    EXPECT_EQ(record->getSessionId(), "S1");
}

TEST_F(NodeOperations, ReAccessingWithNullTextsKeepsTheOldOnes) {
    const CFiPrivateDataPtr record = know(node);
    record->setSplitType("old type");
    record->setSessionId("old session");
    EXPECT_EQ(plugin.reAccessTmpObj(node.get(), nullptr, nullptr, nullptr, nullptr, 2), 0);
    EXPECT_EQ(record->getSplitType(), "old type");
    EXPECT_EQ(record->getSessionId(), "old session");
    EXPECT_EQ(record->getIntent(), 2);
}

TEST_F(NodeOperations, ReAccessingAnAlternateNodeKeepsNoSplitType) {
    char session[] = "S2";
    EXPECT_EQ(plugin.reAccessAltNode(node.get(), nullptr, nullptr, session, nullptr, nullptr, 0, 5),
              0);
    EXPECT_THAT(factory->calls, ElementsAre("create 0"));
    const CFiPrivateDataPtr record = know(node);
    EXPECT_EQ(record->getIntent(), 5);
    EXPECT_EQ(record->getSessionId(), "S2");
    EXPECT_EQ(record->getSplitType(), "");
}

TEST_F(NodeOperations, ReAccessingWithoutARecordIsNoError) {
    factory->refusesToCreate = true;
    char session[] = "S1";
    EXPECT_EQ(plugin.reAccessTmpObj(node.get(), nullptr, session, nullptr, session, 7), 0);
    EXPECT_EQ(plugin.reAccessAltNode(node.get(), nullptr, nullptr, session, nullptr, nullptr, 0, 5),
              0);
    CFiPrivateDataManagerPtr none;
    plugin.registerPrivateDataManager(none);
    EXPECT_EQ(plugin.reAccessTmpObj(node.get(), nullptr, session, nullptr, session, 7), 0);
}

// ---- Leaving a node ----

kfi_domain_assoc* association(kfi_domain_assoc* next, std::vector<char*>& names) {
    auto* element = new kfi_domain_assoc{};
    element->next = next;
    element->first = new kfi_domain_assoc_entry{::strdup("one"), nullptr, nullptr};
    element->second = new kfi_domain_assoc_entry{::strdup("two"), nullptr, nullptr};
    names.push_back(element->first->name);
    names.push_back(element->second->name);
    return element;
}

TEST_F(NodeOperations, LeavingFreesTheAssociationsButNotTheirNames) {
    know(node);
    std::vector<char*> names;
    node->assoc_list = association(association(nullptr, names), names);
    plugin.deInitNode(node.get());
    EXPECT_EQ(node->assoc_list, nullptr);
    EXPECT_THAT(factory->calls, ElementsAre("delete"));
    for (char* name : names) {
        EXPECT_EQ(std::strlen(name), 3u) << "the copies outlive the list";
        std::free(name);
    }
}

TEST_F(NodeOperations, LeavingANodeWithoutAssociationsDiscardsItsRecord) {
    know(node);
    plugin.deInitNode(node.get());
    EXPECT_THAT(factory->calls, ElementsAre("delete"));
    EXPECT_THAT(factory->records, IsEmpty());
}

TEST_F(NodeOperations, TheListIsGoneBeforeTheRecordIs) {
    class Looking : public RecordingFactory {
      public:
        void deletePrivateData(kfi_domain* left) override {
            listThere = left->assoc_list != nullptr;
        }
        bool listThere = true;
    };
    auto* looking = new Looking;
    CFiPrivateDataManagerPtr manager(new CFiPrivateDataManager(looking));
    plugin.registerPrivateDataManager(manager);
    std::vector<char*> names;
    node->assoc_list = association(nullptr, names);
    plugin.deInitNode(node.get());
    EXPECT_FALSE(looking->listThere);
    for (char* name : names) {
        std::free(name);
    }
}

// ---- Sub-objects ----

TEST_F(NodeOperations, SubObjectsAreThoseOfTheRecord) {
    TraceCapture trace;
    plugin.registerTraceLog(trace.log());
    const CFiPrivateDataPtr record = know(node);
    Node first("part1");
    kzfi_objid unnamed = {};
    record->addSubObject(first.objid());
    record->addSubObject(&unnamed);
    kzfi_objid** list = nullptr;
    int count = -1;
    EXPECT_EQ(plugin.subobjList(node.get(), &list, &count), 0);
    EXPECT_EQ(list, record->getSubObjectList());
    EXPECT_EQ(count, 2);
    EXPECT_THAT(trace.lines(),
                ElementsAre(TracedLine{3, "Info: subobjList, list element [0,part1]"},
                            TracedLine{3, "Info: subobjList, list element [1,]"}));
}

TEST_F(NodeOperations, NoSubObjectsAreNullAndZero) {
    TraceCapture trace;
    plugin.registerTraceLog(trace.log());
    know(node);
    kzfi_objid* object = nullptr;
    kzfi_objid** list = &object;
    int count = -1;
    EXPECT_EQ(plugin.subobjList(node.get(), &list, &count), 0);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(count, 0);
    EXPECT_THAT(trace.lines(), IsEmpty());
}

TEST_F(NodeOperations, SubObjectsNeedBothArguments) {
    know(node);
    kzfi_objid* object = nullptr;
    kzfi_objid** list = &object;
    int count = -1;
    EXPECT_EQ(plugin.subobjList(node.get(), nullptr, &count), 0);
    EXPECT_EQ(plugin.subobjList(node.get(), &list, nullptr), 0);
    EXPECT_EQ(list, &object);
    EXPECT_EQ(count, -1);
}

TEST_F(NodeOperations, WithoutARecordTheSubObjectArgumentsStay) {
    kzfi_objid* object = nullptr;
    kzfi_objid** list = &object;
    int count = -1;
    EXPECT_EQ(plugin.subobjList(node.get(), &list, &count), 0);
    EXPECT_EQ(list, &object);
    EXPECT_EQ(count, -1);
}

// ---- Import options ----

TEST_F(NodeOperations, ImportOptionsReachEveryKnownNode) {
    Node other("other");
    Node unknown("unknown");
    const CFiPrivateDataPtr record = know(node);
    const CFiPrivateDataPtr otherRecord = know(other);
    char alpha[] = "alpha";
    kfi_host_infn hosts = {alpha, nullptr};
    kfi_splitnode splits[] = {{nullptr, node.get(), nullptr},
                              {nullptr, unknown.get(), nullptr},
                              {nullptr, other.get(), nullptr}};
    kfi_splitnode* nodes[] = {&splits[0], nullptr, &splits[1], &splits[2]};
    EXPECT_EQ(plugin.setImportOptions(nodes, 4, &hosts, 5, nullptr), 0);
    EXPECT_THAT(hostsOf(record), ElementsAre("alpha"));
    EXPECT_THAT(hostsOf(otherRecord), ElementsAre("alpha"));
    EXPECT_TRUE(record->getTransportable());
    EXPECT_TRUE(otherRecord->getTransportable());
    EXPECT_THAT(factory->calls, ElementsAre("find", "find", "find"));
}

TEST_F(NodeOperations, ImportOptionsAppendHostsAndClearTransportability) {
    const CFiPrivateDataPtr record = know(node);
    char alpha[] = "alpha";
    kfi_host_infn hosts = {alpha, nullptr};
    kfi_splitnode split = {nullptr, node.get(), nullptr};
    kfi_splitnode* nodes[] = {&split, &split};
    plugin.setImportOptions(nodes, 2, &hosts, 1, nullptr);
    EXPECT_THAT(hostsOf(record), ElementsAre("alpha", "alpha"));
    plugin.setImportOptions(nodes, 1, nullptr, 0, nullptr);
    EXPECT_THAT(hostsOf(record), ElementsAre("alpha", "alpha"));
    EXPECT_FALSE(record->getTransportable());
}

TEST_F(NodeOperations, ImportOptionsOfNothingAskNobody) {
    know(node);
    kfi_splitnode split = {nullptr, node.get(), nullptr};
    kfi_splitnode* nodes[] = {&split};
    EXPECT_EQ(plugin.setImportOptions(nodes, 0, nullptr, 1, nullptr), 0);
    EXPECT_EQ(plugin.setImportOptions(nodes, -1, nullptr, 1, nullptr), 0);
    EXPECT_EQ(plugin.setImportOptions(nullptr, 3, nullptr, 1, nullptr), 0);
    EXPECT_THAT(factory->calls, IsEmpty());
}

} // namespace
} // namespace kzfi_pdk_4_4
