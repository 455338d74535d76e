#include "cfiprivatedata.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <string>

#include "kzfi_platform_control.h"

namespace kzfi_pdk_4_4 {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PrivateData : public testing::Test {
  protected:
    PrivateData()
        : name("/dev/sdb"),
          id{name.data(), name.size() + 1, 3},
          data(new CFiPrivateData(&id)) {}

    void TearDown() override { kzfi_platform_reset(); }

    std::string stateText() {
        kfi_blob blob = {};
        EXPECT_EQ(data->getNodeState(&blob), 0);
        const std::string text(static_cast<char*>(blob.data));
        EXPECT_EQ(blob.size, text.size() + 1);
        EXPECT_EQ(blob.flag, 1);
        kzfi_free_buf(blob.data, blob.size);
        return text;
    }

    std::vector<std::string> hosts() {
        std::vector<std::string> names;
        for (const tstring& host : data->getHostList()) {
            names.push_back(host.c_str());
        }
        return names;
    }

    std::string name;
    kzfi_objid id;
    CFiPrivateDataPtr data;
};

TEST_F(PrivateData, StartsEmpty) {
    EXPECT_FALSE(data->getIsAltNode());
    EXPECT_FALSE(data->getTransportable());
    EXPECT_EQ(data->getIntent(), 0);
    EXPECT_EQ(data->getSessionId(), "");
    EXPECT_EQ(data->getSplitType(), "");
    EXPECT_EQ(data->getConfiguredTarget(), "");
    EXPECT_THAT(data->getTargets(), IsEmpty());
    EXPECT_THAT(hosts(), IsEmpty());
    EXPECT_EQ(data->getSubObjectList(), nullptr);
    EXPECT_EQ(data->getSubObjectListLength(), 0u);
    for (const int mode : {0, 1}) {
        EXPECT_FALSE(data->hasConfigInfoList(mode));
        EXPECT_FALSE(data->hasConfigDataList(mode));
    }
}

TEST_F(PrivateData, NameIsTheObjectsOwnText) {
    EXPECT_EQ(data->getObjName(), name.data());
}

TEST_F(PrivateData, KeepsPlainProperties) {
    data->setIntent(7);
    EXPECT_EQ(data->getIntent(), 7);
    data->setTransportable(true);
    EXPECT_TRUE(data->getTransportable());
    data->setIsAltNode(true);
    EXPECT_TRUE(data->getIsAltNode());
    data->setSplitType("mirror");
    EXPECT_EQ(data->getSplitType(), "mirror");
    std::string target = "UDID##A##B##C##D";
    data->setConfiguredTarget(target);
    EXPECT_EQ(data->getConfiguredTarget(), target);
    data->addTarget("00B7");
    data->addTarget("00B8");
    EXPECT_THAT(data->getTargets(), ElementsAre("00B7", "00B8"));
}

TEST_F(PrivateData, NullSessionIdLeavesTheOldOne) {
    data->setSessionId("S1");
    data->setSessionId(nullptr);
    EXPECT_EQ(data->getSessionId(), "S1");
    data->setSessionId("");
    EXPECT_EQ(data->getSessionId(), "");
}

TEST_F(PrivateData, GettersGiveCopies) {
    data->addTarget("00B7");
    data->getTargets().clear();
    EXPECT_THAT(data->getTargets(), ElementsAre("00B7"));
}

TEST_F(PrivateData, AskingForAListDoesNotCreateIt) {
    EXPECT_FALSE(data->hasConfigDataList(1));
    EXPECT_FALSE(data->hasConfigDataList(1));
}

TEST_F(PrivateData, ListsAppearEmptyOnFirstUseAndStay) {
    CFiConfigParamDataList* values = data->configDataList(1);
    ASSERT_NE(values, nullptr);
    EXPECT_TRUE(values->empty());
    EXPECT_STREQ(values->getXML(), "") << "made without parsing anything";
    EXPECT_TRUE(data->hasConfigDataList(1));
    EXPECT_EQ(data->configDataList(1), values);

    CFiConfigParamInfoList* descriptions = data->configInfoList(0);
    ASSERT_NE(descriptions, nullptr);
    EXPECT_STREQ(descriptions->getXML(), "");
    EXPECT_EQ(data->configInfoList(0), descriptions);
}

TEST_F(PrivateData, TheFourListsAreIndependent) {
    data->configDataList(1);
    EXPECT_FALSE(data->hasConfigDataList(0));
    EXPECT_FALSE(data->hasConfigInfoList(0));
    EXPECT_FALSE(data->hasConfigInfoList(1));
    data->configInfoList(0);
    EXPECT_FALSE(data->hasConfigInfoList(1));
    EXPECT_FALSE(data->hasConfigDataList(0));
    EXPECT_NE(data->configDataList(0), data->configDataList(1));
}

TEST_F(PrivateData, HostsAreAppendedAndNullNamesSkipped) {
    char first[] = "alpha";
    char last[] = "beta";
    kfi_host_infn three = {last, nullptr};
    kfi_host_infn two = {nullptr, &three};
    kfi_host_infn one = {first, &two};
    data->setHostList(&one);
    EXPECT_THAT(hosts(), ElementsAre("alpha", "beta"));
    data->setHostList(&one);
    EXPECT_THAT(hosts(), ElementsAre("alpha", "beta", "alpha", "beta"));
    data->setHostList(nullptr);
    EXPECT_THAT(hosts(), testing::SizeIs(4));
}

TEST_F(PrivateData, SubObjectsKeepTheirOrder) {
    kzfi_objid one = {};
    kzfi_objid two = {};
    data->addSubObject(&one);
    data->addSubObject(&two);
    ASSERT_EQ(data->getSubObjectListLength(), 2u);
    EXPECT_EQ(data->getSubObjectList()[0], &one);
    EXPECT_EQ(data->getSubObjectList()[1], &two);
}

TEST_F(PrivateData, NodeStateIsTheTaggedText) {
    data->setSessionId("S1");
    const std::string expected = "<NODE_NAME>/dev/sdb</NODE_NAME>\n"
                                 "<IS_ALT_NODE>false</IS_ALT_NODE>\n"
                                 "<SESSION_ID>S1</SESSION_ID>\n";
    EXPECT_EQ(stateText(), expected);
}

TEST_F(PrivateData, NodeStateOfTheExampleHasSize94) {
    data->setSessionId("S1");
    kfi_blob blob = {};
    data->getNodeState(&blob);
    EXPECT_EQ(blob.size, 94u);
    EXPECT_EQ(kzfi_platform_get_counts().taken, 1u) << "the buffer is the framework's own";
    kzfi_free_buf(blob.data, blob.size);
}

TEST_F(PrivateData, NodeStateEscapesNothing) {
    name = "a<&>b";
    id.name = name.data();
    data->setIsAltNode(true);
    EXPECT_EQ(stateText(), "<NODE_NAME>a<&>b</NODE_NAME>\n"
                           "<IS_ALT_NODE>true</IS_ALT_NODE>\n"
                           "<SESSION_ID></SESSION_ID>\n");
}

TEST_F(PrivateData, NodeStateWithoutMemoryThrowsAndLeavesTheBlob) {
    char old[] = "old";
    kfi_blob blob = {old, 4, 9};
    kzfi_platform_fail_alloc(1);
    EXPECT_THROW(data->getNodeState(&blob), std::bad_alloc);
    EXPECT_EQ(blob.data, old);
    EXPECT_EQ(blob.size, 4u);
    EXPECT_EQ(blob.flag, 9);
}

TEST_F(PrivateData, SettingTheNodeStateDoesNothing) {
    char text[] = "<SESSION_ID>S9</SESSION_ID>\n";
    kfi_blob blob = {text, sizeof text, 1};
    EXPECT_EQ(data->setNodeState(&blob), 0);
    EXPECT_EQ(data->setNodeState(nullptr), 0);
    EXPECT_EQ(data->getSessionId(), "");
    EXPECT_EQ(blob.data, text);
}

TEST(PrivateDataManager, HandsOutACountedFactory) {
    class Factory : public CFiPrivateDataFactory {
      public:
        explicit Factory(bool& flag) : destroyed(flag) {}
        ~Factory() override { destroyed = true; }
        CFiPrivateDataPtr findPrivateData(kfi_domain*) override { return {}; }
        CFiPrivateDataPtr createPrivateData(kfi_domain*, int) override { return {}; }
        void deletePrivateData(kfi_domain*) override {}

      private:
        bool& destroyed;
    };

    bool destroyed = false;
    CFiPrivateDataManagerPtr manager(new CFiPrivateDataManager);
    EXPECT_FALSE(manager->getFactory());
    manager->registerFactory(new Factory(destroyed));
    CFiPrivateDataFactoryPtr factory = manager->getFactory();
    EXPECT_EQ(factory->getCount(), 2u);
    manager->registerFactory(CFiPrivateDataFactoryPtr());
    EXPECT_FALSE(destroyed);
    factory.release();
    EXPECT_TRUE(destroyed);
}

} // namespace
} // namespace kzfi_pdk_4_4
