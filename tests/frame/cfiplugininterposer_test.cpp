#include "cfiplugininterposer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "kzfi_platform_control.h"
#include "support/test_provider.h"
#include "support/trace_capture.h"

namespace kzfi_pdk_4_4 {
namespace {

using kzfi_tests::Node;
using kzfi_tests::RecordingFactory;
using kzfi_tests::TraceCapture;
using kzfi_tests::TracedLine;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// A router that shows its registry.
class PeekingRouter : public CFiPluginInterposer {
  public:
    using CFiPluginInterposer::defaultNodeType;
    using CFiPluginInterposer::fims;
    using CFiPluginInterposer::groups;
    using CFiPluginInterposer::ignoredNodeTypes;
};

class Interposer : public testing::Test {
  protected:
    Interposer() : factory(new RecordingFactory) {
        router.setProviderName("rt");
        router.registerTraceLog(trace.log());
        CFiPrivateDataManagerPtr manager(new CFiPrivateDataManager(factory.get()));
        router.registerPrivateDataManager(manager);
    }

    void TearDown() override { kzfi_platform_reset(); }

    std::vector<std::string> fimNames(const char* node) {
        std::vector<std::string> names;
        for (const SFiFimInfo& fim : router.getFims(node)) {
            names.push_back(fim.fimName);
        }
        return names;
    }

    /// What interpose hands out.
    struct Interposed {
        int result = -1;
        std::string interposer;
        std::vector<std::string> lower;
        int count = -7;
        bool lowerIsNull = false;
    };

    Interposed interpose(Node& node) {
        Interposed got;
        kzfi_objid* interposer = nullptr;
        kzfi_objid* untouched = nullptr;
        kzfi_objid** lower = &untouched;
        got.result = router.interpose(node.get(), &interposer, &lower, &got.count);
        got.interposer = interposer != nullptr ? interposer->name : "(null)";
        got.lowerIsNull = lower == nullptr;
        if (lower != nullptr && lower != &untouched) {
            for (int i = 0; i < got.count; ++i) {
                got.lower.push_back(lower[i]->name);
            }
            kzfi_free_buf(lower, static_cast<std::size_t>(got.count) * sizeof(kzfi_objid*));
        }
        return got;
    }

    /// "name/node/group" of every entry; the name copies are freed, since nobody else does.
    static std::vector<std::string> takeAssociations(Node& node) {
        std::vector<std::string> found;
        for (kfi_domain_assoc* element = node->assoc_list; element != nullptr;
             element = element->next) {
            for (kfi_domain_assoc_entry* entry : {element->first, element->second}) {
                found.push_back(std::string(entry->name) + "/" + nameOf(entry->node) + "/" +
                                nameOf(entry->group));
                std::free(entry->name);
            }
        }
        return found;
    }

    static std::string nameOf(kfi_domain* node) {
        return node != nullptr ? node->objid->name : "(null)";
    }

