#include "operations.h"

#include <gmock/gmock.h>

#include <cstring>
#include <set>

#include "call.h"
#include "cfiplugininterposer.h"
#include "host_context.h"
#include "kzfi_platform_control.h"
#include "support/temp_dir.h"

namespace {

using namespace kzfi_pdk_4_4;
using namespace kzfi_simhost;
using kzfi_tests::readFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A list of object ids as a provider hands it out.
kzfi_objid** handOut(const std::vector<std::string>& names) {
    kzfi_objid** const list =
        static_cast<kzfi_objid**>(kzfi_alloc_buf(names.size() * sizeof(kzfi_objid*)));
    for (std::size_t i = 0; i < names.size(); ++i) {
        list[i] = objectId(names[i]);
    }
    return list;
}

char* handOutText(const std::string& text) {
    char* const copy = static_cast<char*>(kzfi_alloc_buf(text.size() + 1));
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

char** handOutTexts(const std::vector<char*>& texts) {
    char** const list = static_cast<char**>(kzfi_alloc_buf(texts.size() * sizeof(char*)));
    std::copy(texts.begin(), texts.end(), list);
    return list;
}

std::string textOrNull(const char* text) {
    return text != nullptr ? text : "(null)";
}

/// Writes down what it is called with, and has something to hand out.
class Witness : public CFiPluginBase {
  public:
    int claim(kzfi_objid* primary, kzfi_objid*** claimed, int* count) override {
        seen = {textOrNull(primary != nullptr ? primary->name : nullptr)};
        *claimed = handOut({"c1", "c2"});
        *count = 2;
        return 2;
    }

    int supportsFiType(kfi_domain* domain, char* fiType) override {
        seen = {domain->objid->name, textOrNull(fiType)};
        *domain->support_level = 5;
        return 1;
    }

    int importTreeNode(kfi_domain* node, kzfi_objid** primaries, kzfi_objid** secondaries,
                       int count, kzfi_objid** out) override {
        if (secondaries == nullptr) {
            return 9;
        }
        for (int i = 0; i < count; ++i) {
            seen.push_back(primaries[i]->name);
            seen.push_back(textOrNull(secondaries[i] ? secondaries[i]->name : nullptr));
        }
        *out = node->objid;
        return 0;
    }

    int initNode(kfi_domain* node, kfi_domain** parents, int count, kzfi_objid* object) override {
        seen = {textOrNull(node != nullptr ? node->objid->name : nullptr),
                textOrNull(object != nullptr ? object->name : nullptr)};
        for (int i = 0; i < count; ++i) {
            seen.push_back(parents[i]->objid->name);
        }
        return 0;
    }

    int config(kfi_domain* node, int mode, char* sessionId, kfi_confspec* spec) override {
        seen = {textOrNull(node != nullptr ? node->objid->name : nullptr),
                std::to_string(mode),
                textOrNull(sessionId),
                std::to_string(spec->first_selector),
                std::to_string(spec->second_selector),
                textOrNull(spec->text)};
        if (!reply.empty()) {
            spec->text = static_cast<char*>(kzfi_alloc_buf(reply.size() + 1));
            std::memcpy(spec->text, reply.c_str(), reply.size() + 1);
        }
        return 0;
    }

    int prepare(char* sessionId, kfi_splitnode** nodes, int count, int options) override {
        seen = {textOrNull(sessionId), std::to_string(options)};
        for (int i = 0; i < count; ++i) {
            seen.push_back(nodes[i]->node->objid->name);
            if (nodes[i]->second_node != nullptr) {
                seen.push_back(std::string("with ") + nodes[i]->second_node->objid->name);
            }
        }
        listIsNull = nodes == nullptr;
        sessionId[0] = '\0';
        return 0;
    }

    int make(char*, kfi_splitnode**, int, kzfi_objid*** made, int* count) override {
        *made = handOut({"snap"});
        *count = 1;
        return 0;
    }

    int interpose(kfi_domain* domain, kzfi_objid** interposer, kzfi_objid*** lower,
                  int* count) override {
        *interposer = objectId(std::string("<x>") + domain->objid->name);
        *lower = lowerIsMissing ? nullptr : handOut({"g1"});
        *count = 1;
        return 1;
    }

    int restore(kzfi_objid** primaries, kzfi_objid** snapshots, long count, char*, char*,
                char*** results, long* resultCount, long flags, long* status) override {
        for (long i = 0; i < count; ++i) {
            seen.push_back(primaries[i]->name);
            seen.push_back(snapshots[i]->name);
            status[i] = flags + i;
        }
        *results = handOutTexts({handOutText("r1"), nullptr});
        *resultCount = 2;
        return 0;
    }

    int translateResourceNames(char** names, int count, char** translated) override {
        for (int i = 0; i < count; ++i) {
            // One stays as it is, the others are new.
            translated[i] = i == 0 ? names[i] : handOutText(std::string("new ") + names[i]);
        }
        return 0;
    }

    int importResource(char**, char*, char*, char*, int, char** results, char*) override {
        results[0] = handOutText("imported");
        return 0;
    }

    int format(char** resources, int count, char*, char*, char*, int, char*** results,
               int* resultCount) override {
        *results = handOutTexts({handOutText("formatted"), resources[0]});
        *resultCount = count;
        return 0;
    }

    int onlineResource(char**, int, char*, char*, char*, char*, int, char*** results,
                       int* resultCount) override {
        *results = handOutTexts({handOutText("online")});
        *resultCount = 1;
        return 0;
    }

    int getSnapshotSetId(kfi_domain*, char** id) override {
        *id = handOutText("set 7");
        return 0;
    }

    void deInitNode(kfi_domain* node) override {
        for (const kfi_domain_assoc* each = node->assoc_list; each != nullptr; each = each->next) {
            seen.push_back(textOrNull(each->first->name));
        }
        if (!keepsAssociations) {
            CFiPluginBase::deInitNode(node);
        }
    }

    int startBuildAltTree(kfi_domain*, kzfi_objid** objects, void*) override {
        if (objects == nullptr) {
            seen = {"no objects"};
        }
        for (; objects != nullptr && *objects != nullptr; ++objects) {
            seen.push_back((*objects)->name);
        }
        return 0;
    }

    int enableAccess(kfi_node_subobj_list*, long options, int, int) override {
        seen = {std::to_string(options)};
        return 0;
    }

    int setImportOptions(kfi_splitnode**, int, kfi_host_infn* hosts, int transportable,
                         void*) override {
        seen = {std::to_string(transportable)};
        for (; hosts != nullptr; hosts = hosts->next) {
            seen.push_back(hosts->name);
        }
        return 0;
    }

    int processProviderState(kfi_domain*, kfi_blob* state, kfi_op_providerstate op) override {
        seen = {textOrNull(static_cast<char*>(state->data)), std::to_string(state->size),
                std::to_string(op)};
        if (op == KZFI_PROVIDERSTATE_PRODUCE) {
            state->data = kzfi_alloc_buf(6);
            std::memcpy(state->data, "state", 6);
            state->size = 6;
        }
        return 0;
    }

    std::vector<std::string> seen;
    std::string reply;
    bool listIsNull = false;
    bool lowerIsMissing = false;
    bool keepsAssociations = false;
};

class OperationsTest : public testing::Test {
  protected:
    OperationsTest() {
        kzfi_platform_reset();
        kzfi_platform_set_install_root(root.path().c_str());
        scenario.name = "witness";
        scenario.nodes.resize(2);
        scenario.nodes[0].name = "n1";
        scenario.nodes[0].parameters = {{"retries", "5"}};
        scenario.nodes[1].name = "n2";
    }
    ~OperationsTest() override { kzfi_platform_reset(); }

    void host(CFiPluginBase* provider) {
        context = std::make_unique<HostContext>(scenario, root, ProviderPtr(provider));
    }

    Witness& witness() {
        if (!context) {
            seenBy = new Witness;
            host(seenBy);
            kzfi_platform_set_size_reporter([](const void*, size_t, size_t, void*) {}, nullptr);
        }
        return *seenBy;
    }

    Outcome call(const std::string& operation, const Json& arguments = Json::object()) {
        Call made(*context, arguments);
        return findOperation(operation)->call(made);
    }

    /// What the witness saw of a call.
    std::vector<std::string> seen(const std::string& operation, const Json& arguments) {
        witness().seen.clear();
        call(operation, arguments);
        return witness().seen;
    }

    std::string trace() const { return readFile(root.traceFile("witness.log")); }

    kzfi_tests::TempDir folder;
    HostRoot root{folder.path()};
    Scenario scenario;
    std::unique_ptr<HostContext> context;
    Witness* seenBy = nullptr;
};

TEST_F(OperationsTest, ThereAreEightyThreeInOrder) {
    ASSERT_EQ(operations().size(), 83u);
    std::set<std::string> names;
    for (std::size_t i = 0; i < operations().size(); ++i) {
        EXPECT_EQ(operations()[i].number, static_cast<int>(i) + 1);
        names.insert(operations()[i].name);
    }
    EXPECT_EQ(names.size(), 83u);
    EXPECT_EQ(operations()[0].name, "~CFiPluginBase");
    EXPECT_EQ(operations()[82].name, "postDeport");
}

TEST_F(OperationsTest, AllButTheDestructorCanBeCalled) {
    EXPECT_EQ(findOperation("~CFiPluginBase"), nullptr);
    EXPECT_EQ(findOperation("nothing"), nullptr);
    for (std::size_t i = 1; i < operations().size(); ++i) {
        EXPECT_EQ(findOperation(operations()[i].name), &operations()[i]);
    }
}

/// The plug-in base traces the name of every operation that it is asked for.
TEST_F(OperationsTest, EachAdapterCallsTheOperationOfItsName) {
    host(new CFiPluginBase);
    const std::set<std::string> untraced = {"delayedInit", "globalConfigInfoList"};
    for (const Operation& operation : operations()) {
        if (operation.call == nullptr || untraced.count(operation.name) != 0) {
            continue;
        }
        const std::size_t before = trace().size();
        call(operation.name);
        EXPECT_THAT(trace().substr(before),
                    HasSubstr("Entering Function " + operation.name + " ["));
    }
}

TEST_F(OperationsTest, HarmlessCallsGetTheDefaultAnswers) {
    host(new CFiPluginBase);
    const std::set<std::string> notImplemented = {
        "make",    "makeSnapshots",          "prepare",           "select",
        "restore", "isValidNodeAssociation", "checkNodeExistence"};
    const std::set<std::string> invalid = {"config", "enableAccess", "disableAccess"};
    const std::set<std::string> silent = {"globalConfigInfoList", "fini",       "unquiesce",
                                          "cacheEnable",          "cacheFlush", "deInitNode"};
    for (const Operation& operation : operations()) {
        if (operation.call == nullptr) {
            continue;
        }
        const Outcome outcome = call(operation.name);
        if (silent.count(operation.name) != 0) {
            EXPECT_FALSE(outcome.status.has_value()) << operation.name;
        } else {
            const int expected = notImplemented.count(operation.name) != 0 ? 4
                                 : invalid.count(operation.name) != 0      ? 3
                                                                           : 0;
            EXPECT_EQ(outcome.status, expected) << operation.name;
        }
    }
}

TEST_F(OperationsTest, AFieldThatIsLeftOutIsTheFirstNodeOrEmpty) {
    EXPECT_THAT(seen("supportsFiType", Json::object()), ElementsAre("n1", ""));
    EXPECT_THAT(seen("supportsFiType", {{"node", "n2"}, {"fiType", "snapshot"}}),
                ElementsAre("n2", "snapshot"));
    EXPECT_THAT(seen("supportsFiType", {{"fiType", nullptr}}), ElementsAre("n1", "(null)"));
    EXPECT_THAT(seen("claim", Json::object()), ElementsAre("n1"));
    EXPECT_THAT(seen("claim", {{"object", "any"}}), ElementsAre("any"));
    EXPECT_THAT(seen("claim", {{"object", nullptr}}), ElementsAre("(null)"));
    EXPECT_THAT(seen("initNode", {{"node", nullptr}, {"object", nullptr}}),
                ElementsAre("(null)", "(null)"));
}

TEST_F(OperationsTest, InitNodeGivesTheNodesOwnObject) {
    EXPECT_THAT(seen("initNode", {{"node", "n2"}, {"parents", {"n1", "n2"}}}),
                ElementsAre("n2", "n2", "n1", "n2"));
    EXPECT_THAT(seen("initNode", {{"node", "n2"}, {"object", "other"}}),
                ElementsAre("n2", "other"));
}

TEST_F(OperationsTest, ListsThatAreHandedOutComeBack) {
    witness();
    const uint64_t before =
        kzfi_platform_get_counts().taken - kzfi_platform_get_counts().given_back;
    EXPECT_EQ(call("claim").values, Json({{"claimed", {"c1", "c2"}}}));
    EXPECT_EQ(call("make").values, Json({{"made", {"snap"}}}));
    EXPECT_EQ(call("interpose").values, Json({{"interposer", "<x>n1"}, {"lower", {"g1"}}}));
    const Outcome produced = call("processProviderState");
    EXPECT_EQ(produced.text, Json("state"));
    EXPECT_EQ(call("restore").values["results"], Json({"r1", nullptr}));
    EXPECT_EQ(call("translateResourceNames", {{"names", {"a", "b"}}}).values,
              Json({{"translated", {"a", "new b"}}}));
    EXPECT_EQ(call("importResource", {{"resources", {"a", "b"}}}).values,
              Json({{"results", {"imported", nullptr}}}));
    EXPECT_EQ(call("format", {{"resources", {"a", "b"}}}).values,
              Json({{"results", {"formatted", "a"}}}));
    EXPECT_EQ(call("onlineResource").values, Json({{"results", {"online"}}}));
    EXPECT_EQ(call("getSnapshotSetId").text, Json("set 7"));
    const kzfi_platform_counts counts = kzfi_platform_get_counts();
    EXPECT_EQ(counts.taken - counts.given_back, before);
    EXPECT_EQ(counts.wrong_size, 0u);
    EXPECT_EQ(counts.unknown, 0u);
}

/// An association as a provider makes it.
void associate(kfi_domain* node, const char* name) {
    kfi_domain_assoc* const made = new kfi_domain_assoc{};
    made->first = new kfi_domain_assoc_entry{};
    made->first->name = strdup(name);
    made->next = node->assoc_list;
    node->assoc_list = made;
}

TEST_F(OperationsTest, DeInitNodeSeesTheAssociationsNames) {
    witness();
    associate(context->nodes().first(), "mirror");
    associate(context->nodes().first(), "other");
    EXPECT_THAT(seen("deInitNode", {{"node", "n1"}}), ElementsAre("other", "mirror"));
    EXPECT_EQ(context->nodes().first()->assoc_list, nullptr);
}

TEST_F(OperationsTest, AssociationsThatDeInitNodeLeavesKeepTheirNames) {
    witness().keepsAssociations = true;
    associate(context->nodes().first(), "mirror");
    call("deInitNode", {{"node", "n1"}});
    EXPECT_EQ(call("prePrepare").status, 0);
    EXPECT_STREQ(context->nodes().first()->assoc_list->first->name, "mirror");
    witness().keepsAssociations = false;
    call("deInitNode", {{"node", "n1"}});
}

TEST_F(OperationsTest, ACountWithoutAListIsNoList) {
    witness().lowerIsMissing = true;
    EXPECT_EQ(call("interpose").values, Json({{"interposer", "<x>n1"}, {"lower", Json::array()}}));
}

TEST_F(OperationsTest, StatusesAndSupportLevelsAreShown) {
    witness();
    const Outcome supported = call("supportsFiType");
    EXPECT_EQ(supported.status, 1);
    EXPECT_EQ(supported.values, Json({{"supportLevel", 5}}));
    EXPECT_EQ(call("claim").status, 2);
}

TEST_F(OperationsTest, SecondariesAreFilledUpToThePrimaries) {
    EXPECT_THAT(seen("importTreeNode", {{"primaries", {"p", "q"}}, {"secondaries", {"s"}}}),
                ElementsAre("p", "s", "q", "(null)"));
    EXPECT_EQ(call("importTreeNode").values, Json({{"imported", "n1"}}));
}

TEST_F(OperationsTest, SplitNodesAreTheNodes) {
    EXPECT_THAT(seen("prepare", {{"nodes", {"n2", "n1"}}, {"session", "s"}, {"options", 7}}),
                ElementsAre("s", "7", "n2", "n1"));
    EXPECT_THAT(seen("prepare", Json::object()), ElementsAre("", "0"));
}

TEST_F(OperationsTest, SecondNodesAreTheOtherHalves) {
    EXPECT_THAT(seen("prepare", {{"nodes", {"n1", "n2"}}, {"second", {"n2"}}, {"session", "s"}}),
                ElementsAre("s", "0", "n1", "with n2", "n2"));
}

TEST_F(OperationsTest, OnlyAListThatIsNullIsANullPointer) {
    seen("prepare", {{"nodes", nullptr}});
    EXPECT_TRUE(witness().listIsNull);
    seen("prepare", {{"nodes", Json::array()}});
    EXPECT_FALSE(witness().listIsNull);
    seen("prepare", Json::object());
    EXPECT_FALSE(witness().listIsNull);
    for (const char* operation : {"importTreeNode", "restore", "getStatus"}) {
        EXPECT_THAT(seen(operation, {{"primaries", nullptr}}), IsEmpty());
    }
    EXPECT_THAT(seen("startBuildAltTree", {{"objects", nullptr}}), ElementsAre("no objects"));
    EXPECT_THAT(seen("startBuildAltTree", {{"objects", {"o"}}}), ElementsAre("o"));
    EXPECT_THAT(seen("startBuildAltTree", Json::object()), IsEmpty());
    EXPECT_EQ(call("importResource", {{"resources", nullptr}}).status, 0);
    EXPECT_EQ(call("importTreeNode", {{"primaries", {"p"}}, {"secondaries", nullptr}}).status, 9);
}

TEST_F(OperationsTest, LongNumbersKeepTheirWidth) {
    const long wide = 5000000000;
    EXPECT_THAT(seen("enableAccess", {{"nodes", {"n1"}}, {"options", wide}}),
                ElementsAre("5000000000"));
    EXPECT_EQ(call("restore", {{"primaries", {"p"}}, {"snapshots", {"s"}}, {"flags", wide}})
                  .values["statuses"],
              Json({wide}));
    std::set<std::string> wideFields;
    for (const Operation& operation : operations()) {
        for (const Field& field : operation.fields) {
            if (field.isLong) {
                wideFields.insert(operation.name + " " + field.name);
            }
        }
    }
    EXPECT_THAT(wideFields,
                ElementsAre("disableAccess options", "enableAccess options", "getStatus flags",
                            "resourceStatus options", "restore flags", "resync flags"));
}

TEST_F(OperationsTest, HostsAreAList) {
    EXPECT_THAT(seen("setImportOptions", {{"hosts", {"h1", "h2"}}, {"transportable", 1}}),
                ElementsAre("1", "h1", "h2"));
    EXPECT_THAT(seen("setImportOptions", Json::object()), ElementsAre("0"));
}

TEST_F(OperationsTest, RestoreShowsResultsAndStatuses) {
    witness();
    const Outcome outcome =
        call("restore", {{"primaries", {"p", "q"}}, {"snapshots", {"s", "t"}}, {"flags", 40}});
    EXPECT_THAT(witness().seen, ElementsAre("p", "s", "q", "t"));
    EXPECT_EQ(outcome.values, Json({{"results", {"r1", nullptr}}, {"statuses", {40, 41}}}));
}

TEST_F(OperationsTest, StatesGoInAndOut) {
    EXPECT_THAT(seen("processProviderState", {{"op", 2}, {"state", "old"}}),
                ElementsAre("old", "4", "2"));
    EXPECT_THAT(seen("processProviderState", {{"op", 2}, {"state", nullptr}}),
                ElementsAre("(null)", "0", "2"));
    EXPECT_THAT(seen("processProviderState", Json::object()), ElementsAre("(null)", "0", "1"));
}

TEST_F(OperationsTest, ConfigModesAreTheFrameworks) {
    const std::vector<std::pair<std::string, std::string>> modes = {
        {"get", "1"}, {"set", "2"}, {"clear", "3"}, {"getparam", "4"}, {"set-again", "5"}};
    for (const auto& mode : modes) {
        EXPECT_EQ(seen("config", {{"mode", mode.first}, {"text", "x"}}).at(1), mode.second);
    }
    EXPECT_EQ(seen("config", Json::object()).at(1), "4");
}

TEST_F(OperationsTest, ConfigListsAreSelectors) {
    EXPECT_THAT(seen("config", {{"mode", "get"}, {"node", "n2"}, {"session", "s"}}),
                ElementsAre("n2", "1", "s", "0", "1", "(null)"));
    EXPECT_THAT(seen("config", {{"mode", "get"}, {"list", "1"}, {"session", nullptr}}),
                ElementsAre("n1", "1", "(null)", "1", "0", "(null)"));
    EXPECT_THAT(seen("config", {{"mode", "get"}, {"list", "none"}}),
                ElementsAre("n1", "1", "", "0", "0", "(null)"));
}

TEST_F(OperationsTest, ASetSendsItsTextOrParametersOrThoseOfTheNode) {
    EXPECT_EQ(seen("config", {{"mode", "set"}, {"text", "raw"}}).at(5), "raw");
    EXPECT_EQ(seen("config", {{"mode", "set"}, {"text", nullptr}}).at(5), "(null)");
    EXPECT_THAT(
        seen("config", {{"mode", "set"}, {"parameters", {{"a", "1"}, {"b", {"x", "y"}}}}}).at(5),
        AllOf(HasSubstr("<key>a</key>\n\t<value>1</value>"),
              HasSubstr("<valueList>\n\t<value>x</value>\n\t<value>y</value>\n")));
    EXPECT_THAT(seen("config", {{"mode", "set"}}).at(5),
                HasSubstr("<key>retries</key>\n\t<value>5</value>"));
    EXPECT_EQ(seen("config", {{"mode", "set"}, {"node", "n2"}}).at(5), "(null)");
    EXPECT_EQ(seen("config", {{"mode", "get"}}).at(5), "(null)");
}

TEST_F(OperationsTest, ConfigShowsTheValuesInTheText) {
    witness().reply = "<ConfigValueList><ConfigValue><key>a</key><value>1</value></ConfigValue>"
                      "<ConfigValue><key>b</key><valueList><value>x</value></valueList>"
                      "</ConfigValue></ConfigValueList>";
    const Outcome got = call("config", {{"mode", "get"}});
    EXPECT_EQ(got.text, Json(witness().reply));
    EXPECT_EQ(got.values, Json({{"a", "1"}, {"b", {"x"}}}));

    witness().reply = "<ConfigParamList><ConfigParam><key>r</key><defaultValue>3</defaultValue>"
                      "</ConfigParam></ConfigParamList>";
    EXPECT_EQ(call("config", {{"mode", "getparam"}}).values, Json({{"r", "3"}}));

    witness().reply = "no XML";
    EXPECT_EQ(call("config", {{"mode", "get"}}).values, Json::object());
}

TEST_F(OperationsTest, ConfigGivesBothTextsBack) {
    witness().reply = "out";
    const kzfi_platform_counts before = kzfi_platform_get_counts();
    call("config", {{"mode", "set"}, {"text", "in"}});
    const kzfi_platform_counts after = kzfi_platform_get_counts();
    EXPECT_EQ(after.taken - before.taken, 2u);
    EXPECT_EQ(after.given_back - before.given_back, 2u);
    EXPECT_EQ(after.wrong_size, 0u);
}

TEST_F(OperationsTest, AccessFlagsAreShown) {
    host(new CFiPluginBase);
    EXPECT_EQ(call("disableAccess", {{"nodes", {"n1", "n2"}}}).values,
              Json({{"disabled", {"n1", "n2"}}, {"flags", {64, 64}}}));
    EXPECT_EQ(call("enableAccess", {{"nodes", {"n2"}}}).values,
              Json({{"disabled", Json::array()}, {"flags", {0}}}));
    EXPECT_EQ(call("enableAccess", {{"nodes", {"n1"}}}).status, 0);
    EXPECT_EQ(call("enableAccess", {{"nodes", Json::array()}}).status, 3);
}

TEST_F(OperationsTest, InterposedNodesCanBeNamedFromThenOn) {
    witness();
    EXPECT_THROW(call("supportsFiType", {{"node", "<x>n1"}}), NoSuchNode);
    call("interpose");
    EXPECT_THAT(seen("supportsFiType", {{"node", "<x>n1"}}), ElementsAre("<x>n1", ""));
    EXPECT_THAT(seen("prepare", {{"nodes", {"g1", "n1"}}}), ElementsAre("", "0", "g1", "n1"));
    EXPECT_EQ(context->nodes().tree()[2]["below"], Json({"n1", "g1"}));
}

TEST_F(OperationsTest, ANodeThatIsNotThereIsNamedAndNothingIsCalled) {
    witness().seen.clear();
    try {
        call("prepare", {{"nodes", {"n1", "n3"}}});
        FAIL();
    } catch (const NoSuchNode& e) {
        EXPECT_STREQ(e.what(), "nodes: there is no node 'n3'; known: n1, n2");
    }
    EXPECT_THAT(witness().seen, IsEmpty());
}

/// A provider with one method for the nodes whose name holds "n".
class OneMethod : public CFiPluginInterposer {
  public:
    OneMethod() {
        setDefaultNodeType(7);
        addFim("n", "fim", "other", 1, "group");
    }

    int importNode(tstring, std::vector<tstring>, bool, bool, bool, int) override { return 0; }
};

TEST_F(OperationsTest, NodesShowWhatBecameOfThem) {
    host(new OneMethod);
    EXPECT_EQ(call("interpose").status, 1);
    const Json group = call("initNode", {{"node", "group"}}).values;
    EXPECT_EQ(group["displayName"], "group");
    EXPECT_EQ(group["associations"], Json::array({{"other", "fim", "group"}}));
    const Json upper = call("initNode", {{"node", "<witness>n1"}}).values;
    EXPECT_EQ(upper, Json({{"type", 7},
                           {"flags", 0},
                           {"supportLevel", 0},
                           {"displayName", "<witness>n1"},
                           {"associations", Json::array({{"other", "fim", "group"}})}}));
    EXPECT_EQ(call("isReady", {{"nodes", {"n1", "n2"}}}).values["flags"], Json({8, 8}));
    EXPECT_EQ(call("initAltNode", {{"node", "n1"}, {"target", "n2"}}).values["type"], 7);
    EXPECT_EQ(call("initAltNode", {{"node", "n1"}, {"target", nullptr}}).values, Json::object());
    EXPECT_EQ(call("reAccessTmpObj", {{"node", "n2"}}).values["flags"], 8);
    EXPECT_EQ(call("reAccessAltNode", {{"node", "n2"}}).values["type"], 7);
    for (const char* const name : {"<witness>n1", "group"}) {
        const Outcome gone = call("deInitNode", {{"node", name}});
        EXPECT_FALSE(gone.status.has_value());
        EXPECT_EQ(gone.values["associations"], Json::array());
        EXPECT_EQ(gone.values["displayName"], Json());
    }
    EXPECT_EQ(call("deInitNode", {{"node", nullptr}}).values, Json::object());
}

/// Knows sub-objects of every node.
class Parent : public CFiPluginBase {
  public:
    int subobjList(kfi_domain*, kzfi_objid*** list, int* count) override {
        static kzfi_objid* objects[] = {objectId("s1"), nullptr, objectId("s2")};
        *list = objects;
        *count = 3;
        return 0;
    }
};

TEST_F(OperationsTest, SubObjectsAreShownAndStayTheProviders) {
    host(new Parent);
    const uint64_t before = kzfi_platform_get_counts().given_back;
    EXPECT_EQ(call("subobjList").values, Json({{"objects", {"s1", nullptr, "s2"}}}));
    EXPECT_EQ(kzfi_platform_get_counts().given_back, before);
}

/// Says that it interposes, without a node to show for it.
class Pretender : public CFiPluginBase {
  public:
    int interpose(kfi_domain*, kzfi_objid**, kzfi_objid***, int*) override {
        return KZFI_INTERPOSE_DONE;
    }
};

TEST_F(OperationsTest, NothingIsInterposedWithoutANode) {
    host(new Pretender);
    EXPECT_EQ(call("interpose").values, Json({{"interposer", nullptr}, {"lower", Json::array()}}));
    EXPECT_THAT(context->nodes().names(), ElementsAre("n1", "n2"));
}

TEST_F(OperationsTest, GetStatusAnswersForEveryPrimary) {
    host(new CFiPluginBase);
    EXPECT_EQ(call("getStatus", {{"primaries", {"a", "b"}}}).values, Json({{"statuses", {8, 8}}}));
}

TEST_F(OperationsTest, WithoutAnErrorThereIsNoText) {
    host(new CFiPluginBase);
    const Outcome outcome = call("getLastError");
    EXPECT_EQ(outcome.status, 0);
    ASSERT_TRUE(outcome.text.has_value());
    EXPECT_TRUE(outcome.text->is_null());
    EXPECT_EQ(outcome.values, Json::object());
}

TEST_F(OperationsTest, ErrMsgShowsThePlaceholderWithoutACatalogue) {
    host(new CFiPluginBase);
    EXPECT_EQ(call("errMsg", {{"code", 12}}).text, Json("<MSG_ERROR_WITNESS_0012>"));
    EXPECT_EQ(call("delLocaleMessage").status, 0);
}

} // namespace
