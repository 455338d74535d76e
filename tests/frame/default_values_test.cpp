#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "cfiprivatedata.h"
#include "support/trace_capture.h"

namespace kzfi_pdk_4_4 {
namespace {

using kzfi_tests::TraceCapture;
using testing::HasSubstr;
using testing::StartsWith;

class DefaultValues : public testing::Test {
  protected:
    DefaultValues()
        : name("disk"),
          id{name.data(), name.size() + 1, 3},
          data(new CFiPrivateData(&id)) {}

    void describe(const std::string& key, const std::string& byDefault) {
        describeIn(descriptions, key, byDefault);
    }

    static void describeIn(CFiConfigParamInfoList& list, const std::string& key,
                           const std::string& byDefault) {
        list.entries()[key].key = key;
        list.entries()[key].defaultValue = byDefault;
    }

    void have(const std::string& key, const std::string& text) {
        values().entries()[key].key = key;
        values().entries()[key].value = text;
        values().updateXML();
    }

    CFiConfigParamDataList& values() { return *data->configDataList(1); }

    std::string valueOf(const std::string& key) {
        return values().getParamData(key.c_str())->value;
    }

    std::string name;
    kzfi_objid id;
    CFiPrivateDataPtr data;
    CFiConfigParamInfoList descriptions;
};

TEST_F(DefaultValues, AnEmptyListTakesThemWhole) {
    describe("mode", "x");
    describe("retries", "3");
    data->addDefaultConfigParamsToDataList(1, &descriptions);
    EXPECT_EQ(values().entries().size(), 2u);
    EXPECT_STREQ(values().getXML(), descriptions.getDefaultDataList().getXML());
}

TEST_F(DefaultValues, AListWithEveryKeyStaysAsItIs) {
    describe("mode", "x");
    have("mode", "mine");
    values().entries()["mode"].value = "later";
    const std::string before = values().getXML();
    data->addDefaultConfigParamsToDataList(1, &descriptions);
    EXPECT_EQ(values().getXML(), before) << "not even the text is made anew";
    values().entries()["mode"].value = "mine";
    EXPECT_EQ(valueOf("mode"), "mine");
}

TEST_F(DefaultValues, AMissingKeyIsAddedAndShowsInTheText) {
    describe("mode", "x");
    describe("retries", "3");
    have("mode", "mine");
    data->addDefaultConfigParamsToDataList(1, &descriptions);
    EXPECT_EQ(valueOf("mode"), "mine");
    EXPECT_EQ(valueOf("retries"), "3");
    EXPECT_THAT(values().getXML(), HasSubstr("\t<key>retries</key>\n\t<value>3</value>\n"));
}

TEST_F(DefaultValues, ALongerExistingNameHidesADefault) {
    describe("mode", "x");
    have("snapshot_mode", "mine");
    data->addDefaultConfigParamsToDataList(1, &descriptions);
    EXPECT_EQ(values().entries().count("mode"), 0u);
}

TEST_F(DefaultValues, AShorterExistingNameHidesNothing) {
    describe("snapshot_mode", "x");
    have("mode", "mine");
    data->addDefaultConfigParamsToDataList(1, &descriptions);
    EXPECT_EQ(valueOf("snapshot_mode"), "x");
}

TEST_F(DefaultValues, AnAddedDefaultHidesNoLaterOne) {
    describe("a_mode", "1");
    describe("mode", "2");
    have("other", "mine");
    data->addDefaultConfigParamsToDataList(1, &descriptions);
    EXPECT_EQ(valueOf("a_mode"), "1");
    EXPECT_EQ(valueOf("mode"), "2");
}

TEST_F(DefaultValues, WithoutDescriptionsTheNodesOwnAreUsed) {
    describeIn(*data->configInfoList(1), "own", "o");
    data->addDefaultConfigParamsToDataList(1, nullptr);
    EXPECT_EQ(valueOf("own"), "o");
}

TEST_F(DefaultValues, NoDefaultsMakeNoValueList) {
    data->addDefaultConfigParamsToDataList(1, nullptr);
    EXPECT_TRUE(data->hasConfigInfoList(1)) << "asked for, and thereby made";
    EXPECT_FALSE(data->hasConfigDataList(1));
    data->addDefaultConfigParamsToDataList(0, &descriptions);
    EXPECT_FALSE(data->hasConfigInfoList(0));
    EXPECT_FALSE(data->hasConfigDataList(0));
}

TEST_F(DefaultValues, EntryAndExitAreTracedToTheRecordsOwnLog) {
    TraceCapture trace(6);
    data->registerTraceLog(trace.log());
    data->addDefaultConfigParamsToDataList(1, &descriptions);
    const auto lines = trace.all();
    ASSERT_THAT(lines, testing::SizeIs(2));
    EXPECT_THAT(lines[0].text, StartsWith("Entering Function addDefaultConfigParamsToDataList ["));
    EXPECT_THAT(lines[0].text, HasSubstr(", cfiprivatedata"));
    EXPECT_THAT(lines[1].text, StartsWith("Exiting Function addDefaultConfigParamsToDataList ["));
}

} // namespace
} // namespace kzfi_pdk_4_4
