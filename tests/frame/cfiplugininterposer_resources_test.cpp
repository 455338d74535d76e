#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cfiplugininterposer.h"
#include "support/test_provider.h"
#include "support/trace_capture.h"

namespace kzfi_pdk_4_4 {
namespace {

using kzfi_tests::Node;
using kzfi_tests::RecordingFactory;
using kzfi_tests::TraceCapture;
using kzfi_tests::TracedLine;
using testing::ElementsAre;
using testing::IsEmpty;

/// Writes down what the hook is asked: "name [hosts] transportable variant deport caller".
class Hooked : public CFiPluginInterposer {
  public:
    int importNode(tstring name, std::vector<tstring> hosts, bool transportable, bool variant,
                   bool deport, int caller) override {
        std::string call = std::string(name.c_str()) + " [";
        for (const tstring& host : hosts) {
            call += std::string(host.c_str()) + ",";
        }
        call += "] " + std::to_string(transportable) + " " + std::to_string(variant) + " " +
                std::to_string(deport) + " " + std::to_string(caller);
        calls.push_back(call);
        return answer;
    }

    std::vector<std::string> calls;
    int answer = 77;
};

const char UDID[] = "UDID##a##b##c##d";

class InterposerResources : public testing::Test {
  protected:
    InterposerResources() : factory(new RecordingFactory), node("disk"), target("alternate") {
        router.registerTraceLog(trace.log());
        CFiPrivateDataManagerPtr manager(new CFiPrivateDataManager(factory.get()));
        router.registerPrivateDataManager(manager);
    }

    CFiPrivateDataPtr knowWithHosts(bool transportable) {
        char alpha[] = "alpha";
        char beta[] = "beta";
        kfi_host_infn second = {beta, nullptr};
        kfi_host_infn first = {alpha, &second};
        CFiPrivateDataPtr record = factory->createPrivateData(node.get(), 0);
        record->setHostList(&first);
        record->setTransportable(transportable);
        factory->calls.clear();
        return record;
    }

    int importResource(std::string udid, int request, const char* host = nullptr) {
        std::string hostname = host != nullptr ? host : "";
        return router.importResource(nullptr, udid.data(),
                                     host != nullptr ? hostname.data() : nullptr, nullptr, request,
                                     nullptr, nullptr);
    }

    int deportResource(std::string udid, int request, const char* host = nullptr) {
        std::string hostname = host != nullptr ? host : "";
        return router.deportResource(udid.data(), host != nullptr ? hostname.data() : nullptr,
                                     nullptr, nullptr, request);
    }

