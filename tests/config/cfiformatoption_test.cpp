// Format options: what is theirs, and that the rest is as with parameter values.
#include "cfiformatoption.h"

#include <gmock/gmock.h>

#include <type_traits>

#include "config/param_texts.h"

namespace {

using namespace kzfi_pdk_4_4;
using namespace kzfi_tests;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using xercesc::SAXParseException;

static_assert(std::is_copy_constructible<CFiFormatOptionList>::value, "");
static_assert(std::is_copy_assignable<CFiFormatOptionList>::value, "");
static_assert(!std::is_convertible<const char*, CFiFormatOptionList>::value, "");
static_assert(std::is_base_of<CFiSaxParseHandler, CFiFormatOptionListHandler>::value, "");
static_assert(!std::is_copy_constructible<CFiFormatOptionListHandler>::value, "");

const std::string EMPTY_LIST = HEADER + "<FormatOptionValueList>\n</FormatOptionValueList>\n";

CFiFormatOption option(const std::string& key, const std::string& text) {
    return data<CFiFormatOption>(key, text);
}

void put(CFiFormatOptionList& list, const CFiFormatOption& entry) {
    list.entries()[entry.key] = entry;
}

/// A list of options with this inside its root element.
std::string options(const std::string& content) {
    return element("FormatOptionValueList", content);
}

/// The element of one option with this inside.
std::string entry(const std::string& content) {
    return element("FormatOptionValue", content);
}

/// The element of one option with key and value.
std::string entry(const std::string& key, const std::string& text) {
    return entry(element("key", key) + element("value", text));
}

CFiFormatOptionList readOptions(const std::string& xml) {
    return read<CFiFormatOptionList>(xml);
}

TEST(FormatOption, HoldsItsFieldsInThisOrder) {
    const CFiFormatOption all{"key", "value", {"item"}, tstring("auxiliary")};
    EXPECT_EQ(all.key, "key");
    EXPECT_EQ(all.value, "value");
    EXPECT_THAT(all.valueList, ElementsAre("item"));
    EXPECT_STREQ(all.auxText.c_str(), "auxiliary");
}

// ---- Writing ----

TEST(FormatOption, WritesAValue) {
    EXPECT_STREQ(option("fmt", "raw").toXML().c_str(), "<FormatOptionValue>\n"
                                                       "\t<dataType></dataType>\n"
                                                       "\t<key>fmt</key>\n"
                                                       "\t<value>raw</value>\n"
                                                       "</FormatOptionValue>\n");
}

TEST(FormatOption, WritesEmptyTexts) {
    EXPECT_STREQ(CFiFormatOption().toXML().c_str(), "<FormatOptionValue>\n"
                                                    "\t<dataType></dataType>\n"
                                                    "\t<key></key>\n"
                                                    "\t<value></value>\n"
                                                    "</FormatOptionValue>\n");
}

TEST(FormatOption, WritesAListInPlaceOfItsValue) {
    CFiFormatOption devices = option("devices", "not written");
    devices.valueList = {"a", "", "<"};
    EXPECT_STREQ(devices.toXML().c_str(), "<FormatOptionValue>\n"
                                          "\t<dataType></dataType>\n"
                                          "\t<key>devices</key>\n"
                                          "<valueList>\n"
                                          "\t<value>a</value>\n"
                                          "\t<value></value>\n"
                                          "\t<value>&lt;</value>\n"
                                          "</valueList>\n"
                                          "</FormatOptionValue>\n");
}

TEST(FormatOption, EscapesTheFiveSpecialCharacters) {
    const tstring xml = option("&<>\"'", "'\"><&").toXML();
    EXPECT_THAT(xml.c_str(), HasSubstr("<key>&amp;&lt;&gt;&quot;&#39;</key>"));
    EXPECT_THAT(xml.c_str(), HasSubstr("<value>&#39;&quot;&gt;&lt;&amp;</value>"));
}

TEST(FormatOption, NeverWritesItsAuxiliaryText) {
    CFiFormatOption raw = option("fmt", "raw");
    raw.auxText = "auxiliary";
    EXPECT_THAT(raw.toXML().c_str(), Not(HasSubstr("auxiliary")));
}

TEST(FormatOptionList, WritesItsOptions) {
    CFiFormatOptionList list;
    put(list, option("fmt", "raw"));
    EXPECT_EQ(updatedXml(list), "<?xml version=\"1.0\" standalone=\"yes\" ?>\n"
                                "<FormatOptionValueList>\n"
                                "<FormatOptionValue>\n"
                                "\t<dataType></dataType>\n"
                                "\t<key>fmt</key>\n"
                                "\t<value>raw</value>\n"
                                "</FormatOptionValue>\n"
                                "</FormatOptionValueList>\n");
}

TEST(FormatOptionList, WritesHeaderAndRootWhenEmpty) {
    CFiFormatOptionList list;
    EXPECT_EQ(updatedXml(list), EMPTY_LIST);
    EXPECT_EQ(EMPTY_LIST.size(), 89u);
}

TEST(FormatOptionList, WritesInTheByteOrderOfTheNames) {
    CFiFormatOptionList list;
    put(list, option("a", "2"));
    put(list, option("B", "1"));
    const std::string xml = updatedXml(list);
    EXPECT_LT(xml.find("<key>B</key>"), xml.find("<key>a</key>"));
}

TEST(FormatOptionList, StartsWithoutEntriesAndText) {
    CFiFormatOptionList list;
    EXPECT_TRUE(list.empty());
    EXPECT_STREQ(list.getXML(), "");
}

TEST(FormatOptionList, KeepsTheOldTextUntilItIsUpdated) {
    CFiFormatOptionList list;
    put(list, option("fmt", "raw"));
    EXPECT_STREQ(list.getXML(), "");
    const std::string xml = updatedXml(list);
    put(list, option("fmt", "qcow2"));
    EXPECT_EQ(list.getXML(), xml);
    EXPECT_THAT(updatedXml(list), HasSubstr("<value>qcow2</value>"));
}

TEST(FormatOptionList, LosesEntriesAndTextWhenCleared) {
    CFiFormatOptionList list = readOptions(options(entry("fmt", "raw")));
    list.clear();
    EXPECT_TRUE(list.empty());
    EXPECT_STREQ(list.getXML(), "");
}

// ---- Lookup and copies ----

TEST(FormatOptionList, GivesStoredOptionsByTheirExactName) {
    CFiFormatOptionList list;
    put(list, option("fmt", "raw"));
    EXPECT_EQ(list.getParamData("fmt"), &list.entries().at("fmt"));
    for (const char* name : {"Fmt", "fmt ", "", "unknown"}) {
        EXPECT_NE(list.getParamData(name), &list.entries().at("fmt")) << name;
    }
}

TEST(FormatOptionList, GivesOnePlaceholderForUnknownNames) {
    CFiFormatOptionList list;
    CFiFormatOption* const placeholder = list.getParamData("unknown");
    ASSERT_NE(placeholder, nullptr);
    EXPECT_EQ(placeholder->key, "");
    EXPECT_EQ(placeholder->value, "");
    EXPECT_TRUE(placeholder->valueList.empty());
    EXPECT_STREQ(placeholder->auxText.c_str(), "");
    EXPECT_EQ(list.getParamData("other"), placeholder);
    EXPECT_EQ(list.getParamData(nullptr), placeholder);
    EXPECT_TRUE(list.empty());
    placeholder->value = "written";
    EXPECT_EQ(list.parse(options("").c_str()), 0);
    EXPECT_EQ(list.getParamData("unknown")->value, "written");
}

/// A list in which every field is set, with another text than its entries would give.
CFiFormatOptionList allOptions() {
    CFiFormatOptionList list;
    CFiFormatOption stored = option("fmt", "raw");
    stored.valueList = {"x"};
    stored.auxText = "aux";
    put(list, stored);
    list.updateXML();
    list.getParamData("fmt")->value = "changed after the text";
    list.getParamData("unknown")->value = "placeholder";
    return list;
}

void expectFull(CFiFormatOptionList& list) {
    ASSERT_EQ(list.entries().size(), 1u);
    const CFiFormatOption& stored = *list.getParamData("fmt");
    EXPECT_EQ(stored.key, "fmt");
    EXPECT_EQ(stored.value, "changed after the text");
    EXPECT_THAT(stored.valueList, ElementsAre("x"));
    EXPECT_STREQ(stored.auxText.c_str(), "aux");
    EXPECT_EQ(list.getParamData("unknown")->value, "placeholder");
    EXPECT_THAT(list.getXML(), HasSubstr("<key>fmt</key>"));
}

TEST(FormatOptionList, CopiesEntriesPlaceholderAndText) {
    CFiFormatOptionList assigned = readOptions(options(entry("other", "1")));
    {
        CFiFormatOptionList source = allOptions();
        const CFiFormatOptionList copy(source);
        source.clear();
        assigned = copy;
    }
    expectFull(assigned);
}

// ---- Reading ----

TEST(ReadingFormatOptions, ReadsBackWhatItWrites) {
    CFiFormatOptionList written;
    put(written, option("empty", ""));
    put(written, option("text", "<a href='x'>&amp;\"\n\t \xC3\xA4\xF0\x9F\x98\x80"));
    put(written, option("k & <k>", "1"));
    CFiFormatOption list = option("list", "");
    list.valueList = {"a", "", "&", "a"};
    put(written, list);
    CFiFormatOption one = option("one", "");
    one.valueList = {""};
    put(written, one);
    written.updateXML();

    CFiFormatOptionList again(written.getXML());
    EXPECT_STREQ(again.getXML(), written.getXML());
    ASSERT_EQ(again.entries().size(), written.entries().size());
    for (const auto& before : written.entries()) {
        ASSERT_EQ(again.entries().count(before.first), 1u) << before.first;
        const CFiFormatOption& after = *again.getParamData(before.first.c_str());
        EXPECT_EQ(after.key, before.second.key);
        EXPECT_EQ(after.value, before.second.value);
        EXPECT_EQ(after.valueList, before.second.valueList);
    }
}

TEST(ReadingFormatOptions, NormalisesTheText) {
    CFiFormatOptionList list =
        readOptions("<?xml version='1.0'?>\n<!-- c -->\n" +
                    options("\n  <FormatOptionValue><value>raw</value>  <key>fmt</key>"
                            "</FormatOptionValue>"));
    EXPECT_EQ(list.getXML(), HEADER + "<FormatOptionValueList>\n<FormatOptionValue>\n"
                                      "\t<dataType></dataType>\n\t<key>fmt</key>\n"
                                      "\t<value>raw</value>\n</FormatOptionValue>\n"
                                      "</FormatOptionValueList>\n");
}

TEST(ReadingFormatOptions, IsEmptiedByEveryForeignDocument) {
    for (const std::string& foreign :
         {value("fmt", "raw"), values(""), description(""), std::string("<a/>")}) {
        CFiFormatOptionList list = readOptions(options(entry("fmt", "raw")));
        EXPECT_EQ(list.parse(foreign.c_str()), 0) << foreign;
        EXPECT_TRUE(list.empty()) << foreign;
        EXPECT_EQ(list.getXML(), EMPTY_LIST);
    }
}

TEST(ReadingFormatOptions, IsForeignToParameterValues) {
    CFiConfigParamDataList list(value("fmt", "raw").c_str());
    EXPECT_EQ(list.parse(options(entry("fmt", "raw")).c_str()), 0);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.getXML(), HEADER + "<ConfigValueList>\n</ConfigValueList>\n");
}

