#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "kzfi_platform_control.h"
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

constexpr int GET = 1;
constexpr int SET = 2;
constexpr int CLEAR = 3;
constexpr int GETPARAM = 4;
constexpr int SET_AGAIN = 5;

const std::string HEADER = "<?xml version=\"1.0\" standalone=\"yes\" ?>\n";
const std::string NO_VALUES = HEADER + "<ConfigValueList>\n</ConfigValueList>\n";

std::string value(const std::string& key, const std::string& text) {
    return "<ConfigValue>\n\t<dataType></dataType>\n\t<key>" + key + "</key>\n\t<value>" + text +
           "</value>\n</ConfigValue>\n";
}

std::string values(const std::string& entries) {
    return HEADER + "<ConfigValueList>\n" + entries + "</ConfigValueList>\n";
}

void describe(CFiConfigParamInfoList& list, const std::string& key, const std::string& byDefault) {
    CFiConfigParamInfo& info = list.entries()[key];
    info.key = key;
    info.defaultValue = byDefault;
    info.dataType = FI_DATA_STRING;
    list.updateXML();
}

void store(CFiConfigParamDataList& list, const std::string& key, const std::string& text) {
    list.entries()[key].key = key;
    list.entries()[key].value = text;
    list.updateXML();
}

/// A plug-in with a factory, and one node that it knows.
class Config : public testing::Test {
  protected:
    Config() : factory(new RecordingFactory), node("/dev/sdb") {
        CFiPrivateDataManagerPtr manager(new CFiPrivateDataManager(factory.get()));
        plugin.registerPrivateDataManager(manager);
        data = factory->createPrivateData(node.get(), 0);
        factory->calls.clear();
    }

    void TearDown() override { kzfi_platform_reset(); }

    /// Calls config with the first selector, as the framework does for list index 1.
    int request(int mode, const char* text = nullptr) {
        incoming = text != nullptr ? text : "";
        spec = {1, 0, text != nullptr ? incoming.data() : nullptr};
        return call(mode);
    }

    int call(int mode) {
        char session[] = "S1";
        const int status = plugin.config(node.get(), mode, session, &spec);
        if (spec.text != nullptr && spec.text != incoming.data()) {
            kept.push_back(std::string(spec.text));
            kzfi_free_buf(spec.text, kept.back().size() + 1);
            spec.text = kept.back().data();
        }
        return status;
    }

    RecordingFactory* recorder() { return factory.get(); }

    CFiSmartPtr<RecordingFactory, CFiNullAllocator<RecordingFactory>> factory;
    Node node;
    PeekingPlugin plugin;
    CFiPrivateDataPtr data;
    std::string incoming;
    std::vector<std::string> kept;
    kfi_confspec spec = {};
};

// ---- Before the modes ----

TEST_F(Config, WithoutPrivateDataTheResultIsThreeAndNothingElse) {
    TraceCapture trace(3);
    plugin.registerTraceLog(trace.log());
    Node unknown("other");
    char text[] = "<a/>";
    spec = {1, 0, text};
    EXPECT_EQ(plugin.config(unknown.get(), GET, nullptr, &spec), 3);
    EXPECT_EQ(spec.text, text);
    EXPECT_THAT(trace.all(), IsEmpty());
}

TEST_F(Config, WithoutManagerOrFactoryThereIsNoPrivateData) {
    CFiPrivateDataManagerPtr empty(new CFiPrivateDataManager);
    plugin.registerPrivateDataManager(empty);
    EXPECT_EQ(request(GET), 3);
    CFiPrivateDataManagerPtr none;
    plugin.registerPrivateDataManager(none);
    EXPECT_EQ(request(GET), 3);
}

TEST_F(Config, NullNodeAndNullRequestAreGuarded) {
    EXPECT_EQ(plugin.config(nullptr, GET, nullptr, &spec), 3);
    EXPECT_EQ(plugin.config(node.get(), GET, nullptr, nullptr), 0);
}

TEST_F(Config, TracesTheIncomingTextFirst) {
    TraceCapture trace(6);
    plugin.registerTraceLog(trace.log());
    request(0, "<a/>");
    request(0);
    EXPECT_THAT(trace.lines(),
                ElementsAre(TracedLine{3, " config str <a/>\n"}, TracedLine{3, " config str \n"}));
}