    TraceCapture trace;
    CFiSmartPtr<RecordingFactory, CFiNullAllocator<RecordingFactory>> factory;
    PeekingRouter router;
};

// ---- Registry ----

TEST_F(Interposer, StartsWithoutMethods) {
    EXPECT_THAT(router.fims, IsEmpty());
    EXPECT_THAT(router.groups, IsEmpty());
    EXPECT_EQ(router.ignoredNodeTypes, 0);
    EXPECT_EQ(router.defaultNodeType, 0);
}

TEST_F(Interposer, RefusesAnEmptyPattern) {
    router.addFim("", "fimA", "altA", 1, "group");
    EXPECT_THAT(router.fims, IsEmpty());
    EXPECT_THAT(router.groups, IsEmpty());
    EXPECT_THAT(trace.all(), ElementsAre(TracedLine{
                                 1, "ERROR: Invalid arg to addFim(), invalid claim pattern"}));
}

TEST_F(Interposer, NamesAGroupAfterItsMethod) {
    router.addFim("disk", "fimA", "altA", 5, "");
    ASSERT_EQ(router.groups.count("fimA_FIM_GROUP"), 1u);
    const SFiGroupInfo& group = router.groups["fimA_FIM_GROUP"];
    EXPECT_EQ(group.groupName, "fimA_FIM_GROUP");
    EXPECT_EQ(group.claimPattern, "disk");
    EXPECT_EQ(group.groupNode, nullptr);
    ASSERT_NE(group.groupObjId, nullptr);
    EXPECT_STREQ(group.groupObjId->name, "fimA_FIM_GROUP");
    EXPECT_EQ(group.groupObjId->length, 15u);
    EXPECT_EQ(group.groupObjId->kind, 3);
    const SFiFimInfo& fim = router.fims["disk"].at(0);
    EXPECT_EQ(fim.groupName, "fimA_FIM_GROUP");
    EXPECT_EQ(fim.fimName, "fimA");
    EXPECT_EQ(fim.fimAltName, "altA");
    EXPECT_EQ(fim.typeFlags, 5);
}

TEST_F(Interposer, ASecondRegistrationReplacesTheGroupAndAddsTheMethod) {
    router.addFim("disk", "fimA", "altA", 1, "group");
    Node node("group");
    router.initNode(node.get(), nullptr, 0, nullptr);
    EXPECT_EQ(router.groups["group"].groupNode, node.get());
    router.addFim("disk", "fimA", "altA", 1, "group");
    router.addFim("tape", "fimB", "altB", 1, "group");
    EXPECT_EQ(router.groups["group"].groupNode, nullptr);
    EXPECT_EQ(router.groups["group"].claimPattern, "tape");
    EXPECT_EQ(router.fims["disk"].size(), 2u);
    EXPECT_EQ(router.fims["tape"].size(), 1u);
    takeAssociations(node);
    router.deInitNode(node.get());
}

TEST_F(Interposer, KnowsItsGroupsAndItsOwnNodes) {
    router.addFim("disk", "fimA", "altA", 1, "group");
    EXPECT_TRUE(router.isGroupNode("group"));
    EXPECT_FALSE(router.isGroupNode("group1"));
    EXPECT_FALSE(router.isGroupNode("Group"));
    EXPECT_TRUE(router.isInterposerNode("<rt>disk1"));
    EXPECT_TRUE(router.isInterposerNode("x<rt>disk1"));
    EXPECT_FALSE(router.isInterposerNode("<RT>disk1"));
    EXPECT_FALSE(router.isInterposerNode("disk1"));
    router.setProviderName("other");
    EXPECT_FALSE(router.isInterposerNode("<rt>disk1")) << "the name counts at each call";
}

TEST_F(Interposer, MethodsOfANode) {
    router.addFim("b", "fimB", "", 1, "groupB");
    router.addFim("a", "fimA1", "", 1, "groupA1");
    router.addFim("a", "fimA2", "", 1, "groupA2");
    router.addFim("c", "fimAgain", "", 1, "groupA2");
    EXPECT_THAT(fimNames("groupA2"), ElementsAre("fimA2")) << "only the first of the group";
    EXPECT_THAT(fimNames("groupB"), ElementsAre("fimB"));
    EXPECT_THAT(fimNames("ab"), IsEmpty()) << "a storage node";
    EXPECT_THAT(fimNames("<rt>xab"), ElementsAre("fimA1", "fimA2")) << "first in byte order";
    EXPECT_THAT(fimNames("<rt>xyz"), IsEmpty());
}

// ---- Interposing ----

TEST_F(Interposer, PutsANodeOfItsOwnAboveAStorageNode) {
    router.addFim("disk", "fimA", "altA", 1, "groupA");
    router.addFim("disk", "fimB", "altB", 1, "");
    Node node("mydisk1");
    const Interposed got = interpose(node);
    EXPECT_EQ(got.result, 1);
    EXPECT_EQ(got.interposer, "<rt>mydisk1");
    EXPECT_EQ(got.count, 2);
    EXPECT_THAT(got.lower, ElementsAre("groupA", "fimB_FIM_GROUP"));
    EXPECT_EQ(kzfi_platform_get_counts().wrong_size, 0u);
    EXPECT_THAT(
        trace.lines(),
        ElementsAre(
            TracedLine{3, "CFiPluginInterposer::interpose - Looking for patten disk in mydisk1."},
            TracedLine{3, "Info, interposing with node [<rt>mydisk1] on [mydisk1]."}));
}

TEST_F(Interposer, TriesPatternsInByteOrder) {
    router.addFim("ab", "fimAB", "", 1, "");
    router.addFim("a", "fimA", "", 1, "");
    router.addFim("Z", "fimZ", "", 1, "");
    Node node("xab");
    EXPECT_THAT(interpose(node).lower, ElementsAre("fimA_FIM_GROUP"));
    EXPECT_THAT(
        trace.lines(),
        ElementsAre(TracedLine{3, "CFiPluginInterposer::interpose - Looking for patten Z in xab."},
                    TracedLine{3, "CFiPluginInterposer::interpose - Looking for patten a in xab."},
                    TracedLine{3, "Info, interposing with node [<rt>xab] on [xab]."}));
}

TEST_F(Interposer, AsksForObjectIdsAsTheFrameworkWants) {
    router.addFim("disk", "fimA", "", 1, "");
    Node node("disk");
    kzfi_objid* interposer = nullptr;
    kzfi_objid** lower = nullptr;
    int count = 0;
    router.interpose(node.get(), &interposer, &lower, &count);
    EXPECT_EQ(interposer->length, 9u) << "with the NUL";
    EXPECT_EQ(interposer->kind, 3);
    EXPECT_EQ(lower[0]->length, 15u);
    EXPECT_EQ(lower[0]->kind, 3);
    kzfi_free_buf(lower, sizeof(kzfi_objid*));
}

TEST_F(Interposer, TheSameMethodTwiceGivesItsGroupTwice) {
    router.addFim("disk", "fimA", "", 1, "");
    router.addFim("disk", "fimA", "", 1, "");
    Node node("disk");
    EXPECT_THAT(interpose(node).lower, ElementsAre("fimA_FIM_GROUP", "fimA_FIM_GROUP"));
}

TEST_F(Interposer, AGroupThatLooksLikeAnOwnNodeIsAGroup) {
    router.addFim("disk", "fimA", "", 1, "<rt>disk");
    router.addFim("disk", "fimB", "", 1, "");
    EXPECT_THAT(fimNames("<rt>disk"), ElementsAre("fimA"));
}

TEST_F(Interposer, ServicesTraceNothing) {
    router.addFim("disk", "fimA", "", 1, "");
    router.getFims("<rt>disk");
    router.isGroupNode("disk");
    router.isInterposerNode("disk");
    router.addIgnoreNodeType(1);
    router.setDefaultNodeType(1);
    EXPECT_THAT(trace.all(), IsEmpty());
}

TEST_F(Interposer, NullArgumentsGiveTheDefaultAndWriteNothing) {
    router.addFim("disk", "fimA", "", 1, "");
    Node own("<rt>disk");
    Node storage("disk");
    int count = 9;
    kzfi_objid* object = nullptr;
    kzfi_objid** list = &object;
    EXPECT_EQ(router.claim(own.objid(), nullptr, &count), 0);
    EXPECT_EQ(router.claim(own.objid(), &list, nullptr), 0);
    EXPECT_EQ(router.interpose(nullptr, &object, &list, &count), 0);
    EXPECT_EQ(router.interpose(storage.get(), nullptr, &list, &count), 0);
    EXPECT_EQ(router.interpose(storage.get(), &object, nullptr, &count), 0);
    EXPECT_EQ(router.interpose(storage.get(), &object, &list, nullptr), 0);
    EXPECT_EQ(router.initNode(nullptr, nullptr, 0, nullptr), 0);
    router.deInitNode(nullptr);
    int exists = 42;
    EXPECT_EQ(router.checkNodeExistence(nullptr, &exists), 0);
    EXPECT_EQ(router.checkNodeExistence(own.get(), nullptr), 0);
    EXPECT_EQ(exists, 42);
    EXPECT_EQ(count, 9);
    EXPECT_EQ(list, &object);
    EXPECT_EQ(object, nullptr);
}

TEST_F(Interposer, LeavesWhatItDoesNotInterpose) {
    Node node("disk");
    const auto expectUntouched = [this, &node] {
        const Interposed got = interpose(node);
        EXPECT_EQ(got.result, 0);
        EXPECT_EQ(got.interposer, "(null)");
        EXPECT_FALSE(got.lowerIsNull);
        EXPECT_EQ(got.count, -7);
    };
    expectUntouched();
    EXPECT_THAT(trace.lines(), IsEmpty()) << "no methods";
    router.addFim("tape", "fimA", "", 1, "");
    expectUntouched();
    EXPECT_THAT(trace.lines(), testing::SizeIs(1)) << "the pattern that was tried";
    router.addFim("disk", "fimA", "", 1, "");
    router.addIgnoreNodeType(2);
    router.addIgnoreNodeType(8);
    for (const int type : {2, 8, 10, 3}) {
        node->type = type;
        expectUntouched();
    }
    EXPECT_THAT(trace.lines(), IsEmpty()) << "types that are ignored";
    node->type = 5;
    EXPECT_EQ(interpose(node).result, 1);
}

TEST_F(Interposer, GivesNoLowerNodesWhenOneCannotBeNamed) {
    router.addFim("disk", "fimA", "", 1, "");
    router.addFim("disk", "fimB", "", 1, "");
    Node node("disk");
    kzfi_platform_reset();
    kzfi_platform_fail_objid(3);
    const Interposed got = interpose(node);
    EXPECT_EQ(got.result, 1);
    EXPECT_TRUE(got.lowerIsNull);
    EXPECT_EQ(got.count, 2);
    EXPECT_EQ(kzfi_platform_get_counts().taken, 1u);
    EXPECT_EQ(kzfi_platform_get_counts().given_back, 1u);
    EXPECT_EQ(kzfi_platform_get_counts().wrong_size, 0u);
    EXPECT_EQ(trace.lines().back().text, "Info, interposing with node [<rt>disk] on [disk].");
}

TEST_F(Interposer, GivesNoLowerNodesWithoutMemory) {
    router.addFim("disk", "fimA", "", 1, "");
    Node node("disk");
    kzfi_platform_fail_alloc(1);
    const Interposed got = interpose(node);
    EXPECT_EQ(got.result, 1);
    EXPECT_TRUE(got.lowerIsNull);
    EXPECT_EQ(got.count, 1);
}

// ---- Claiming ----

TEST_F(Interposer, ClaimsItsOwnNodesAsSecondaries) {
    router.addFim("disk", "fimA", "", 1, "");
    Node node("<rt>disk1");
    kzfi_objid* object = nullptr;
    kzfi_objid** secondaries = &object;
    int count = 9;
    EXPECT_EQ(router.claim(node.objid(), &secondaries, &count), 2);
    EXPECT_EQ(secondaries, nullptr);
    EXPECT_EQ(count, 0);
    EXPECT_THAT(trace.lines(),
                ElementsAre(TracedLine{3, "Info, claiming node [<rt>disk1] KFI_CLAIM_SECONDARY"}));
}

TEST_F(Interposer, DoesNotClaimOtherNodes) {
    router.addFim("disk", "fimA", "", 1, "");
    for (const char* name : {"disk1", "<rt>tape1"}) {
        Node node(name);
        kzfi_objid* object = nullptr;
        kzfi_objid** secondaries = &object;
        int count = 9;
        EXPECT_EQ(router.claim(node.objid(), &secondaries, &count), 0);
        EXPECT_EQ(secondaries, &object);
        EXPECT_EQ(count, 9);
        EXPECT_THAT(trace.lines(), ElementsAre(TracedLine{3, "Info, NOT claiming node [" +
                                                                 std::string(name) + "]"}));
    }
}

TEST_F(Interposer, DoesNotClaimWithoutAName) {
    kzfi_objid unnamed = {};
    for (kzfi_objid* primary : {&unnamed, static_cast<kzfi_objid*>(nullptr)}) {
        EXPECT_EQ(router.claim(primary, nullptr, nullptr), 0);
        EXPECT_THAT(trace.lines(),
                    ElementsAre(TracedLine{3, "ERROR: Invalid primary object id for claim()"}));
    }
}

TEST_F(Interposer, APatternMayMatchTheMarker) {
    router.addFim("rt", "fimA", "", 1, "");
    Node node("<rt>anything");
    int count = 0;
    kzfi_objid** secondaries = nullptr;
    EXPECT_EQ(router.claim(node.objid(), &secondaries, &count), 2);
}

// ---- Support ----

class InterposerSupport : public Interposer {
  protected:
    InterposerSupport() : node("<rt>disk1") {
        router.addFim("disk", "fimA", "", 0x10, "");
        router.addFim("disk", "fimB", "", 0x20, "");
    }