    TraceCapture trace;
    CFiSmartPtr<RecordingFactory, CFiNullAllocator<RecordingFactory>> factory;
    Node node;
    Node target;
    Hooked router;
};

TEST_F(InterposerResources, TheHooksDefaultTracesItsEntryOnly) {
    CFiPluginInterposer plain;
    plain.registerTraceLog(trace.log());
    EXPECT_EQ(plain.importNode("disk", {}, false, false, false, 1), 4);
    const std::vector<TracedLine> lines = trace.all();
    ASSERT_THAT(lines, testing::SizeIs(1));
    EXPECT_EQ(lines[0].level, 6);
    EXPECT_THAT(
        lines[0].text,
        testing::MatchesRegex("Entering Function importNode \\[[0-9]+, cfiplugininterposer.*\\]"));
}

// ---- Nodes ----

TEST_F(InterposerResources, ATreeNodeIsPresentedToItsHosts) {
    for (const bool transportable : {false, true}) {
        factory->records.clear();
        router.calls.clear();
        knowWithHosts(transportable);
        kzfi_objid* out = nullptr;
        EXPECT_EQ(router.importTreeNode(node.get(), nullptr, nullptr, 0, &out), 77);
        EXPECT_EQ(out, node.objid());
        EXPECT_THAT(router.calls,
                    ElementsAre("disk [alpha,beta,] " + std::to_string(transportable) + " 0 0 1"));
        EXPECT_THAT(factory->calls, ElementsAre("find"));
    }
}

TEST_F(InterposerResources, AnUnknownTreeNodeIsPresentedToNobody) {
    kzfi_objid* out = nullptr;
    router.answer = 4;
    EXPECT_EQ(router.importTreeNode(node.get(), nullptr, nullptr, 0, &out), 4);
    EXPECT_EQ(out, node.objid()) << "whatever the hook says";
    EXPECT_THAT(router.calls, ElementsAre("disk [] 0 0 0 1"));
}

TEST_F(InterposerResources, ATreeNodeMayBePresentedWithoutAskingForItsId) {
    EXPECT_EQ(router.importTreeNode(node.get(), nullptr, nullptr, 0, nullptr), 77);
}

TEST_F(InterposerResources, ATreeNodeNeedsAName) {
    kzfi_objid unnamed = {};
    Node withoutName("x");
    withoutName->objid = &unnamed;
    Node withoutId("x");
    withoutId->objid = nullptr;
    for (kfi_domain* bad :
         {static_cast<kfi_domain*>(nullptr), withoutId.get(), withoutName.get()}) {
        kzfi_objid* out = node.objid();
        EXPECT_EQ(router.importTreeNode(bad, nullptr, nullptr, 0, &out), 3);
        EXPECT_EQ(out, node.objid());
        EXPECT_THAT(trace.lines(),
                    ElementsAre(TracedLine{1, "Error: Invalid input arguments to importTreeNode"}));
    }
    EXPECT_THAT(router.calls, IsEmpty());
}

TEST_F(InterposerResources, AnAlternateNodeNeedsATarget) {
    EXPECT_EQ(router.initAltNode(node.get(), nullptr, nullptr, false), 3);
    EXPECT_THAT(trace.lines(),
                ElementsAre(TracedLine{1, "ERROR: initAltNode(): target node is invalid."}));
    EXPECT_THAT(factory->calls, IsEmpty());
}

TEST_F(InterposerResources, AnAlternateNodeIsPresentedToTheNodesHosts) {
    knowWithHosts(false);
    EXPECT_EQ(router.initAltNode(node.get(), nullptr, target.get(), false), 77);
    EXPECT_THAT(router.calls, ElementsAre("alternate [alpha,beta,] 0 0 0 1"));
    EXPECT_THAT(factory->calls, ElementsAre("create 1", "find"));
}

TEST_F(InterposerResources, AnAlternateNodeIsMarkedEvenWhenNothingIsImported) {
    knowWithHosts(false);
    router.setDefaultNodeType(0x10);
    kfi_domain_assoc list = {};
    char shown[] = "shown";
    target->type = 0x1;
    target->assoc_list = &list;
    target->second_list = &list;
    target->display_name = shown;
    EXPECT_EQ(router.initAltNode(node.get(), nullptr, target.get(), true), 0);
    EXPECT_EQ(target->type, 0x11);
    EXPECT_EQ(target->assoc_list, nullptr);
    EXPECT_EQ(target->second_list, nullptr);
    EXPECT_EQ(target->display_name, shown);
    EXPECT_THAT(factory->calls, testing::Contains("create 1"));
    EXPECT_THAT(router.calls, IsEmpty());
}

TEST_F(InterposerResources, AnAlternateNodeIsNotImportedWhenTheNodeSpeaksAgainstIt) {
    EXPECT_EQ(router.initAltNode(node.get(), nullptr, target.get(), false), 0) << "no record";
    const CFiPrivateDataPtr record = knowWithHosts(true);
    EXPECT_EQ(router.initAltNode(node.get(), nullptr, target.get(), false), 0) << "transportable";
    record->setTransportable(false);
    record->setIntent(1);
    EXPECT_EQ(router.initAltNode(node.get(), nullptr, target.get(), false), 0) << "an intent";
    EXPECT_THAT(router.calls, IsEmpty());
}

// ---- Resources ----

TEST_F(InterposerResources, ImportFollowsThePrecedenceOfTheBits) {
    const struct {
        int request;
        int result;
        std::vector<std::string> calls;
    } cases[] = {
        {0x1, 77, {"UDID##a##b##c##d [] 0 0 0 2"}},
        {0x2, 77, {"UDID##a##b##c##d [] 0 1 0 2"}},
        {0x3, 77, {"UDID##a##b##c##d [] 0 0 0 2"}},
        {0x4, 4, {}},
        {0x5, 4, {}},
        {0x7, 4, {}},
        {0x0, 6, {}},
        {0x8, 6, {}},
    };
    for (const auto& c : cases) {
        router.calls.clear();
        EXPECT_EQ(importResource(UDID, c.request), c.result) << c.request;
        EXPECT_EQ(router.calls, c.calls) << c.request;
        EXPECT_THAT(trace.lines(),
                    ElementsAre(TracedLine{3, "No hostname was passed to the importResource API"}));
    }
}

TEST_F(InterposerResources, DeportFollowsThePrecedenceOfTheBits) {
    const struct {
        int request;
        int result;
        std::vector<std::string> calls;
    } cases[] = {
        {0x10, 77, {"UDID##a##b##c##d [] 0 1 1 2"}},
        {0x20, 77, {"UDID##a##b##c##d [] 0 0 1 2"}},
        {0x30, 77, {"UDID##a##b##c##d [] 0 1 1 2"}},
        {0x60, 77, {"UDID##a##b##c##d [] 0 0 1 2"}},
        {0x40, 4, {}},
        {0x0, 0, {}},
        {0x1, 0, {}},
    };
    for (const auto& c : cases) {
        router.calls.clear();
        EXPECT_EQ(deportResource(UDID, c.request), c.result) << c.request;
        EXPECT_EQ(router.calls, c.calls) << c.request;
        EXPECT_THAT(trace.lines(),
                    ElementsAre(TracedLine{3, "No hostname was passed to the deportResource API"}));
    }
}

TEST_F(InterposerResources, ADeportOfNothingEndsAtOnce) {
    for (const int request : {0x400, 0x410, 0x440}) {
        EXPECT_EQ(deportResource(UDID, request, "alpha"), 0);
        EXPECT_THAT(trace.lines(), IsEmpty());
    }
    EXPECT_THAT(router.calls, IsEmpty());
}

TEST_F(InterposerResources, ANamedHostIsTheOnlyOne) {
    importResource(UDID, 0x1, "alpha");
    deportResource(UDID, 0x20, "beta");
    deportResource(UDID, 0x20, "");
    EXPECT_THAT(router.calls,
                ElementsAre("UDID##a##b##c##d [alpha,] 0 0 0 2", "UDID##a##b##c##d [beta,] 0 0 1 2",
                            "UDID##a##b##c##d [,] 0 0 1 2"));
    EXPECT_THAT(
        trace.lines(),
        ElementsAre(
            TracedLine{3, "Hostname [alpha] was passed to importResource API. Adding it hostList"},
            TracedLine{3, "Hostname [beta] was passed to deportResource API. Adding it hostList"},
            TracedLine{3, "Hostname [] was passed to deportResource API. Adding it hostList"}));
}

TEST_F(InterposerResources, AMalformedIdentifierIsRefusedBeforeAnythingElse) {
    for (const char* udid : {"", "disk", "UDID##a", "UDID##a##b", "UDID##a##b##"}) {
        EXPECT_EQ(importResource(udid, 0x4, "alpha"), 21) << udid;
        EXPECT_EQ(deportResource(udid, 0x400, "alpha"), 21) << udid;
    }
    EXPECT_THAT(trace.lines(), IsEmpty());
    EXPECT_THAT(router.calls, IsEmpty());
}

TEST_F(InterposerResources, AnIdentifierIsHandedOnUnchanged) {
    importResource("xyzUDID##a##b##c", 0x1);
    EXPECT_THAT(router.calls, ElementsAre("xyzUDID##a##b##c [] 0 0 0 2"));
}

TEST_F(InterposerResources, WithoutIdentifierTheResultIsThree) {
    EXPECT_EQ(router.importResource(nullptr, nullptr, nullptr, nullptr, 1, nullptr, nullptr), 3);
    EXPECT_EQ(router.deportResource(nullptr, nullptr, nullptr, nullptr, 0x400), 3);
    EXPECT_THAT(trace.lines(), IsEmpty());
}

} // namespace
} // namespace kzfi_pdk_4_4