TEST_F(Config, EveryModeKeepsTheSession) {
    for (const int mode : {0, GET, SET, CLEAR, GETPARAM, SET_AGAIN, 7}) {
        data->setSessionId("old");
        request(mode);
        EXPECT_EQ(data->getSessionId(), "S1") << mode;
    }
}

TEST_F(Config, NullSessionKeepsTheOldOne) {
    data->setSessionId("old");
    spec = {1, 0, nullptr};
    plugin.config(node.get(), 0, nullptr, &spec);
    EXPECT_EQ(data->getSessionId(), "old");
}

TEST_F(Config, WithoutSelectorsTheTextBecomesNullInEveryMode) {
    const std::string good = values(value("mode", "x"));
    for (const int mode : {0, GET, SET, CLEAR, GETPARAM, SET_AGAIN, 7}) {
        incoming = good;
        spec = {0, 0, incoming.data()};
        EXPECT_EQ(call(mode), 0) << mode;
        EXPECT_EQ(spec.text, nullptr) << mode;
        EXPECT_EQ(data->getSessionId(), "S1");
    }
    EXPECT_FALSE(data->hasConfigDataList(0));
    EXPECT_FALSE(data->hasConfigDataList(1));
}

TEST_F(Config, OnlyTheFirstSelectorGivesIndexOne) {
    store(*data->configDataList(0), "zero", "0");
    store(*data->configDataList(1), "one", "1");
    spec = {0, 5, nullptr};
    EXPECT_EQ(call(GET), 0);
    EXPECT_EQ(spec.text, values(value("zero", "0")));
    spec = {9, 5, nullptr};
    EXPECT_EQ(call(GET), 0);
    EXPECT_EQ(spec.text, values(value("one", "1")));
}

TEST_F(Config, EachIndexHasListsOfItsOwn) {
    describe(plugin.globalConfigInfo[0][0], "zero", "0");
    describe(plugin.globalConfigInfo[0][1], "one", "1");
    spec = {0, 1, nullptr};
    EXPECT_EQ(call(GET), 0);
    EXPECT_EQ(spec.text, values(value("zero", "0")));
    incoming = NO_VALUES;
    spec = {0, 1, incoming.data()};
    EXPECT_EQ(call(SET), 0);
    EXPECT_EQ(spec.text, values(value("zero", "0")));
    EXPECT_FALSE(data->hasConfigDataList(1));
    store(*data->configDataList(1), "one", "mine");
    spec = {0, 1, nullptr};
    EXPECT_EQ(call(CLEAR), 0);
    EXPECT_TRUE(data->configDataList(0)->empty());
    EXPECT_FALSE(data->configDataList(1)->empty());
}

TEST_F(Config, OtherModesDoNothing) {
    for (const int mode : {0, 6, 7, -1}) {
        EXPECT_EQ(request(mode, "<a/>"), 0);
        EXPECT_EQ(spec.text, incoming.data());
    }
    EXPECT_FALSE(data->hasConfigDataList(1));
}

// ---- GET ----

TEST_F(Config, GetReturnsTheValues) {
    store(*data->configDataList(1), "mode", "a&b");
    EXPECT_EQ(request(GET), 0);
    EXPECT_EQ(spec.text, values(value("mode", "a&amp;b")));
}

TEST_F(Config, GetOfAnEmptyValueListIsNullEvenWithDefaults) {
    describe(plugin.globalConfigInfo[0][1], "mode", "x");
    describe(*data->configInfoList(1), "mode", "y");
    data->configDataList(1);
    EXPECT_EQ(request(GET), 0);
    EXPECT_EQ(spec.text, nullptr);
}

TEST_F(Config, GetWithoutListsRendersTheGlobalDefaultsAndKeepsNone) {
    describe(plugin.globalConfigInfo[0][1], "mode", "x");
    EXPECT_EQ(request(GET), 0);
    EXPECT_EQ(spec.text, values(value("mode", "x")));
    EXPECT_FALSE(data->hasConfigDataList(1));
    EXPECT_FALSE(data->hasConfigInfoList(1));
}

