// Descriptions and values, their lists, and the XML that these are written as.
#include "cficonfigparam.h"

#include <ace/Malloc_Allocator.h>
#include <gmock/gmock.h>
#include <malloc.h>

#include <cstring>
#include <new>
#include <type_traits>

#include "config/param_texts.h"

namespace {

using namespace kzfi_pdk_4_4;
using namespace kzfi_tests;
using testing::HasSubstr;
using testing::Not;

static_assert(std::is_same<std::underlying_type<FiConfigDataType>::type, std::int32_t>::value, "");
static_assert(std::is_same<std::underlying_type<FiConfigUsageType>::type, std::int32_t>::value, "");
static_assert(!std::is_polymorphic<CFiConfigParamInfo>::value, "");
static_assert(!std::is_polymorphic<CFiConfigParamData>::value, "");

std::string xmlOf(const CFiConfigParamInfo& info) {
    return info.toXML().c_str();
}

std::string xmlOf(const CFiConfigParamData& value) {
    return value.toXML().c_str();
}

CFiConfigParamInfo infoOfType(FiConfigDataType type) {
    CFiConfigParamInfo info;
    info.key = "p";
    info.dataType = type;
    return info;
}

void expectUnset(const CFiConfigParamInfo& info) {
    EXPECT_EQ(info.key, "");
    EXPECT_EQ(info.messageId, "");
    EXPECT_EQ(info.dataType, 6);
    EXPECT_EQ(info.usageType, 3);
    EXPECT_FALSE(info.isSharedParam);
    EXPECT_TRUE(info.selectionList.empty());
    EXPECT_EQ(info.defaultValue, "");
    EXPECT_EQ(info.rangeMin, -1);
    EXPECT_EQ(info.rangeMax, -1);
}

TEST(ConfigParamInfo, StartsUnknownAndWithoutRange) {
    expectUnset(CFiConfigParamInfo());
}

TEST(ConfigParamInfo, WritesEveryFieldInItsOrder) {
    EXPECT_EQ(xmlOf(CFiConfigParamInfo()), "<ConfigParam>\n"
                                           "\t<key></key>\n"
                                           "\t<usageType>UNKNOWN</usageType>\n"
                                           "\t<messageId></messageId>\n"
                                           "\t<isSharedParam>false</isSharedParam>\n"
                                           "\t<dataType>unknown</dataType>\n"
                                           "\t<defaultValue></defaultValue>\n"
                                           "</ConfigParam>\n");
}

TEST(ConfigParamInfo, WritesTheWordOfEveryDataType) {
    const struct {
        int code;
        const char* word;
    } types[] = {{0, "string"},   {1, "int"},          {2, "boolean"},        {3, "string_list"},
                 {4, "int_list"}, {5, "boolean_list"}, {6, "unknown"},        {7, "unknown"},
                 {-1, "unknown"}, {99, "unknown"},     {INT32_MIN, "unknown"}};
    for (const auto& type : types) {
        const std::string xml = xmlOf(infoOfType(static_cast<FiConfigDataType>(type.code)));
        EXPECT_THAT(xml, HasSubstr(std::string("\t<dataType>") + type.word + "</dataType>\n"))
            << type.code;
    }
}

TEST(ConfigParamInfo, WritesTheWordOfEveryUsage) {
    const struct {
        int code;
        const char* word;
    } usages[] = {{0, "SELECT"},  {1, "AUTO"},     {2, "NO_MODIFY"},      {3, "UNKNOWN"},
                  {4, "UNKNOWN"}, {-1, "UNKNOWN"}, {INT32_MIN, "UNKNOWN"}};
    for (const auto& usage : usages) {
        CFiConfigParamInfo info;
        info.usageType = static_cast<FiConfigUsageType>(usage.code);
        EXPECT_THAT(xmlOf(info),
                    HasSubstr(std::string("\t<usageType>") + usage.word + "</usageType>\n"))
            << usage.code;
    }
}

TEST(ConfigParamInfo, WritesARangeUnlessBothEndsAreMinusOne) {
    const struct {
        int min;
        int max;
        const char* written;
    } ranges[] = {{-1, -1, ""},
                  {-1, 5, "\t<rangeMin>-1</rangeMin>\n\t<rangeMax>5</rangeMax>\n"},
                  {5, -1, "\t<rangeMin>5</rangeMin>\n\t<rangeMax>-1</rangeMax>\n"},
                  {0, 0, "\t<rangeMin>0</rangeMin>\n\t<rangeMax>0</rangeMax>\n"},
                  {INT32_MIN, INT32_MAX,
                   "\t<rangeMin>-2147483648</rangeMin>\n\t<rangeMax>2147483647</rangeMax>\n"}};
    for (const FiConfigDataType type : {FI_DATA_INT, FI_DATA_INT_LIST}) {
        for (const auto& range : ranges) {
            CFiConfigParamInfo info = infoOfType(type);
            info.rangeMin = range.min;
            info.rangeMax = range.max;
            const std::string xml = xmlOf(info);
            if (*range.written == '\0') {
                EXPECT_THAT(xml, Not(HasSubstr("ange")));
            } else {
                EXPECT_THAT(xml,
                            HasSubstr("</dataType>\n<dataRange>\n" + std::string(range.written) +
                                      "</dataRange>\n\t<defaultValue>"));
            }
        }
    }
}

TEST(ConfigParamInfo, DropsTheRangeOfOtherTypes) {
    for (const int type : {0, 2, 3, 5, 6}) {
        CFiConfigParamInfo info = infoOfType(static_cast<FiConfigDataType>(type));
        info.rangeMin = 1;
        info.rangeMax = 5;
        EXPECT_THAT(xmlOf(info), Not(HasSubstr("ange"))) << type;
    }
}

TEST(ConfigParamInfo, WritesTheChoicesOfAStringListEvenWithoutAny) {
    CFiConfigParamInfo info = infoOfType(FI_DATA_STRING_LIST);
    EXPECT_THAT(xmlOf(info), HasSubstr("</dataType>\n<selectionList>\n</selectionList>\n"
                                       "\t<defaultValue>"));
    info.addSelectionItem("b");
    info.addSelectionItem("a & c");
    info.addSelectionItem("b");
    EXPECT_THAT(xmlOf(info), HasSubstr("<selectionList>\n"
                                       "\t<selectionItem>b</selectionItem>\n"
                                       "\t<selectionItem>a &amp; c</selectionItem>\n"
                                       "\t<selectionItem>b</selectionItem>\n"
                                       "</selectionList>\n"));
}

TEST(ConfigParamInfo, DropsTheChoicesOfOtherTypes) {
    for (const int type : {0, 1, 2, 4, 5, 6}) {
        CFiConfigParamInfo info = infoOfType(static_cast<FiConfigDataType>(type));
        info.addSelectionItem("a");
        EXPECT_THAT(xmlOf(info), Not(HasSubstr("selection"))) << type;
    }
}

TEST(ConfigParamInfo, IgnoresANullChoice) {
    CFiConfigParamInfo info;
    info.addSelectionItem(nullptr);
    EXPECT_TRUE(info.selectionList.empty());
}

TEST(ConfigParamInfo, EscapesEveryText) {
    CFiConfigParamInfo info = infoOfType(FI_DATA_STRING_LIST);
    info.key = "k<";
    info.messageId = "m>";
    info.defaultValue = "d\"'";
    info.isSharedParam = true;
    info.usageType = FI_USAGE_SELECT;
    EXPECT_EQ(xmlOf(info), "<ConfigParam>\n"
                           "\t<key>k&lt;</key>\n"
                           "\t<usageType>SELECT</usageType>\n"
                           "\t<messageId>m&gt;</messageId>\n"
                           "\t<isSharedParam>true</isSharedParam>\n"
                           "\t<dataType>string_list</dataType>\n"
                           "<selectionList>\n"
                           "</selectionList>\n"
                           "\t<defaultValue>d&quot;&#39;</defaultValue>\n"
                           "</ConfigParam>\n");
}

TEST(ConfigParamData, WritesAnEmptyTypeAndAnEmptyValue) {
    EXPECT_EQ(xmlOf(CFiConfigParamData()), "<ConfigValue>\n"
                                           "\t<dataType></dataType>\n"
                                           "\t<key></key>\n"
                                           "\t<value></value>\n"
                                           "</ConfigValue>\n");
}

TEST(ConfigParamData, WritesTheListInsteadOfTheValue) {
    CFiConfigParamData value = data("k", "not written");
    value.valueList = {"", "b", "<"};
    EXPECT_EQ(xmlOf(value), "<ConfigValue>\n"
                            "\t<dataType></dataType>\n"
                            "\t<key>k</key>\n"
                            "<valueList>\n"
                            "\t<value></value>\n"
                            "\t<value>b</value>\n"
                            "\t<value>&lt;</value>\n"
                            "</valueList>\n"
                            "</ConfigValue>\n");
}

TEST(ConfigParamData, EscapesTheFiveSpecialCharacters) {
    const std::string xml = xmlOf(data("&<>\"'", "'\"><&"));
    EXPECT_THAT(xml, HasSubstr("<key>&amp;&lt;&gt;&quot;&#39;</key>"));
    EXPECT_THAT(xml, HasSubstr("<value>&#39;&quot;&gt;&lt;&amp;</value>"));
}

TEST(ConfigParamData, WritesATextUpToItsFirstNul) {
    for (const std::string& text : {std::string("ab\0&cd", 6), std::string("ab\0cd", 5)}) {
        EXPECT_THAT(xmlOf(data("k", text)), HasSubstr("<value>ab</value>"));
    }
    EXPECT_THAT(xmlOf(data("k", std::string("a&b\0cd", 6))), HasSubstr("<value>a&amp;b</value>"));
}

TEST(ConfigParamData, WritesOtherBytesAsTheyAre) {
    EXPECT_THAT(xmlOf(data("k", "\t\r\n\x01 \xC3\xA4 \xFF")),
                HasSubstr("<value>\t\r\n\x01 \xC3\xA4 \xFF</value>"));
}

TEST(ConfigParamData, NeverWritesItsAuxiliaryText) {
    CFiConfigParamData value = data("k", "v");
    value.auxText = "auxiliary";
    EXPECT_THAT(xmlOf(value), Not(HasSubstr("auxiliary")));
}

TEST(ConfigParamInfoList, WritesItsDescriptions) {
    CFiConfigParamInfoList list;
    CFiConfigParamInfo& info = list.entries()["retries"];
    info.key = "retries";
    info.usageType = FI_USAGE_AUTO;
    info.messageId = "MSG_RETRIES";
    info.dataType = FI_DATA_INT;
    info.rangeMin = 1;
    info.rangeMax = 5;
    info.defaultValue = "3";
    EXPECT_EQ(updatedXml(list), "<?xml version=\"1.0\" standalone=\"yes\" ?>\n"
                                "<ConfigParamList>\n"
                                "<ConfigParam>\n"
                                "\t<key>retries</key>\n"
                                "\t<usageType>AUTO</usageType>\n"
                                "\t<messageId>MSG_RETRIES</messageId>\n"
                                "\t<isSharedParam>false</isSharedParam>\n"
                                "\t<dataType>int</dataType>\n"
                                "<dataRange>\n"
                                "\t<rangeMin>1</rangeMin>\n"
                                "\t<rangeMax>5</rangeMax>\n"
                                "</dataRange>\n"
                                "\t<defaultValue>3</defaultValue>\n"
                                "</ConfigParam>\n"
                                "</ConfigParamList>\n");
}

TEST(ConfigParamDataList, WritesItsValues) {
    CFiConfigParamDataList list;
    list.entries()["mode"] = data("mode", "x&y");
    list.entries()["devices"] = data("devices", "");
    list.entries()["devices"].valueList = {"a", "b"};
    EXPECT_EQ(updatedXml(list), "<?xml version=\"1.0\" standalone=\"yes\" ?>\n"
                                "<ConfigValueList>\n"
                                "<ConfigValue>\n"
                                "\t<dataType></dataType>\n"
                                "\t<key>devices</key>\n"
                                "<valueList>\n"
                                "\t<value>a</value>\n"
                                "\t<value>b</value>\n"
                                "</valueList>\n"
                                "</ConfigValue>\n"
                                "<ConfigValue>\n"
                                "\t<dataType></dataType>\n"
                                "\t<key>mode</key>\n"
                                "\t<value>x&amp;y</value>\n"
                                "</ConfigValue>\n"
                                "</ConfigValueList>\n");
}

TEST(ConfigParamLists, WriteHeaderAndRootWhenEmpty) {
    CFiConfigParamInfoList infos;
    CFiConfigParamDataList values;
    EXPECT_EQ(updatedXml(infos), HEADER + "<ConfigParamList>\n</ConfigParamList>\n");
    EXPECT_EQ(updatedXml(values), HEADER + "<ConfigValueList>\n</ConfigValueList>\n");
    EXPECT_EQ(HEADER.size(), 40u);
    EXPECT_EQ(updatedXml(infos).size(), 77u);
    EXPECT_EQ(updatedXml(values).size(), 77u);
}

TEST(ConfigParamLists, StartWithoutEntriesAndText) {
    CFiConfigParamInfoList infos;
    CFiConfigParamDataList values;
    EXPECT_TRUE(infos.empty());
    EXPECT_TRUE(values.empty());
    EXPECT_STREQ(infos.getXML(), "");
    EXPECT_STREQ(values.getXML(), "");
}

TEST(ConfigParamLists, WriteInTheByteOrderOfTheNames) {
    CFiConfigParamDataList list;
    for (const char* name : {"a", "B", "\xC3\xA4", "", "aa"}) {
        list.entries()[name] = data(name, "");
    }
    const std::string xml = updatedXml(list);
    std::size_t last = 0;
    for (const char* name : {"", "B", "a", "aa", "\xC3\xA4"}) {
        const std::size_t at = xml.find(element("key", name));
        ASSERT_NE(at, std::string::npos) << name;
        EXPECT_GT(at, last) << name;
        last = at;
    }
}

TEST(ConfigParamLists, OrderByMapKeyAndWriteTheEntrysOwnKey) {
    CFiConfigParamDataList list;
    list.entries()["1"] = data("z", "");
    list.entries()["2"] = data("a", "");
    const std::string xml = updatedXml(list);
    EXPECT_LT(xml.find("<key>z</key>"), xml.find("<key>a</key>"));
}

TEST(ConfigParamLists, KeepTheOldTextUntilItIsUpdated) {
    CFiConfigParamInfoList infos;
    infos.updateXML();
    const std::string oldInfos = infos.getXML();
    infos.entries()["p"].key = "p";
    EXPECT_EQ(infos.getXML(), oldInfos);
    infos.updateXML();
    EXPECT_NE(infos.getXML(), oldInfos);

    CFiConfigParamDataList values;
    values.entries()["p"] = data("p", "1");
    EXPECT_STREQ(values.getXML(), "");
    values.updateXML();
    EXPECT_STRNE(values.getXML(), "");
}

TEST(ConfigParamLists, LoseEntriesAndTextWhenClearedAndKeepThePlaceholder) {
    CFiConfigParamDataList list;
    list.getParamData("unknown")->value = "kept";
    list.entries()["p"] = data("p", "1");
    list.updateXML();
    list.clear();
    EXPECT_TRUE(list.empty());
    EXPECT_STREQ(list.getXML(), "");
    EXPECT_EQ(list.getParamData("unknown")->value, "kept");

    CFiConfigParamInfoList infos;
    infos.getParamInfo("unknown")->defaultValue = "kept";
    infos.entries()["p"].key = "p";
    infos.updateXML();
    infos.clear();
    EXPECT_TRUE(infos.empty());
    EXPECT_STREQ(infos.getXML(), "");
    EXPECT_EQ(infos.getParamInfo("unknown")->defaultValue, "kept");
}

TEST(ConfigParamLists, GiveStoredEntriesByTheirExactName) {
    CFiConfigParamDataList values;
    values.entries()["p"] = data("p", "1");
    CFiConfigParamInfoList infos;
    infos.entries()["p"].key = "p";
    EXPECT_EQ(values.getParamData("p"), &values.entries().at("p"));
    EXPECT_EQ(infos.getParamInfo("p"), &infos.entries().at("p"));
    for (const char* name : {"P", "p ", "", "unknown"}) {
        EXPECT_NE(values.getParamData(name), &values.entries().at("p")) << name;
        EXPECT_NE(infos.getParamInfo(name), &infos.entries().at("p")) << name;
    }
}

TEST(ConfigParamLists, GiveOnePlaceholderForUnknownNames) {
    CFiConfigParamDataList values;
    CFiConfigParamData* placeholder = values.getParamData("unknown");
    ASSERT_NE(placeholder, nullptr);
    EXPECT_EQ(placeholder->key, "");
    EXPECT_EQ(placeholder->value, "");
    EXPECT_TRUE(placeholder->valueList.empty());
    EXPECT_STREQ(placeholder->auxText.c_str(), "");
    EXPECT_EQ(values.getParamData("other"), placeholder);
    EXPECT_EQ(values.getParamData(nullptr), placeholder);
    EXPECT_EQ(values.entries().count("unknown"), 0u);
    placeholder->value = "written";
    EXPECT_EQ(values.getParamData("unknown")->value, "written");

    CFiConfigParamInfoList infos;
    CFiConfigParamInfo* unknown = infos.getParamInfo("unknown");
    ASSERT_NE(unknown, nullptr);
    expectUnset(*unknown);
    EXPECT_EQ(infos.getParamInfo(nullptr), unknown);
    EXPECT_TRUE(infos.empty());
}

CFiConfigParamDataList fullList() {
    CFiConfigParamDataList list;
    CFiConfigParamData& stored = list.entries()["p"];
    stored = data("p", "1");
    stored.valueList = {"x"};
    stored.auxText = "aux";
    list.updateXML();
    stored.value = "changed after the text";
    CFiConfigParamData* placeholder = list.getParamData("unknown");
    placeholder->key = "k";
    placeholder->value = "v";
    placeholder->valueList = {"l"};
    placeholder->auxText = "a";
    return list;
}

void expectFull(CFiConfigParamDataList& list) {
    ASSERT_EQ(list.entries().size(), 1u);
    const CFiConfigParamData& stored = list.entries().at("p");
    EXPECT_EQ(stored.key, "p");
    EXPECT_EQ(stored.value, "changed after the text");
    EXPECT_THAT(stored.valueList, testing::ElementsAre("x"));
    EXPECT_STREQ(stored.auxText.c_str(), "aux");
    const CFiConfigParamData* placeholder = list.getParamData("unknown");
    EXPECT_EQ(placeholder->key, "k");
    EXPECT_EQ(placeholder->value, "v");
    EXPECT_THAT(placeholder->valueList, testing::ElementsAre("l"));
    EXPECT_STREQ(placeholder->auxText.c_str(), "a");
    EXPECT_THAT(list.getXML(), HasSubstr("<key>p</key>"));
}

TEST(ConfigParamLists, CopyEntriesPlaceholderAndText) {
    CFiConfigParamDataList source = fullList();
    CFiConfigParamDataList copy(source);
    CFiConfigParamDataList assigned;
    assigned.entries()["old"] = data("old", "");
    EXPECT_EQ(&(assigned = source), &assigned);
    source.clear();
    *source.getParamData("unknown") = CFiConfigParamData();
    expectFull(copy);
    expectFull(assigned);
    const CFiConfigParamDataList& itself = assigned;
    assigned = itself;
    expectFull(assigned);

    CFiConfigParamInfoList infos;
    infos.entries()["p"].addSelectionItem("x");
    infos.getParamInfo("unknown")->messageId = "m";
    infos.updateXML();
    CFiConfigParamInfoList copiedInfos(infos);
    CFiConfigParamInfoList assignedInfos;
    assignedInfos = infos;
    for (CFiConfigParamInfoList* list : {&copiedInfos, &assignedInfos}) {
        EXPECT_THAT(list->entries().at("p").selectionList, testing::ElementsAre("x"));
        EXPECT_EQ(list->getParamInfo("unknown")->messageId, "m");
        EXPECT_STREQ(list->getXML(), infos.getXML());
    }
}

TEST(ConfigParamLists, HoldNoMoreMemoryThanTheirTextNeeds) {
    CFiConfigParamDataList list;
    const std::string longText = "<a>" + std::string(10000000, 'x') + "</a>";
    EXPECT_EQ(list.parse(longText.c_str()), 0);
    EXPECT_EQ(std::strlen(list.getXML()), 77u);
    EXPECT_LT(malloc_usable_size(const_cast<char*>(list.getXML())), 1000u);
    EXPECT_EQ(list.parse(value("k", longText).c_str()), 0);
    list.entries().clear();
    list.updateXML();
    EXPECT_LT(malloc_usable_size(const_cast<char*>(list.getXML())), 1000u);
}

/// The memory of byte strings, without any for long ones.
class ShortTextsOnly : public ACE_New_Allocator {
  public:
    ShortTextsOnly() : before(ACE_Allocator::instance(this)) {}
    ShortTextsOnly(const ShortTextsOnly&) = delete;
    ShortTextsOnly& operator=(const ShortTextsOnly&) = delete;
    ~ShortTextsOnly() override { ACE_Allocator::instance(before); }