TEST(ReadingFormatOptions, CarriesAStrayValueIntoTheNextOption) {
    CFiFormatOptionList list =
        readOptions(options("<ConfigValue><key>a</key><value>b</value></ConfigValue>"
                            "<FormatOptionValue/>"));
    ASSERT_EQ(list.entries().size(), 1u);
    EXPECT_EQ(list.getParamData("a")->key, "a");
    EXPECT_EQ(list.getParamData("a")->value, "b");
}

TEST(ReadingFormatOptions, StartsEveryOptionEmpty) {
    CFiFormatOptionList list = readOptions(options(
        entry("<key>a</key><value>1</value><valueList><value>x</value></valueList>") + entry("")));
    ASSERT_EQ(list.entries().size(), 2u);
    EXPECT_EQ(list.getParamData("")->value, "");
    EXPECT_TRUE(list.getParamData("")->valueList.empty());
}

TEST(ReadingFormatOptions, KeepsBothAValueAndAList) {
    CFiFormatOptionList list =
        readOptions(options(entry("<key>fmt</key><value>v</value>"
                                  "<valueList><value>a</value><value>b</value></valueList>")));
    EXPECT_EQ(list.getParamData("fmt")->value, "v");
    EXPECT_THAT(list.getParamData("fmt")->valueList, ElementsAre("a", "b"));
    EXPECT_THAT(list.getXML(), Not(HasSubstr("<value>v</value>")));
}