    int supports(std::string fiType) { return router.supportsFiType(node.get(), fiType.data()); }

    void setHosts(bool transportable) {
        char alpha[] = "alpha";
        kfi_host_infn hosts = {alpha, nullptr};
        CFiPrivateDataPtr record = factory->createPrivateData(node.get(), 0);
        record->setHostList(&hosts);
        record->setTransportable(transportable);
    }

    Node node;
};

TEST_F(InterposerSupport, AddsTheMethodsFlagsWithoutHosts) {
    *node->support_level = 0x1;
    EXPECT_EQ(supports("fimB"), 1);
    EXPECT_EQ(node.level(), 0x21);
    EXPECT_EQ(supports("fimA"), 1);
    EXPECT_EQ(node.level(), 0x31);
}

TEST_F(InterposerSupport, ARecordWithoutHostsCountsAsNone) {
    factory->createPrivateData(node.get(), 0)->setTransportable(true);
    *node->support_level = 0;
    EXPECT_EQ(supports("fimA"), 1);
    EXPECT_EQ(node.level(), 0x10);
}

TEST_F(InterposerSupport, AnyTakesTheFirstMethod) {
    *node->support_level = 0;
    EXPECT_EQ(supports("any"), 1);
    EXPECT_EQ(node.level(), 0x10);
}

TEST_F(InterposerSupport, HostsDecideTheLevel) {
    setHosts(false);
    EXPECT_EQ(supports("fimA"), 1);
    EXPECT_EQ(node.level(), 1);
    setHosts(true);
    EXPECT_EQ(supports("fimA"), 1);
    EXPECT_EQ(node.level(), 2);
}

TEST_F(InterposerSupport, RefusesOtherTypesAndNodes) {
    for (const char* type : {"fimC", "FIMA", "Any", "", "anything", "an"}) {
        *node->support_level = 9;
        EXPECT_EQ(supports(type), 0) << type;
        EXPECT_EQ(node.level(), 0);
    }
    *node->support_level = 9;
    EXPECT_EQ(router.supportsFiType(node.get(), nullptr), 0);
    EXPECT_EQ(node.level(), 0);
    Node plain("disk1");
    char any[] = "any";
    EXPECT_EQ(router.supportsFiType(plain.get(), any), 0);
    EXPECT_EQ(plain.level(), 0);
}

TEST_F(InterposerSupport, AnyMeansTheFirstMethodEvenWhenALaterOneIsCalledSo) {
    router.addFim("disk", "any", "", 0x40, "");
    *node->support_level = 0;
    EXPECT_EQ(supports("any"), 1);
    EXPECT_EQ(node.level(), 0x10) << "the first of all";
}

// ---- Beginning and leaving nodes ----

class InterposerNodes : public Interposer {
  protected:
    InterposerNodes() {
        router.addFim("disk", "fimA", "altA", 1, "groupA");
        router.addFim("disk", "fimB", "altB", 1, "groupB");
        router.setDefaultNodeType(0x100);
    }