    void* malloc(std::size_t size) override {
        return size < 1000 ? ACE_New_Allocator::malloc(size) : nullptr;
    }

  private:
    ACE_Allocator* const before;
};

TEST(ConfigParamLists, TellWhenThereIsNoMemoryForTheirText) {
    const std::string longText(2000, 'x');
    CFiConfigParamDataList list;
    list.entries()["k"] = data("k", longText);
    list.updateXML();
    const std::string xml = list.getXML();
    const ShortTextsOnly memory;
    CFiConfigParamDataList other;
    EXPECT_THROW(other.parse(xml.c_str()), std::bad_alloc);
    EXPECT_STREQ(other.getXML(), "");
    EXPECT_THROW(other = list, std::bad_alloc);
    EXPECT_TRUE(other.empty());
    EXPECT_THROW(CFiConfigParamDataList{list}, std::bad_alloc);
    EXPECT_THROW(list.entries()["k"].toXML(), std::bad_alloc);
    other.entries()["k"] = data("k", longText);
    EXPECT_THROW(other.updateXML(), std::bad_alloc);
    EXPECT_STREQ(other.getXML(), "");
}

TEST(ConfigParamInfoList, GivesTheDefaultsAsValues) {
    CFiConfigParamInfoList infos;
    infos.entries()["b"] = infoOfType(FI_DATA_STRING_LIST);
    infos.entries()["b"].key = "b";
    infos.entries()["b"].defaultValue = "one,two";
    infos.entries()["a"].key = "another";
    infos.entries()["a"].defaultValue = "<1>";
    CFiConfigParamDataList defaults = infos.getDefaultDataList();
    ASSERT_EQ(defaults.entries().size(), 2u);
    EXPECT_EQ(defaults.entries().at("a").key, "another");
    EXPECT_EQ(defaults.entries().at("a").value, "<1>");
    EXPECT_EQ(defaults.entries().at("b").value, "one,two");
    EXPECT_TRUE(defaults.entries().at("b").valueList.empty());
    EXPECT_STREQ(defaults.entries().at("b").auxText.c_str(), "");
    EXPECT_EQ(defaults.getXML(), HEADER + "<ConfigValueList>\n"
                                          "<ConfigValue>\n\t<dataType></dataType>\n"
                                          "\t<key>another</key>\n\t<value>&lt;1&gt;</value>\n"
                                          "</ConfigValue>\n"
                                          "<ConfigValue>\n\t<dataType></dataType>\n"
                                          "\t<key>b</key>\n\t<value>one,two</value>\n"
                                          "</ConfigValue>\n"
                                          "</ConfigValueList>\n");
}

TEST(ConfigParamInfoList, GivesAnEmptyDocumentOfDefaultsWithoutDescriptions) {
    CFiConfigParamDataList defaults = CFiConfigParamInfoList().getDefaultDataList();
    EXPECT_TRUE(defaults.empty());
    EXPECT_EQ(defaults.getXML(), HEADER + "<ConfigValueList>\n</ConfigValueList>\n");
}

} // namespace
