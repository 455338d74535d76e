// Descriptions and values as they are read from XML.
#include <gmock/gmock.h>

#include "cficonfigparam.h"
#include "config/param_texts.h"

namespace {

using namespace kzfi_pdk_4_4;
using namespace kzfi_tests;
using testing::ElementsAre;
using testing::HasSubstr;

CFiConfigParamDataList readValues(const std::string& xml) {
    return read<CFiConfigParamDataList>(xml);
}

/// The one description in a list with this inside.
CFiConfigParamInfo readInfo(const std::string& content) {
    CFiConfigParamInfoList list = read<CFiConfigParamInfoList>(description(content));
    EXPECT_EQ(list.entries().size(), 1u);
    return *list.getParamInfo("p");
}

/// What a value with this text is read as.
std::string readText(const std::string& text) {
    return readValues(value("k", text)).getParamData("k")->value;
}

TEST(ReadingDescriptions, KnowsTheUsageWords) {
    const struct {
        const char* word;
        int code;
    } usages[] = {{"SELECT", 0}, {"AUTO", 1},   {"NO_MODIFY", 2}, {"UNKNOWN", 3}, {"auto", 3},
                  {"Select", 3}, {" AUTO ", 3}, {"", 3},          {"0", 3},       {"AUTOMATIC", 3}};
    for (const auto& usage : usages) {
        EXPECT_EQ(readInfo(element("usageType", usage.word)).usageType, usage.code) << usage.word;
    }
    EXPECT_EQ(readInfo("").usageType, 3);
}

TEST(ReadingDescriptions, KnowsTheDataTypeWords) {
    const struct {
        const char* word;
        int code;
    } types[] = {
        {"string", 0},       {"int", 1},     {"boolean", 2}, {"string_list", 3}, {"int_list", 4},
        {"boolean_list", 5}, {"unknown", 6}, {"String", 6},  {"int ", 6},        {"", 6},
        {"bool", 6},         {"1", 6}};
    for (const auto& type : types) {
        EXPECT_EQ(readInfo(element("dataType", type.word)).dataType, type.code) << type.word;
    }
    EXPECT_EQ(readInfo("").dataType, 6);
}

TEST(ReadingDescriptions, TakesThreeWordsForTrue) {
    const struct {
        const char* word;
        bool shared;
    } words[] = {{"true", true},   {"yes", true},    {"1", true},
                 {"TRUE", false},  {"Yes", false},   {"01", false},
                 {"true ", false}, {"false", false}, {"", false}};
    for (const auto& word : words) {
        EXPECT_EQ(readInfo(element("isSharedParam", word.word)).isSharedParam, word.shared)
            << word.word;
    }
}

TEST(ReadingDescriptions, ReadsTheEndsOfTheRange) {
    const struct {
        const char* text;
        int number;
    } ends[] = {{"5", 5},   {"-7", -7}, {" 8", 8},         {"9x", 9},
                {"", 0},    {"x", 0},   {"4294967297", 1}, {"2147483647", 2147483647},
                {"0x10", 0}};
    for (const auto& end : ends) {
        const CFiConfigParamInfo info = readInfo(element("rangeMin", end.text));
        EXPECT_EQ(info.rangeMin, end.number) << end.text;
        EXPECT_EQ(info.rangeMax, -1);
        EXPECT_EQ(readInfo(element("rangeMax", end.text)).rangeMax, end.number) << end.text;
    }
    EXPECT_EQ(readInfo("").rangeMin, -1);
    EXPECT_EQ(readInfo("").rangeMax, -1);
}

TEST(ReadingDescriptions, MakesARangeOfAnEmptyEnd) {
    CFiConfigParamInfoList list = read<CFiConfigParamInfoList>(
        description("<dataType>int</dataType><dataRange><rangeMin></rangeMin></dataRange>"));
    EXPECT_THAT(list.getXML(), HasSubstr("\t<rangeMin>0</rangeMin>\n\t<rangeMax>-1</rangeMax>\n"));
}

TEST(ReadingDescriptions, TakesChoicesForEveryType) {
    const std::string choices = element("selectionItem", "b") + element("selectionItem", "") +
                                element("selectionItem", "b");
    for (const char* type : {"string", "int", "string_list", "nothing"}) {
        EXPECT_THAT(
            readInfo(element("dataType", type) + element("selectionList", choices)).selectionList,
            ElementsAre("b", "", "b"))
            << type;
    }
    EXPECT_THAT(readInfo(choices).selectionList, ElementsAre("b", "", "b"));
}

TEST(ReadingDescriptions, ReadsTexts) {
    const CFiConfigParamInfo info =
        readInfo(element("messageId", " M&amp;1 ") + element("defaultValue", "3"));
    EXPECT_EQ(info.key, "p");
    EXPECT_EQ(info.messageId, " M&1 ");
    EXPECT_EQ(info.defaultValue, "3");
}

TEST(ReadingDescriptions, ReplacesAnEntryFieldByField) {
    CFiConfigParamInfoList list = read<CFiConfigParamInfoList>(
        element("ConfigParamList", "<ConfigParam><key>p</key><usageType>AUTO</usageType>"
                                   "<messageId>M</messageId><isSharedParam>1</isSharedParam>"
                                   "<dataType>int</dataType><rangeMin>1</rangeMin>"
                                   "<rangeMax>2</rangeMax><selectionItem>a</selectionItem>"
                                   "<defaultValue>d</defaultValue></ConfigParam>"
                                   "<ConfigParam><key>p</key></ConfigParam>"));
    ASSERT_EQ(list.entries().size(), 1u);
    const CFiConfigParamInfo& info = *list.getParamInfo("p");
    EXPECT_EQ(info.key, "p");
    EXPECT_EQ(info.usageType, FI_USAGE_UNKNOWN);
    EXPECT_EQ(info.messageId, "");
    EXPECT_FALSE(info.isSharedParam);
    EXPECT_EQ(info.dataType, FI_DATA_UNKNOWN);
    EXPECT_EQ(info.rangeMin, -1);
    EXPECT_EQ(info.rangeMax, -1);
    EXPECT_TRUE(info.selectionList.empty());
    EXPECT_EQ(info.defaultValue, "");
}

TEST(ReadingDescriptions, CarriesWhatStandsOutsideIntoTheNextEntry) {
    CFiConfigParamInfoList list = read<CFiConfigParamInfoList>(
        element("ConfigParamList", "<key>outside</key><messageId>M</messageId>"
                                   "<ConfigParam><defaultValue>1</defaultValue></ConfigParam>"
                                   "<ConfigParam><defaultValue>2</defaultValue></ConfigParam>"));
    ASSERT_EQ(list.entries().size(), 2u);
    EXPECT_EQ(list.getParamInfo("outside")->messageId, "M");
    EXPECT_EQ(list.getParamInfo("outside")->defaultValue, "1");
    EXPECT_EQ(list.getParamInfo("")->messageId, "");
    EXPECT_EQ(list.getParamInfo("")->defaultValue, "2");
}

TEST(ReadingDescriptions, ReadsBackWhatItWrites) {
    CFiConfigParamInfoList written;
    for (int type = 0; type <= 6; ++type) {
        CFiConfigParamInfo& info = written.entries()["p" + std::to_string(type)];
        info.key = "p" + std::to_string(type);
        info.dataType = static_cast<FiConfigDataType>(type);
        info.usageType = static_cast<FiConfigUsageType>(type % 4);
        info.messageId = "<M & '\"'>";
        info.isSharedParam = type % 2 == 0;
        info.defaultValue = "\xC3\xA4\t\n \xF0\x9F\x98\x80";
        info.rangeMin = type;
        info.rangeMax = -1;
        info.addSelectionItem("a");
        info.addSelectionItem("");
    }
    written.updateXML();
    CFiConfigParamInfoList list(written.getXML());
    EXPECT_STREQ(list.getXML(), written.getXML());
    ASSERT_EQ(list.entries().size(), written.entries().size());
    for (const auto& entry : written.entries()) {
        const CFiConfigParamInfo& before = entry.second;
        const CFiConfigParamInfo& after = *list.getParamInfo(entry.first.c_str());
        const bool hasRange = before.dataType == FI_DATA_INT || before.dataType == FI_DATA_INT_LIST;
        EXPECT_EQ(after.key, before.key);
        EXPECT_EQ(after.dataType, before.dataType);
        EXPECT_EQ(after.usageType, before.usageType);
        EXPECT_EQ(after.messageId, before.messageId);
        EXPECT_EQ(after.isSharedParam, before.isSharedParam);
        EXPECT_EQ(after.defaultValue, before.defaultValue);
        EXPECT_EQ(after.rangeMin, hasRange ? before.rangeMin : -1);
        EXPECT_EQ(after.rangeMax, -1);
        EXPECT_EQ(after.selectionList.size(), before.dataType == FI_DATA_STRING_LIST ? 2u : 0u);
    }
}

TEST(ReadingValues, ReadsBackWhatItWrites) {
    CFiConfigParamDataList written;
    written.entries()["empty"] = data("empty", "");
    written.entries()["text"] = data("text", "<a href='x'>&amp;\"\n\t \xC3\xA4\xF0\x9F\x98\x80");
    written.entries()["list"] = data("list", "");
    written.entries()["list"].valueList = {"a", "", "&", "a"};
    written.entries()["one"] = data("one", "");
    written.entries()["one"].valueList = {""};
    written.entries()["k & <k>"] = data("k & <k>", "1");
    written.updateXML();
    EXPECT_THAT(written.getXML(), HasSubstr("<valueList>\n\t<value></value>\n</valueList>\n"));

    CFiConfigParamDataList list(written.getXML());
    EXPECT_STREQ(list.getXML(), written.getXML());
    ASSERT_EQ(list.entries().size(), written.entries().size());
    for (const auto& entry : written.entries()) {
        const CFiConfigParamData& after = *list.getParamData(entry.first.c_str());
        EXPECT_EQ(after.key, entry.second.key);
        EXPECT_EQ(after.value, entry.second.value);
        EXPECT_EQ(after.valueList, entry.second.valueList);
        EXPECT_STREQ(after.auxText.c_str(), "");
    }
}

TEST(ReadingValues, TakesTheTextAsItStands) {
    const struct {
        const char* written;
        const char* read;
    } texts[] = {{"", ""},
                 {" a ", " a "},
                 {"x&amp;y&lt;&gt;&quot;&apos;&#39;", "x&y<>\"''"},
                 {"&#65;&#x42;&#x1F600;", "AB\xF0\x9F\x98\x80"},
                 {"a<![CDATA[<&>]]>b", "a<&>b"},
                 {"a<!-- c -->b<?p i?>c", "abc"},
                 {"a\r\nb\rc\nd", "a\nb\nc\nd"},
                 {"&#13;", "\r"},
                 {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"}};
    for (const auto& text : texts) {
        EXPECT_EQ(readText(text.written), text.read) << text.written;
    }
}

TEST(ReadingValues, ReadsOtherEncodings) {
    CFiConfigParamDataList list =
        readValues("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" + value("k", "\xE4"));
    EXPECT_EQ(list.getParamData("k")->value, "\xC3\xA4");
}

TEST(ReadingValues, ForgetsTextAtStartTagsOnly) {
    EXPECT_EQ(readText("ab<x>12</x>cd"), "12cd");
    EXPECT_EQ(readText("ab<x/>"), "");
    CFiConfigParamDataList list =
        readValues(values("<ConfigValue><key>k</key><value>v</value>tail</ConfigValue>"));
    EXPECT_EQ(list.getParamData("k")->value, "v");
}

TEST(ReadingValues, KnowsNamesOnlyInFull) {
    for (const char* name : {"Value", "values", "valu", "p:value", "VALUE"}) {
        CFiConfigParamDataList list =
            readValues(values("<ConfigValue><key>k</key>" + element(name, "v") + "</ConfigValue>"));
        EXPECT_EQ(list.getParamData("k")->key, "k") << name;
        EXPECT_EQ(list.getParamData("k")->value, "") << name;
    }
}

TEST(ReadingValues, PassesOverWhatItDoesNotKnow) {
    CFiConfigParamDataList list = readValues(
        "<ConfigValueList version='2' xmlns:p='urn:p'><p:new/><!-- c --><?pi x?>"
        "<ConfigValue xmlns='urn:v'><dataType>int</dataType><key lang='en'>k</key>"
        "<new><deep>x</deep></new><value type='x'>v</value></ConfigValue></ConfigValueList>");
    ASSERT_EQ(list.entries().size(), 1u);
    EXPECT_EQ(list.getParamData("k")->value, "v");
    EXPECT_THAT(list.getXML(), HasSubstr("<dataType></dataType>"));
}

TEST(ReadingValues, KeepsBothAValueAndAList) {
    CFiConfigParamDataList list = readValues(values(
        "<ConfigValue><key>k</key><value>v</value><valueList><value>a</value><value>b</value>"
        "</valueList></ConfigValue>"));
    EXPECT_EQ(list.getParamData("k")->value, "v");
    EXPECT_THAT(list.getParamData("k")->valueList, ElementsAre("a", "b"));
    EXPECT_EQ(std::string(list.getXML()).find("<value>v</value>"), std::string::npos);
}

TEST(ReadingValues, TakesAnEmptyListForAValue) {
    CFiConfigParamDataList list = readValues(
        values("<ConfigValue><key>k</key><valueList></valueList><value>v</value></ConfigValue>"));
    EXPECT_EQ(list.getParamData("k")->value, "v");
    EXPECT_TRUE(list.getParamData("k")->valueList.empty());
}

TEST(ReadingValues, ReplacesAnEntryOfTheSameName) {
    CFiConfigParamDataList list = readValues(
        values("<ConfigValue><key>k</key><value>1</value><valueList><value>a</value></valueList>"
               "</ConfigValue><ConfigValue><key>j</key></ConfigValue>"
               "<ConfigValue><key>k</key></ConfigValue>"));
    ASSERT_EQ(list.entries().size(), 2u);
    EXPECT_EQ(list.getParamData("k")->value, "");
    EXPECT_TRUE(list.getParamData("k")->valueList.empty());
}

TEST(ReadingValues, CarriesWhatStandsOutsideIntoTheNextEntry) {
    CFiConfigParamDataList list =
        readValues(values("<key>outside</key><valueList><value>a</value></valueList>"
                          "<ConfigValue><value>1</value></ConfigValue>"
                          "<ConfigValue><value>2</value></ConfigValue>"));
    ASSERT_EQ(list.entries().size(), 2u);
    EXPECT_EQ(list.getParamData("outside")->value, "1");
    EXPECT_THAT(list.getParamData("outside")->valueList, ElementsAre("a"));
    EXPECT_EQ(list.getParamData("")->value, "2");
    EXPECT_TRUE(list.getParamData("")->valueList.empty());
}

TEST(ReadingValues, ReadsEntriesInAnyOrderAndDepth) {
    CFiConfigParamDataList list =
        readValues(element("any", "<x><ConfigValue><key>z</key></ConfigValue></x><y/>"
                                  "<ConfigValue><key>a</key><value>1</value></ConfigValue>"));
    EXPECT_EQ(list.entries().size(), 2u);
    EXPECT_EQ(list.getParamData("a")->value, "1");
    EXPECT_LT(std::string(list.getXML()).find("<key>a</key>"),
              std::string(list.getXML()).find("<key>z</key>"));
}

TEST(ReadingLists, NormalisesTheText) {
    CFiConfigParamDataList list =
        readValues("<?xml version='1.0'?>\n<!-- c -->\n" +
                   values("\n  <ConfigValue><value>v</value>  <key>k</key></ConfigValue>"));
    EXPECT_EQ(list.getXML(), HEADER + "<ConfigValueList>\n<ConfigValue>\n\t<dataType></dataType>\n"
                                      "\t<key>k</key>\n\t<value>v</value>\n</ConfigValue>\n"
                                      "</ConfigValueList>\n");
}

TEST(ReadingLists, IsEmptiedByEveryForeignDocument) {
    for (const std::string& foreign :
         {std::string("<a/>"), description(""), std::string("<ConfigValueList/>")}) {
        CFiConfigParamDataList list = readValues(value("k", "v"));
        EXPECT_EQ(list.parse(foreign.c_str()), 0) << foreign;
        EXPECT_TRUE(list.empty());
        EXPECT_EQ(list.getXML(), HEADER + "<ConfigValueList>\n</ConfigValueList>\n");
    }
    CFiConfigParamInfoList infos = read<CFiConfigParamInfoList>(description(""));
    EXPECT_EQ(infos.parse(value("k", "v").c_str()), 0);
    EXPECT_TRUE(infos.empty());
    EXPECT_EQ(infos.getXML(), HEADER + "<ConfigParamList>\n</ConfigParamList>\n");
}

/// Texts that no list accepts.
const char* const BAD_TEXTS[] = {
    "",
    " \n",
    "text",
    "<a>",
    "<a></b>",
    "<a/><b/>",
    "<a>&unknown;</a>",
    "<a>]]></a>",
    "<a b=1/>",
    "<a b='1' b='2'/>",
    " <?xml version='1.0'?><a/>",
    "<?xml version='2.0'?><a/>",
    "<?xml version='1.0' standalone='maybe'?><a/>",
    "<?xml version='1.0' encoding='none-such'?><a/>",
    "<a>\xFF</a>",
    "<a>\x01</a>",
    "<a>\xEF\xBF\xBE</a>",
    "<a>&#0;</a>",
    "<!DOCTYPE a [<!ENTITY e '&e;'>]><a>&e;</a>",
    "<ConfigValueList><ConfigValue><key>new</key></ConfigValue>",
    "<ConfigValueList><ConfigValue><key>new</key></ConfigValue></ConfigValueList>x",
    // The reader only warns of these.
    "<?xml version='1.0' encoding='UTF-16'?><a/>",
    "<!DOCTYPE a [<!ATTLIST a b CDATA 'x' b CDATA 'y'>]><a/>",
};

TEST(ReadingLists, RefusesBadTextsAndKeepsTheMap) {
    for (const char* bad : BAD_TEXTS) {
        CFiConfigParamDataList list = readValues(value("k", "v"));
        EXPECT_EQ(list.parse(bad), 3) << bad;
        EXPECT_EQ(list.entries().size(), 1u) << bad;
        EXPECT_EQ(list.getParamData("k")->value, "v") << bad;
        EXPECT_STREQ(list.getXML(), bad);

        CFiConfigParamInfoList infos = read<CFiConfigParamInfoList>(description(""));
        EXPECT_EQ(infos.parse(bad), 3) << bad;
        EXPECT_EQ(infos.entries().size(), 1u) << bad;
        EXPECT_STREQ(infos.getXML(), bad);
    }
}

TEST(ReadingLists, IsConstructedEmptyFromBadTexts) {
    for (const char* bad : BAD_TEXTS) {
        CFiConfigParamDataList list(bad);
        EXPECT_TRUE(list.empty()) << bad;
        EXPECT_STREQ(list.getXML(), bad);
        CFiConfigParamInfoList infos(bad);
        EXPECT_TRUE(infos.empty()) << bad;
        EXPECT_STREQ(infos.getXML(), bad);
    }
}

TEST(ReadingLists, IsConstructedFromAGoodText) {
    EXPECT_EQ(CFiConfigParamDataList(value("k", "v").c_str()).getParamData("k")->value, "v");
    EXPECT_EQ(CFiConfigParamInfoList(description("").c_str()).getParamInfo("p")->key, "p");
}

TEST(ReadingLists, IsConstructedEmptyFromNull) {
    const char* const nothing = nullptr;
    CFiConfigParamDataList list(nothing);
    EXPECT_TRUE(list.empty());
    EXPECT_STREQ(list.getXML(), "");
    CFiConfigParamInfoList infos(nothing);
    EXPECT_TRUE(infos.empty());
    EXPECT_STREQ(infos.getXML(), "");
}

TEST(ReadingLists, ParsesItsOwnTextAgainForNull) {
    CFiConfigParamDataList list = readValues(value("k", "v"));
    list.entries()["k"].value = "changed";
    list.entries()["more"] = data("more", "");
    EXPECT_EQ(list.parse(nullptr), 0);
    EXPECT_EQ(list.entries().size(), 1u);
    EXPECT_EQ(list.getParamData("k")->value, "v");

    EXPECT_EQ(list.parse("<bad"), 3);
    EXPECT_EQ(list.parse(nullptr), 3);
    EXPECT_STREQ(list.getXML(), "<bad");
    EXPECT_EQ(CFiConfigParamDataList().parse(nullptr), 3);
    EXPECT_EQ(CFiConfigParamInfoList().parse(nullptr), 3);
}

TEST(ReadingLists, ParsesItsOwnTextByPointer) {
    CFiConfigParamDataList list = readValues(value("k", "v"));
    const std::string text = list.getXML();
    list.clear();
    EXPECT_EQ(list.parse(text.c_str()), 0);
    EXPECT_EQ(list.parse(list.getXML()), 0);
    EXPECT_EQ(list.getXML(), text);
    EXPECT_EQ(list.getParamData("k")->value, "v");
    EXPECT_EQ(list.parse("<bad"), 3);
    EXPECT_EQ(list.parse(list.getXML()), 3);
    EXPECT_STREQ(list.getXML(), "<bad");

    CFiConfigParamInfoList infos = read<CFiConfigParamInfoList>(description(""));
    EXPECT_EQ(infos.parse(infos.getXML()), 0);
    EXPECT_EQ(infos.entries().size(), 1u);
}

TEST(ReadingLists, LeavesThePlaceholderAlone) {
    CFiConfigParamDataList list;
    CFiConfigParamData* placeholder = list.getParamData("unknown");
    placeholder->value = "written";
    EXPECT_EQ(list.parse(value("k", "v").c_str()), 0);
    EXPECT_EQ(list.getParamData("unknown"), placeholder);
    EXPECT_EQ(placeholder->value, "written");
    EXPECT_EQ(list.parse("<bad"), 3);
    EXPECT_EQ(list.getParamData("unknown"), placeholder);
    EXPECT_EQ(placeholder->value, "written");
    EXPECT_EQ(list.getParamData("k")->value, "v");
}

TEST(ReadingLists, WorksAgainAfterABadText) {
    CFiConfigParamDataList list("<bad");
    EXPECT_EQ(list.parse(value("k", "v").c_str()), 0);
    EXPECT_EQ(list.getParamData("k")->value, "v");
}

TEST(ReadingLists, KnowsNothingOfTheTextBefore) {
    const std::string type = "<!DOCTYPE ConfigValueList [<!ENTITY e 'text'>"
                             "<!ENTITY % p \"<!ENTITY f 'more'>\">]>";
    const std::string use = "<!DOCTYPE ConfigValueList [%p;]>";
    for (int i = 0; i < 3; ++i) {
        CFiConfigParamDataList list = readValues(type + value("k", "&e;"));
        EXPECT_EQ(list.getParamData("k")->value, "text");
        EXPECT_EQ(list.parse(value("k", "&e;").c_str()), 3);
        EXPECT_EQ(readValues("<?xml version='1.0' encoding='ISO-8859-1'?>" + value("k", "\xE4"))
                      .getParamData("k")
                      ->value,
                  "\xC3\xA4");
        EXPECT_EQ(readText("\xC3\xA4"), "\xC3\xA4");
        // Without declaration both entities are passed over.
        EXPECT_EQ(readValues(use + value("k", "[&f;]")).getParamData("k")->value, "[]");
        EXPECT_EQ(list.parse("<a"), 3);
    }
}

TEST(ReadingLists, ReadsByTheRulesOfXml10AfterATextOfXml11) {
    const std::string declarations[] = {"<?xml version='1.1'?>", "<?xml version=\"1.1\" ?>",
                                        "<?xml\n version = '1.1'?>",
                                        "\xEF\xBB\xBF<?xml version='1.1'?>"};
    for (const std::string& declaration : declarations) {
        const auto readOther = [&declaration] {
            EXPECT_EQ(readValues(declaration + value("k", "&#1;")).getParamData("k")->value,
                      "\x01");
        };
        readOther();
        EXPECT_EQ(CFiConfigParamDataList().parse(value("k", "&#1;").c_str()), 3) << declaration;
        readOther();
        EXPECT_EQ(CFiConfigParamDataList().parse("<a\xC2\x85/>"), 3) << declaration;
        readOther();
        EXPECT_EQ(readText("a\xC2\x85z"), "a\xC2\x85z") << declaration;
    }
}

TEST(ReadingLists, TakesManyEntriesInShortTime) {
    // Texts rebuilt with every entry would take minutes here.
    std::string entries;
    for (int i = 30000; i > 0; --i) {
        entries += element("ConfigValue", element("key", "k" + std::to_string(i)) +
                                              element("value", std::to_string(i)));
    }
    CFiConfigParamDataList list = readValues(values(entries));
    EXPECT_EQ(list.entries().size(), 30000u);
    EXPECT_EQ(list.getParamData("k12345")->value, "12345");
}

TEST(ReadingLists, TakesALongText) {
    // The reader delivers it in pieces, which may cut a character in two.
    for (const char* first : {"", "x"}) {
        const std::string text = first + repeated("\xF0\x9F\x98\x80", 1000000);
        EXPECT_EQ(readText(text) == text, true);
    }
}

} // namespace