TEST_F(Config, GetWithoutAnyDescriptionIsTheEmptyDocument) {
    EXPECT_EQ(request(GET), 0);
    EXPECT_EQ(spec.text, NO_VALUES);
    EXPECT_EQ(NO_VALUES.size(), 77u);
}

TEST_F(Config, GetStoresTheDefaultsOfTheNodesOwnDescriptions) {
    describe(plugin.globalConfigInfo[0][1], "global", "g");
    describe(*data->configInfoList(1), "mode", "own");
    EXPECT_EQ(request(GET), 0);
    EXPECT_EQ(spec.text, values(value("mode", "own")));
    ASSERT_TRUE(data->hasConfigDataList(1));
    EXPECT_EQ(data->configDataList(1)->getParamData("mode")->value, "own");
}

TEST_F(Config, GetWithOwnButEmptyDescriptionsIsNull) {
    describe(plugin.globalConfigInfo[0][1], "global", "g");
    data->configInfoList(1);
    EXPECT_EQ(request(GET), 0);
    EXPECT_EQ(spec.text, nullptr);
    EXPECT_FALSE(data->hasConfigDataList(1));
}

TEST_F(Config, GetTracesTheListIndexAtLevelOne) {
    TraceCapture trace(6);
    plugin.registerTraceLog(trace.log());
    store(*data->configDataList(1), "mode", "x");
    request(GET);
    data->configDataList(0);
    spec = {0, 1, nullptr};
    call(GET);
    EXPECT_THAT(trace.lines(),
                ElementsAre(TracedLine{3, " config str \n"},
                            TracedLine{1, "GET: Mode[1]: " + values(value("mode", "x")) + "\n"},
                            TracedLine{3, " config str \n"}, TracedLine{1, "GET: Mode[0]: \n"}));
}

// ---- SET ----

TEST_F(Config, SetCompletesWithTheGlobalDefaults) {
    describe(plugin.globalConfigInfo[0][1], "mode", "x");
    describe(plugin.globalConfigInfo[0][1], "retries", "3");
    for (const int mode : {SET, SET_AGAIN}) {
        EXPECT_EQ(request(mode, values(value("mode", "mine")).c_str()), 0);
        EXPECT_EQ(spec.text, values(value("mode", "mine") + value("retries", "3")));
    }
    EXPECT_FALSE(data->hasConfigInfoList(1)) << "setting values makes no descriptions";
}

TEST_F(Config, SetPrefersTheNodesOwnDescriptionsEvenWhenEmpty) {
    describe(plugin.globalConfigInfo[0][1], "global", "g");
    data->configInfoList(1);
    EXPECT_EQ(request(SET, values(value("mode", "mine")).c_str()), 0);
    EXPECT_EQ(spec.text, values(value("mode", "mine")));
    describe(*data->configInfoList(1), "own", "o");
    EXPECT_EQ(request(SET, values(value("mode", "mine")).c_str()), 0);
    EXPECT_EQ(spec.text, values(value("mode", "mine") + value("own", "o")));
}

TEST_F(Config, SetOfNothingTakesAllDefaults) {
    describe(plugin.globalConfigInfo[0][1], "mode", "x");
    EXPECT_EQ(request(SET, NO_VALUES.c_str()), 0);
    EXPECT_EQ(spec.text, values(value("mode", "x")));
}

TEST_F(Config, SetOfNullIsTracedAndAnswersZero) {
    TraceCapture trace(6);
    plugin.registerTraceLog(trace.log());
    EXPECT_EQ(request(SET), 0);
    EXPECT_EQ(spec.text, nullptr);
    EXPECT_FALSE(data->hasConfigDataList(1));
    EXPECT_THAT(trace.lines(),
                ElementsAre(TracedLine{3, " config str \n"},
                            TracedLine{1, "ERROR: SET: Mode[1], Invalid config string.\n"}));
}