    int init(Node& node) { return router.initNode(node.get(), nullptr, 0, nullptr); }
};

TEST_F(InterposerNodes, BeginsANodeOfItsOwn) {
    Node node("<rt>disk1");
    int elsewhere = 0;
    kfi_domain_assoc dropped = {};
    node->assoc_list = &dropped;
    node->second_list = &elsewhere;
    node->type = 7;
    EXPECT_EQ(init(node), 0);
    EXPECT_STREQ(node->display_name, "<rt>disk1");
    EXPECT_EQ(node->type, 0x100);
    EXPECT_EQ(node->second_list, nullptr);
    EXPECT_THAT(factory->calls, ElementsAre("create 0"));
    EXPECT_THAT(takeAssociations(node),
                ElementsAre("altA/<rt>disk1/(null)", "fimA/<rt>disk1/(null)",
                            "altB/<rt>disk1/(null)", "fimB/<rt>disk1/(null)"));
    EXPECT_THAT(trace.lines(),
                ElementsAre(TracedLine{3, "CFiPluginInterposer::initNode for Node [<rt>disk1]"}));
    router.deInitNode(node.get());
}

TEST_F(InterposerNodes, AssociationsNameTheGroupsNode) {
    Node group("groupB");
    EXPECT_EQ(init(group), 0);
    EXPECT_EQ(router.groups["groupB"].groupNode, group.get());
    EXPECT_THAT(takeAssociations(group), ElementsAre("altB/groupB/groupB", "fimB/groupB/groupB"));
    Node node("<rt>disk1");
    EXPECT_EQ(init(node), 0);
    EXPECT_THAT(takeAssociations(node),
                ElementsAre("altA/<rt>disk1/(null)", "fimA/<rt>disk1/(null)",
                            "altB/<rt>disk1/groupB", "fimB/<rt>disk1/groupB"));
    router.deInitNode(node.get());
    router.deInitNode(group.get());
}

TEST_F(InterposerNodes, AKnownGroupNodeIsLeftAlone) {
    Node group("groupA");
    init(group);
    kfi_domain_assoc* list = group->assoc_list;
    group->type = 3;
    factory->calls.clear();
    EXPECT_EQ(init(group), 0);
    EXPECT_EQ(group->assoc_list, list);
    EXPECT_EQ(group->type, 3);
    EXPECT_THAT(factory->calls, IsEmpty());

    Node again("groupA");
    EXPECT_EQ(init(again), 0);
    EXPECT_EQ(router.groups["groupA"].groupNode, again.get()) << "another domain takes its place";
    EXPECT_EQ(again->type, 0x100);
    EXPECT_THAT(factory->calls, ElementsAre("create 0"));
    takeAssociations(group);
    EXPECT_THAT(takeAssociations(again), ElementsAre("altA/groupA/groupA", "fimA/groupA/groupA"));
    router.deInitNode(group.get());
    router.deInitNode(again.get());
}

TEST_F(InterposerNodes, OtherNodesAreBegunWithoutAssociations) {
    Node node("tape1");
    EXPECT_EQ(init(node), 0);
    EXPECT_EQ(node->assoc_list, nullptr);
    EXPECT_EQ(node->type, 0x100);
    EXPECT_THAT(factory->calls, ElementsAre("create 0"));
}

TEST_F(InterposerNodes, WithoutDefaultTypeTheTypeIsZero) {
    PeekingRouter fresh;
    Node node("tape1");
    node->type = 7;
    EXPECT_EQ(fresh.initNode(node.get(), nullptr, 0, nullptr), 0);
    EXPECT_EQ(node->type, 0);
}

TEST_F(InterposerNodes, TheRecordIsMadeAfterTheAssociations) {
    class Looking : public RecordingFactory {
      public:
        CFiPrivateDataPtr createPrivateData(kfi_domain* node, int altNode) override {
            listThere = node->assoc_list != nullptr;
            return RecordingFactory::createPrivateData(node, altNode);
        }
        bool listThere = false;
    };
    auto* looking = new Looking;
    CFiPrivateDataManagerPtr manager(new CFiPrivateDataManager(looking));
    router.registerPrivateDataManager(manager);
    Node node("<rt>disk1");
    init(node);
    EXPECT_TRUE(looking->listThere);
    takeAssociations(node);
    router.deInitNode(node.get());
}

TEST_F(InterposerNodes, AGroupWithoutObjectIdIsNeverMet) {
    kzfi_platform_fail_objid(1);
    router.addFim("cd", "fimC", "", 1, "groupC");
    EXPECT_EQ(router.groups["groupC"].groupObjId, nullptr);
    Node node("groupC");
    node->objid = nullptr;
    EXPECT_EQ(init(node), 0);
    EXPECT_EQ(router.groups["groupC"].groupNode, nullptr);
    router.groups["groupC"].groupNode = node.get();
    router.deInitNode(node.get());
    EXPECT_EQ(router.groups["groupC"].groupNode, node.get());
}

TEST_F(InterposerNodes, AnExceptionIsCaughtAndTraced) {
    class Throwing : public RecordingFactory {
      public:
        CFiPrivateDataPtr createPrivateData(kfi_domain*, int) override { throw 42; }
    };
    CFiPrivateDataManagerPtr manager(new CFiPrivateDataManager(new Throwing));
    router.registerPrivateDataManager(manager);
    Node node("tape1");
    EXPECT_EQ(init(node), 6);
    const TracedLine last = trace.lines().back();
    EXPECT_EQ(last.level, 1);
    EXPECT_THAT(last.text,
                testing::MatchesRegex(
                    "ERROR: Caught unhandled exception at cfiplugininterposer.*, [0-9]+"));
}

TEST_F(InterposerNodes, LeavingMakesOneGroupForgetItsNode) {
    Node group("groupA");
    init(group);
    takeAssociations(group);
    factory->calls.clear();
    trace.all();
    router.deInitNode(group.get());
    EXPECT_EQ(router.groups["groupA"].groupNode, nullptr);
    EXPECT_EQ(group->assoc_list, nullptr);
    EXPECT_THAT(factory->calls, ElementsAre("delete"));
    EXPECT_THAT(trace.lines(),
                ElementsAre(TracedLine{3, "CFiPluginInterposer::deInitNode for Node [groupA]"}));
}

TEST_F(InterposerNodes, ExistenceIsAQuestionOfTheName) {
    Node own("<rt>disk1");
    Node other("disk1");
    int exists = 42;
    EXPECT_EQ(router.checkNodeExistence(own.get(), &exists), 0);
    EXPECT_EQ(exists, 1);
    EXPECT_EQ(router.checkNodeExistence(other.get(), &exists), 0);
    EXPECT_EQ(exists, 0);
    PeekingRouter fresh;
    exists = 42;
    EXPECT_EQ(fresh.checkNodeExistence(own.get(), &exists), 4);
    EXPECT_EQ(exists, 42);
}

TEST_F(InterposerNodes, ReadyMarksBothNodes) {
    Node first("a");
    Node second("b");
    first->flags = 0x40;
    kfi_splitnode both = {nullptr, first.get(), second.get()};
    kfi_splitnode none = {nullptr, nullptr, nullptr};
    kfi_splitnode* nodes[] = {&none, &both};
    EXPECT_EQ(router.isReady(nullptr, nodes, 2), 0);
    EXPECT_EQ(first->flags, 0x48u);
    EXPECT_EQ(second->flags, 0x8u);
}

TEST_F(InterposerNodes, ReadyOfNothingMarksNothing) {
    Node first("a");
    kfi_splitnode one = {nullptr, first.get(), nullptr};
    kfi_splitnode* nodes[] = {&one};
    EXPECT_EQ(router.isReady(nullptr, nullptr, 1), 0);
    EXPECT_EQ(router.isReady(nullptr, nodes, 0), 0);
    EXPECT_EQ(router.isReady(nullptr, nodes, -1), 0);
    EXPECT_EQ(first->flags, 0u);
}

TEST_F(InterposerNodes, EveryOverrideTracesEntryAndExit) {
    router.registerTraceLog(trace.log());
    int exists = 0;
    Node node("tape");
    char udid[] = "x";
    const struct {
        const char* name;
        std::function<void()> call;
    } calls[] = {
        {"claim", [&] { router.claim(node.objid(), nullptr, nullptr); }},
        {"supportsFiType", [&] { router.supportsFiType(node.get(), nullptr); }},
        {"importTreeNode", [&] { router.importTreeNode(nullptr, nullptr, nullptr, 0, nullptr); }},
        {"initNode", [&] { init(node); }},
        {"initAltNode", [&] { router.initAltNode(nullptr, nullptr, nullptr, false); }},
        {"deInitNode", [&] { router.deInitNode(node.get()); }},
        {"isReady", [&] { router.isReady(nullptr, nullptr, 0); }},
        {"interpose", [&] { router.interpose(nullptr, nullptr, nullptr, nullptr); }},
        {"checkNodeExistence", [&] { router.checkNodeExistence(node.get(), &exists); }},
        {"importResource",
         [&] { router.importResource(nullptr, udid, nullptr, nullptr, 0, nullptr, nullptr); }},
        {"deportResource", [&] { router.deportResource(udid, nullptr, nullptr, nullptr, 0); }},
    };
    for (const auto& c : calls) {
        trace.all();
        c.call();
        const std::vector<TracedLine> lines = trace.all();
        ASSERT_FALSE(lines.empty()) << c.name;
        EXPECT_THAT(lines.front().text, StartsWith(std::string("Entering Function ") + c.name));
        EXPECT_THAT(lines.front().text, HasSubstr(", cfiplugininterposer"));
        EXPECT_THAT(lines.back().text, StartsWith(std::string("Exiting Function ") + c.name));
    }
}

TEST_F(Interposer, TenThousandMethods) {
    for (int i = 0; i < 10000; ++i) {
        const std::string number = std::to_string(10000 + i);
        router.addFim("pattern" + number + ";", "fim" + number, "alt", 1, "");
    }
    EXPECT_EQ(router.fims.size(), 10000u);
    EXPECT_THAT(fimNames("<rt>a pattern19999; b"), ElementsAre("fim19999"));
    EXPECT_THAT(fimNames("fim15000_FIM_GROUP"), ElementsAre("fim15000"));
    EXPECT_THAT(fimNames("<rt>a pattern20000; b"), IsEmpty());
}

} // namespace
} // namespace kzfi_pdk_4_4