TEST(ReadingFormatOptions, ReplacesAnOptionOfTheSameName) {
    CFiFormatOptionList list = readOptions(
        options(entry("<key>fmt</key><value>1</value><valueList><value>x</value></valueList>") +
                entry("other", "2") + entry("<key>fmt</key>")));
    ASSERT_EQ(list.entries().size(), 2u);
    EXPECT_EQ(list.getParamData("fmt")->value, "");
    EXPECT_TRUE(list.getParamData("fmt")->valueList.empty());
}

TEST(ReadingFormatOptions, TakesTextsAsTheyStand) {
    CFiFormatOptionList list = readOptions(options(entry(" a ", " x&amp;y ")));
    ASSERT_EQ(list.entries().count(" a "), 1u);
    EXPECT_EQ(list.getParamData(" a ")->value, " x&y ");
}

TEST(ReadingFormatOptions, KnowsNamesOnlyInFull) {
    for (const char* name : {"formatoptionvalue", "FormatOptionValues", "FormatOption",
                             "FormatOptionValueList", "p:FormatOptionValue"}) {
        EXPECT_TRUE(readOptions(options(element(name, "<key>k</key>"))).empty()) << name;
    }
}

TEST(ReadingFormatOptions, RefusesBadTextsAndKeepsTheMap) {
    for (const char* bad : {"", "text", "<FormatOptionValueList>", "<a></b>",
                            "<?xml version='1.0' encoding='UTF-16'?><a/>"}) {
        CFiFormatOptionList list = readOptions(options(entry("fmt", "raw")));
        EXPECT_EQ(list.parse(bad), 3) << bad;
        ASSERT_EQ(list.entries().size(), 1u) << bad;
        EXPECT_EQ(list.getParamData("fmt")->value, "raw") << bad;
        EXPECT_STREQ(list.getXML(), bad);
    }
}