TEST_F(Config, SetOfBrokenXmlIsThreeAndNull) {
    TraceCapture trace(6);
    plugin.registerTraceLog(trace.log());
    EXPECT_EQ(request(SET, "<broken"), 3);
    EXPECT_EQ(spec.text, nullptr);
    EXPECT_THAT(trace.lines(),
                ElementsAre(TracedLine{3, " config str <broken\n"},
                            TracedLine{1, "ERROR: SET: Mode[1]: Invalid XML [<broken]\n"}));
    EXPECT_TRUE(data->hasConfigDataList(1)) << "the parse makes the list";
    EXPECT_EQ(request(GET), 0);
    EXPECT_EQ(spec.text, nullptr) << "and leaves it empty";
}

TEST_F(Config, AfterABrokenSetGetReturnsTheRejectedText) {
    store(*data->configDataList(1), "mode", "x");
    EXPECT_EQ(request(SET, "<broken"), 3);
    EXPECT_EQ(data->configDataList(1)->getParamData("mode")->value, "x");
    EXPECT_EQ(request(GET), 0);
    EXPECT_STREQ(spec.text, "<broken");
}

TEST_F(Config, SetDoesNotWriteIntoTheIncomingText) {
    const std::string good = values(value("mode", "mine"));
    std::string text = good;
    spec = {1, 0, text.data()};
    EXPECT_EQ(call(SET), 0);
    EXPECT_EQ(text, good);
    EXPECT_NE(spec.text, text.data());
}

TEST_F(Config, ReturnedTextIsTheFrameworksOwnBuffer) {
    kzfi_platform_reset();
    request(GET);
    EXPECT_EQ(kzfi_platform_get_counts().taken, 1u);
    EXPECT_EQ(kzfi_platform_get_counts().wrong_size, 0u);
    EXPECT_EQ(kzfi_platform_get_counts().unknown, 0u);
}

// ---- Clear ----

TEST_F(Config, ClearEmptiesTheListAndKeepsIt) {
    describe(plugin.globalConfigInfo[0][1], "mode", "x");
    store(*data->configDataList(1), "mode", "mine");
    EXPECT_EQ(request(CLEAR, "text"), 0);
    EXPECT_STREQ(spec.text, "text");
    ASSERT_TRUE(data->hasConfigDataList(1));
    EXPECT_TRUE(data->configDataList(1)->empty());
    EXPECT_STREQ(data->configDataList(1)->getXML(), "");
    EXPECT_EQ(request(GET), 0);
    EXPECT_EQ(spec.text, nullptr);
}

TEST_F(Config, ClearMakesNoList) {
    EXPECT_EQ(request(CLEAR), 0);
    EXPECT_FALSE(data->hasConfigDataList(1));
}

// ---- GETPARAM ----

TEST_F(Config, GetParamPrefersTheNodesOwnDescriptions) {
    describe(plugin.globalConfigInfo[0][1], "global", "g");
    EXPECT_EQ(request(GETPARAM), 0);
    EXPECT_STREQ(spec.text, plugin.globalConfigInfo[0][1].getXML());
    data->configInfoList(1);
    EXPECT_EQ(request(GETPARAM), 0);
    EXPECT_STREQ(spec.text, plugin.globalConfigInfo[0][1].getXML()) << "own but empty";
    describe(*data->configInfoList(1), "own", "o");
    EXPECT_EQ(request(GETPARAM), 0);
    EXPECT_STREQ(spec.text, data->configInfoList(1)->getXML());
}

TEST_F(Config, GetParamOfNothingIsNullAndTraced) {
    TraceCapture trace(6);
    plugin.registerTraceLog(trace.log());
    EXPECT_EQ(request(GETPARAM), 0);
    EXPECT_EQ(spec.text, nullptr);
    EXPECT_THAT(trace.lines(), ElementsAre(TracedLine{3, " config str \n"},
                                           TracedLine{3, "GETPARAM: Mode[1]: \n"}));
}

TEST_F(Config, GetParamTracesTheText) {
    describe(plugin.globalConfigInfo[0][1], "mode", "x");
    TraceCapture trace(6);
    plugin.registerTraceLog(trace.log());
    request(GETPARAM);
    const std::vector<TracedLine> lines = trace.lines();
    ASSERT_THAT(lines, testing::SizeIs(2));
    EXPECT_EQ(lines[1].level, 3);
    EXPECT_EQ(lines[1].text, "GETPARAM: Mode[1]: " + std::string(spec.text) + "\n");
}