TEST(ReadingFormatOptions, IsConstructedEmptyFromBadTextsAndNull) {
    CFiFormatOptionList bad("<bad");
    EXPECT_TRUE(bad.empty());
    EXPECT_STREQ(bad.getXML(), "<bad");
    CFiFormatOptionList nothing(static_cast<const char*>(nullptr));
    EXPECT_TRUE(nothing.empty());
    EXPECT_STREQ(nothing.getXML(), "");
}

TEST(ReadingFormatOptions, ReadsItsOwnTextAgainForNull) {
    CFiFormatOptionList list = readOptions(options(entry("fmt", "raw")));
    list.entries().clear();
    EXPECT_EQ(list.parse(nullptr), 0);
    EXPECT_EQ(list.getParamData("fmt")->value, "raw");
    EXPECT_EQ(list.parse(list.getXML()), 0);
    EXPECT_EQ(list.getParamData("fmt")->value, "raw");
    EXPECT_EQ(CFiFormatOptionList().parse(nullptr), 3);
}

// ---- The handler ----

TEST(FormatOptionHandler, GivesTheListWithItsText) {
    const std::string xml = options(entry("fmt", "raw"));
    CFiFormatOptionListHandler handler;
    feed(handler, xml);
    CFiFormatOptionList& list = handler.getList();
    EXPECT_EQ(list.getParamData("fmt")->value, "raw");
    EXPECT_STREQ(list.getXML(), readOptions(xml).getXML());
    EXPECT_THAT(list.getXML(), StartsWith(HEADER + "<FormatOptionValueList>\n"));
}

TEST(FormatOptionHandler, HasNoTextBeforeTheFirstOption) {
    CFiFormatOptionListHandler handler;
    feed(handler, value("fmt", "raw"));
    EXPECT_TRUE(handler.getList().empty());
    EXPECT_STREQ(handler.getList().getXML(), "");
}

TEST(FormatOptionHandler, ThrowsTheErrorInsteadOfTheList) {
    CFiFormatOptionListHandler handler;
    feed(handler, "<FormatOptionValueList>\n<bad");
    EXPECT_THROW(handler.getList(), SAXParseException);
}

} // namespace