/// A plug-in that hands out lists of its own and says which were asked for.
class Overriding : public PeekingPlugin {
  public:
    CFiConfigParamInfoList* globalConfigInfoList(int index, bool second) override {
        asked.push_back(std::to_string(index) + (second ? " second" : " first"));
        return &own;
    }

    CFiConfigParamInfoList own;
    std::vector<std::string> asked;
};

TEST(ConfigOverride, OnlyGetParamSeesAnOverride) {
    Overriding plugin;
    describe(plugin.own, "own", "o");
    Node node("disk");
    CFiSmartPtr<RecordingFactory, CFiNullAllocator<RecordingFactory>> factory(new RecordingFactory);
    factory->createPrivateData(node.get(), 0);
    CFiPrivateDataManagerPtr manager(new CFiPrivateDataManager(factory.get()));
    plugin.registerPrivateDataManager(manager);

    const auto ask = [&plugin, &node](int mode, std::string text) {
        kfi_confspec spec = {1, 0, text.data()};
        plugin.config(node.get(), mode, nullptr, &spec);
        const std::string result = spec.text;
        kzfi_free_buf(spec.text, result.size() + 1);
        return result;
    };

    EXPECT_EQ(ask(GET, ""), NO_VALUES);
    EXPECT_EQ(ask(SET, values(value("mode", "x"))), values(value("mode", "x")));
    EXPECT_THAT(plugin.asked, IsEmpty());
    EXPECT_EQ(ask(GETPARAM, ""), plugin.own.getXML());
    EXPECT_THAT(plugin.asked, ElementsAre("1 first"));

    kfi_domain_owner owner = {0, {node.get()}};
    node->owner = &owner;
    ask(GETPARAM, "");
    owner.count = 1;
    ask(GETPARAM, "");
    Node leader("leader");
    owner.nodes[0] = leader.get();
    ask(GETPARAM, "");
    EXPECT_THAT(plugin.asked, ElementsAre("1 first", "1 first", "1 second", "1 first"));
}

/// A record that takes the factory away in the middle of an operation.
class Disowning : public CFiPrivateData {
  public:
    Disowning(kzfi_objid* id, CFiPrivateDataManager& owner) : CFiPrivateData(id), manager(owner) {}
    void setSessionId(const char* id) override {
        manager.registerFactory(CFiPrivateDataFactoryPtr());
        factoryLived = factoryAlive;
        CFiPrivateData::setSessionId(id);
    }

    CFiPrivateDataManager& manager;
    static bool factoryAlive;
    bool factoryLived = false;
};

bool Disowning::factoryAlive = false;

TEST_F(Config, FactoryIsHeldForTheWholeOperation) {
    class Mortal : public RecordingFactory {
      public:
        Mortal() { Disowning::factoryAlive = true; }
        ~Mortal() override { Disowning::factoryAlive = false; }
    };
    CFiPrivateDataManagerPtr manager(new CFiPrivateDataManager);
    plugin.registerPrivateDataManager(manager);
    auto* record = new Disowning(node.objid(), *manager);
    const CFiPrivateDataPtr held(record);
    const auto registerFactory = [&] {
        auto* mortal = new Mortal;
        mortal->records[node.get()] = held;
        manager->registerFactory(mortal);
        record->factoryLived = false;
    };
    registerFactory();
    request(GET);
    EXPECT_TRUE(record->factoryLived);
    EXPECT_FALSE(Disowning::factoryAlive) << "and no longer";
    registerFactory();
    char session[] = "S1";
    plugin.reAccessTmpObj(node.get(), nullptr, nullptr, nullptr, session, 0);
    EXPECT_TRUE(record->factoryLived);
    registerFactory();
    plugin.reAccessAltNode(node.get(), nullptr, nullptr, session, nullptr, nullptr, 0, 0);
    EXPECT_TRUE(record->factoryLived);
}

} // namespace
} // namespace kzfi_pdk_4_4
