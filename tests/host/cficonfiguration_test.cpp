#include "cficonfiguration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "support/failing_memory.h"
#include "support/product_paths.h"
#include "support/temp_dir.h"
#include "support/throwing_host.h"

using namespace kzfi_pdk_4_4;
using kzfi_tests::readFile;
using kzfi_tests::TempDir;
using kzfi_tests::writeFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

static_assert(std::is_base_of<CFiTraceable, CFiConfiguration>::value, "");
static_assert(std::is_base_of<CFiError, CFiConfiguration>::value, "");
static_assert(!std::is_copy_constructible<CFiConfiguration>::value, "");

namespace {

const char* const NO_DIRECTORY = "Configuration path verification failed";
const char* const NO_FILE = "Configuration path succeeded but no configuration file exists.";
const char* const NO_IMPORT = "Import of configuration file failed.";

class CFiConfigurationTest : public testing::Test {
  protected:
    std::string dir() { return temp.path() + "/"; }
    void write(const std::string& name, const std::string& text) {
        writeFile(temp.path(name), text);
    }
    int import(CFiConfiguration& configuration, const std::string& name) {
        return configuration.importConfig(dir().c_str(), name.c_str());
    }
    int importText(CFiConfiguration& configuration, const std::string& text) {
        write("text.conf", text);
        return import(configuration, "text.conf");
    }
    // What the store's file holds after an export, line by line.
    std::vector<std::string> exported(CFiConfiguration& configuration) {
        import(configuration, "exported.conf");
        EXPECT_EQ(0, configuration.exportConfig());
        std::istringstream text(readFile(temp.path("exported.conf")));
        std::vector<std::string> lines;
        for (std::string line; std::getline(text, line);) {
            lines.push_back(line);
        }
        fs::remove(temp.path("exported.conf"));
        return lines;
    }

    int open(CFiConfiguration& configuration, const char* name, int create = 1) {
        ACE_Configuration_Section_Key key;
        return configuration.openSection(name, key, create);
    }
    static std::vector<std::string> rootSections(CFiConfiguration& configuration) {
        return names(configuration.enumerateSections(configuration.configHeap().root_section()));
    }
    static std::vector<std::string> names(const std::vector<tstring>& found) {
        std::vector<std::string> result;
        for (const tstring& name : found) {
            result.push_back(name.c_str());
        }
        return result;
    }
    static std::string text(CFiConfiguration& configuration, const char* name) {
        tstring value;
        return configuration.getStringValue(name, value) == 0 ? value.c_str() : "(none)";
    }
    static long number(CFiConfiguration& configuration, const char* name) {
        unsigned int value = 0;
        return configuration.getIntegerValue(name, value) == 0 ? long(value) : -1L;
    }

    static void expectNoFailure(const CFiConfiguration& configuration) {
        EXPECT_EQ(0, configuration.errorCode);
        EXPECT_STREQ("", configuration.what());
        EXPECT_STREQ("", configuration.sourceFile.c_str());
        EXPECT_EQ(0, configuration.lineNumber);
        EXPECT_STREQ("", configuration.functionName.c_str());
    }
    static void expectFailure(const CFiConfiguration& configuration, int code,
                              const char* message) {
        EXPECT_EQ(code, configuration.errorCode);
        EXPECT_STREQ(message, configuration.what());
        EXPECT_STREQ(message, configuration.message.c_str());
        EXPECT_STREQ("cficonfiguration", configuration.sourceFile.c_str());
        EXPECT_STREQ("importConfig", configuration.functionName.c_str());
        EXPECT_LT(0, configuration.lineNumber);
    }

    kzfi_tests::EmptyProduct product;
    TempDir temp;
};

// ---- Construction ----

TEST_F(CFiConfigurationTest, FreshStoreIsEmptyAndHasNoFailure) {
    CFiConfiguration configuration;
    expectNoFailure(configuration);
    EXPECT_THAT(rootSections(configuration), IsEmpty());
}

TEST_F(CFiConfigurationTest, HeapIsOpenAlready) {
    CFiConfiguration configuration;
    EXPECT_EQ(-1, configuration.configHeap().open());
}

TEST_F(CFiConfigurationTest, ImportNowReads) {
    write("a.conf", "[S]\n\"k\"=\"v\"\n");
    CFiConfiguration configuration(dir().c_str(), "a.conf", true);
    expectNoFailure(configuration);
    ASSERT_EQ(0, open(configuration, "S", 0));
    EXPECT_EQ("v", text(configuration, "k"));
}

TEST_F(CFiConfigurationTest, ImportLaterReadsNothingButKnowsTheFile) {
    write("a.conf", "[S]\n\"k\"=\"v\"\n");
    CFiConfiguration configuration(dir().c_str(), "a.conf", false);
    expectNoFailure(configuration);
    EXPECT_THAT(rootSections(configuration), IsEmpty());
    EXPECT_EQ(0, configuration.exportConfig());
    EXPECT_THAT(readFile(temp.path("a.conf")), Not(HasSubstr("[S]")));
}

TEST_F(CFiConfigurationTest, ImportNowOfAMissingFileRecordsAndWritesNothing) {
    CFiConfiguration configuration(dir().c_str(), "a.conf", true);
    expectFailure(configuration, -1, NO_FILE);
    EXPECT_FALSE(fs::exists(temp.path("a.conf")));
}

TEST_F(CFiConfigurationTest, NameWithoutAFileMakesTheFile) {
    fs::create_directories(temp.path("lib/kzfi"));
    kzfi_platform_set_install_root(temp.path().c_str());
    CFiConfiguration configuration("plugin");
    expectFailure(configuration, -1, NO_FILE);
    EXPECT_TRUE(fs::is_regular_file(temp.path("lib/kzfi/configfiles/plugin.conf")));

    CFiConfiguration again("plugin");
    expectNoFailure(again);
    EXPECT_THAT(rootSections(again), IsEmpty());
}

TEST_F(CFiConfigurationTest, NameReadsItsFileAndExportsToIt) {
    const std::string file = "lib/kzfi/configfiles/plugin.conf";
    write(file, "[S]\n\"k\"=\"v\"\n");
    kzfi_platform_set_install_root(temp.path().c_str());
    CFiConfiguration configuration("plugin");
    expectNoFailure(configuration);
    ASSERT_EQ(0, open(configuration, "S", 0));
    EXPECT_EQ("v", text(configuration, "k"));
    EXPECT_EQ("[S]\n\"k\"=\"v\"\n", readFile(temp.path(file))) << "a good file is not rewritten";

    EXPECT_EQ(0, configuration.setStringValue("k", "w"));
    EXPECT_EQ(0, configuration.exportConfig());
    EXPECT_THAT(readFile(temp.path(file)), HasSubstr("\"k\"=\"w\"\n"));
}

TEST_F(CFiConfigurationTest, NameWhoseFolderCannotBeMadeOnlyRecords) {
    kzfi_platform_set_install_root(temp.path("missing").c_str());
    CFiConfiguration configuration("plugin");
    expectFailure(configuration, -1, NO_DIRECTORY);
    EXPECT_FALSE(fs::exists(temp.path("missing")));
}

TEST_F(CFiConfigurationTest, NameDiscardsWhatTheHostThrows) {
    kzfi_tests::throwCFiErrorFromHost(1);
    CFiConfiguration configuration("plugin");
    expectNoFailure(configuration);
    EXPECT_EQ(0, open(configuration, "S")) << "the store is open";

    kzfi_tests::throwRuntimeErrorFromHost(1);
    EXPECT_THROW(CFiConfiguration("plugin"), std::runtime_error) << "only the kit's own errors";
}

TEST_F(CFiConfigurationTest, HeapThatCannotBeOpenedIsRecorded) {
    if (!kzfi_tests::controlsAllocations()) {
        GTEST_SKIP() << "the sanitizer owns the allocator";
    }
    write("a.conf", "[S]\n");
    const std::string folder = dir();
    bool failed = false;
    // Up to the first that matters: the heap does not survive all of them.
    for (int allocation = 1; !failed && allocation <= 10; ++allocation) {
        kzfi_tests::failAllocation(allocation);
        const CFiConfiguration configuration(folder.c_str(), "a.conf", false);
        kzfi_tests::allocationFailed();
        failed = configuration.errorCode != 0;
        if (failed) {
            EXPECT_EQ(-1, configuration.errorCode);
            EXPECT_STREQ("Failed to open configuration heap", configuration.what());
            EXPECT_STREQ("cficonfiguration", configuration.sourceFile.c_str());
            EXPECT_STREQ("CFiConfiguration", configuration.functionName.c_str());
            EXPECT_LT(0, configuration.lineNumber);
        }
    }
    EXPECT_TRUE(failed);
}

TEST_F(CFiConfigurationTest, NameOverADamagedFileRewritesIt) {
    const std::string file = "lib/kzfi/configfiles/plugin.conf";
    write(file, "[S]\n\"k\"=\"v\"\n[T\n\"lost\"=\"x\"\n");
    kzfi_platform_set_install_root(temp.path().c_str());
    CFiConfiguration configuration("plugin");
    expectFailure(configuration, -3, NO_IMPORT);
    EXPECT_THAT(readFile(temp.path(file)), HasSubstr("\"k\"=\"v\"\n"));
    EXPECT_THAT(readFile(temp.path(file)), Not(HasSubstr("lost")));
}

TEST_F(CFiConfigurationTest, NothingIsSavedAtTheEnd) {
    write("a.conf", "[S]\n\"k\"=\"v\"\n");
    {
        CFiConfiguration configuration(dir().c_str(), "a.conf", true);
        open(configuration, "S");
        configuration.setStringValue("k", "changed");
    }
    EXPECT_EQ("[S]\n\"k\"=\"v\"\n", readFile(temp.path("a.conf")));
}

// ---- Import ----

TEST_F(CFiConfigurationTest, MissingDirectoryIsRecordedAndNotMade) {
    CFiConfiguration configuration;
    const std::string missing = temp.path("missing/");
    EXPECT_EQ(-1, configuration.importConfig(missing.c_str(), "a.conf"));
    expectFailure(configuration, -1, NO_DIRECTORY);
    EXPECT_FALSE(fs::exists(missing));

    // The path is stored all the same.
    fs::create_directory(missing);
    EXPECT_EQ(0, configuration.exportConfig());
    EXPECT_TRUE(fs::exists(missing + "a.conf"));
}

TEST_F(CFiConfigurationTest, MissingFileIsRecordedAndItsPathStored) {
    CFiConfiguration configuration;
    EXPECT_EQ(-1, import(configuration, "a.conf"));
    expectFailure(configuration, -1, NO_FILE);
    EXPECT_FALSE(fs::exists(temp.path("a.conf")));
    EXPECT_EQ(0, configuration.exportConfig());
    EXPECT_TRUE(fs::exists(temp.path("a.conf")));
}

TEST_F(CFiConfigurationTest, DamagedFileGivesTheImportersStatus) {
    const struct {
        const char* text;
        int status;
    } cases[] = {{"\"k\"=\"v\"\n", -4}, {"[S\n", -3}, {"[S]\n\"k\"=\"v\"\n[s]\n", -3}};
    for (const auto& damaged : cases) {
        CFiConfiguration configuration;
        EXPECT_EQ(damaged.status, importText(configuration, damaged.text)) << damaged.text;
        expectFailure(configuration, damaged.status, NO_IMPORT);
    }
}

TEST_F(CFiConfigurationTest, WhatStandsBeforeTheDamageIsHeld) {
    CFiConfiguration configuration;
    EXPECT_NE(0, importText(configuration, "[S]\n\"k\"=\"v\"\n[T\n"));
    ASSERT_EQ(0, open(configuration, "S", 0));
    EXPECT_EQ("v", text(configuration, "k"));
}

TEST_F(CFiConfigurationTest, LaterSuccessKeepsTheRecord) {
    CFiConfiguration configuration;
    import(configuration, "missing.conf");
    EXPECT_EQ(0, importText(configuration, "[S]\n\"k\"=\"v\"\n"));
    expectFailure(configuration, -1, NO_FILE);
}

TEST_F(CFiConfigurationTest, RecordGivesAMessageKey) {
    CFiConfiguration configuration;
    importText(configuration, "[S\n");
    EXPECT_EQ("MSG_ERROR_ABC_-003", configuration.getMessageId("abc", 0));
}

TEST_F(CFiConfigurationTest, DirectoryAndFileAreJoinedAsTheyAre) {
    TempDir other;
    const std::string unslashed = other.path("a");
    fs::create_directory(unslashed);
    writeFile(unslashed + "b.conf", "[S]\n\"k\"=\"v\"\n");
    CFiConfiguration configuration;
    EXPECT_EQ(0, configuration.importConfig(unslashed.c_str(), "b.conf"));
    EXPECT_THAT(rootSections(configuration), ElementsAre("S"));
}

TEST_F(CFiConfigurationTest, ImportsAddUpAndOverwrite) {
    CFiConfiguration configuration;
    ASSERT_EQ(0, importText(configuration, "[S]\n\"a\"=\"1\"\n\"b\"=\"1\"\n[T]\n\"c\"=\"1\"\n"));
    ASSERT_EQ(0, importText(configuration, "[S]\n\"b\"=\"2\"\n[U]\n\"d\"=\"2\"\n"));
    EXPECT_THAT(rootSections(configuration), UnorderedElementsAre("S", "T", "U"));
    open(configuration, "S", 0);
    EXPECT_EQ("1", text(configuration, "a"));
    EXPECT_EQ("2", text(configuration, "b"));
}

TEST_F(CFiConfigurationTest, SameFileTwiceLeavesOneCopyOfEachValue) {
    CFiConfiguration configuration;
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(0, importText(configuration, "[S]\n\"a\"=\"1\"\n\"b\"=dword:00000002\n"));
    }
    std::vector<std::string> values;
    for (const std::string& line : exported(configuration)) {
        if (line.compare(0, 1, "\"") == 0) {
            values.push_back(line);
        }
    }
    EXPECT_THAT(values, UnorderedElementsAre("\"a\"=\"1\"", "\"b\"=dword:00000002"));
}

TEST_F(CFiConfigurationTest, ImporterReadsTheRegistryFormat) {
    const struct {
        const char* line;
        const char* text;
        long number;
    } cases[] = {
        {"\"k\"=\"text\"\n", "text", -1},
        {"\"k\"=\"\"\n", "", -1},
        {"\"k\"=\"a \"quoted\" word\"\n", "a \"quoted\" word", -1},
        {"\"k\"=\"back\\slash\"\n", "back\\slash", -1},
        {"\"k\"=dword:0000012c\n", "(none)", 300},
        {"\"k\"=dword:ffffffff\n", "(none)", 4294967295},
        {"\"k\"=dword:zz\n", "(none)", 0},
        {"# \"k\"=\"comment\"\n", "(none)", -1},
        {"; \"k\"=\"comment\"\n", "(none)", -1},
        {"\"k\" = \"blanks\"\n", "(none)", -1},
        {"\"k\"=\"no line end\"", "(none)", -1},
    };
    for (const auto& value : cases) {
        CFiConfiguration configuration;
        EXPECT_EQ(0, importText(configuration, std::string("[S]\n") + value.line)) << value.line;
        ASSERT_EQ(0, open(configuration, "S", 0)) << value.line;
        EXPECT_EQ(value.text, text(configuration, "k")) << value.line;
        EXPECT_EQ(value.number, number(configuration, "k")) << value.line;
    }
}

TEST_F(CFiConfigurationTest, EmptyFileIsGood) {
    CFiConfiguration configuration;
    EXPECT_EQ(0, importText(configuration, ""));
    expectNoFailure(configuration);
}

// ---- Export ----

TEST_F(CFiConfigurationTest, ExportWritesTheRegistryFormat) {
    CFiConfiguration configuration;
    open(configuration, "S");
    EXPECT_EQ(0, configuration.setIntegerValue("n", 300));
    EXPECT_EQ(0, configuration.setStringValue("t", "a \"quoted\" \\ word"));
    EXPECT_EQ(0, configuration.setIntegerValue("m", 0xffffffffU));
    const std::vector<std::string> lines = exported(configuration);
    EXPECT_THAT(lines, testing::Contains("[S]"));
    EXPECT_THAT(lines, testing::Contains("\"n\"=dword:0000012c"));
    EXPECT_THAT(lines, testing::Contains("\"m\"=dword:ffffffff"));
    EXPECT_THAT(lines, testing::Contains("\"t\"=\"a \"quoted\" \\ word\""));
}

TEST_F(CFiConfigurationTest, ExportIsReadBack) {
    CFiConfiguration configuration(dir().c_str(), "a.conf", false);
    open(configuration, "ONE\\TWO");
    configuration.setIntegerValue("n", 7);
    open(configuration, "ONE");
    configuration.setStringValue("t", "say \"hello\"");
    ASSERT_EQ(0, configuration.exportConfig());

    CFiConfiguration copy(dir().c_str(), "a.conf", true);
    expectNoFailure(copy);
    ASSERT_EQ(0, open(copy, "ONE", 0));
    EXPECT_EQ("say \"hello\"", text(copy, "t"));
    ASSERT_EQ(0, open(copy, "ONE\\TWO", 0));
    EXPECT_EQ(7, number(copy, "n"));
}

TEST_F(CFiConfigurationTest, LineBreakInATextIsReadBackAsFurtherLines) {
    CFiConfiguration configuration(dir().c_str(), "a.conf", false);
    open(configuration, "S");
    configuration.setStringValue("k", "v\"\n\"more\"=\"x\"\n[T]\n\"of T\"=\"y");
    ASSERT_EQ(0, configuration.exportConfig());

    CFiConfiguration copy(dir().c_str(), "a.conf", true);
    EXPECT_THAT(rootSections(copy), UnorderedElementsAre("S", "T"));
    open(copy, "S", 0);
    EXPECT_EQ("v", text(copy, "k"));
    EXPECT_EQ("x", text(copy, "more"));
    open(copy, "T", 0);
    EXPECT_EQ("y", text(copy, "of T"));
}

TEST_F(CFiConfigurationTest, ExportIntoAMissingFolderFails) {
    CFiConfiguration configuration(temp.path("missing/").c_str(), "a.conf", false);
    EXPECT_EQ(-1, configuration.exportConfig());
    expectNoFailure(configuration);
}

TEST_F(CFiConfigurationTest, ValuesOfTheRootAreNotExported) {
    CFiConfiguration configuration;
    ACE_Configuration_Heap& heap = configuration.configHeap();
    ASSERT_EQ(0, heap.set_string_value(heap.root_section(), "rooted", "x"));
    for (const std::string& line : exported(configuration)) {
        EXPECT_THAT(line, Not(HasSubstr("rooted")));
    }
}

// ---- Sections ----

TEST_F(CFiConfigurationTest, MissingSectionIsOpenedOnlyWithCreate) {
    CFiConfiguration configuration;
    EXPECT_EQ(-1, open(configuration, "S", 0));
    EXPECT_THAT(rootSections(configuration), IsEmpty());
    EXPECT_EQ(0, open(configuration, "S", 1));
    EXPECT_EQ(0, open(configuration, "S", 0));
    EXPECT_THAT(rootSections(configuration), ElementsAre("S"));
}

TEST_F(CFiConfigurationTest, SectionOpenedLastIsTheCurrentOne) {
    CFiConfiguration configuration;
    open(configuration, "S");
    configuration.setStringValue("k", "of S");
    open(configuration, "T");
    configuration.setStringValue("k", "of T");
    EXPECT_EQ("of T", text(configuration, "k"));
    open(configuration, "S", 0);
    EXPECT_EQ("of S", text(configuration, "k"));
}

TEST_F(CFiConfigurationTest, FailedOpenLeavesTheCurrentSectionAndTheKey) {
    CFiConfiguration configuration;
    ACE_Configuration_Section_Key key;
    ASSERT_EQ(0, configuration.openSection("S", key, 1));
    configuration.setStringValue("k", "of S");
    EXPECT_EQ(-1, configuration.openSection("missing", key, 0));
    EXPECT_EQ("of S", text(configuration, "k"));
    tstring value;
    EXPECT_EQ(0, configuration.configHeap().get_string_value(key, "k", value));
}

TEST_F(CFiConfigurationTest, SectionsNest) {
    CFiConfiguration configuration;
    ACE_Configuration_Section_Key parent;
    ACE_Configuration_Section_Key child;
    ASSERT_EQ(0, configuration.openSection("P", parent, 1));
    ASSERT_EQ(0, configuration.openSection(parent, "C", child, 1));
    EXPECT_EQ(0, configuration.setStringValue("k", "of P\\C"));
    EXPECT_THAT(names(configuration.enumerateSections(parent)), ElementsAre("C"));
    EXPECT_THAT(names(configuration.enumerateSections()), IsEmpty()) << "C is the current one";
    ASSERT_EQ(0, open(configuration, "P", 0));
    EXPECT_THAT(names(configuration.enumerateSections()), ElementsAre("C"));
    ASSERT_EQ(0, open(configuration, "P\\C", 0));
    EXPECT_EQ("of P\\C", text(configuration, "k"));
}

TEST_F(CFiConfigurationTest, BackslashMakesEveryLevel) {
    CFiConfiguration configuration;
    EXPECT_EQ(-1, open(configuration, "A\\B\\C", 0));
    EXPECT_EQ(0, open(configuration, "A\\B\\C", 1));
    EXPECT_EQ(0, open(configuration, "A\\B", 0));
    EXPECT_THAT(names(configuration.enumerateSections()), ElementsAre("C"));
}

TEST_F(CFiConfigurationTest, NamesThatNoSectionCanHave) {
    CFiConfiguration configuration;
    const std::string longest(255, 'x');
    EXPECT_EQ(0, open(configuration, longest.c_str()));
    for (const std::string& name : {std::string(), std::string("a[b"), std::string("a]b"),
                                    std::string("\\a"), std::string(256, 'x')}) {
        EXPECT_EQ(-1, open(configuration, name.c_str())) << name;
    }
    EXPECT_THAT(rootSections(configuration), ElementsAre(longest));
}

TEST_F(CFiConfigurationTest, AllSectionsAreListed) {
    CFiConfiguration configuration;
    for (const char* name : {"one", "two", "three", "four", "alpha", "beta"}) {
        ASSERT_EQ(0, open(configuration, name));
    }
    const auto all = UnorderedElementsAre("one", "two", "three", "four", "alpha", "beta");
    EXPECT_THAT(rootSections(configuration), all);
    EXPECT_THAT(rootSections(configuration), all) << "a second time";
}

// ---- Values ----

TEST_F(CFiConfigurationTest, WithoutACurrentSectionEveryValueOperationFails) {
    CFiConfiguration configuration;
    unsigned int integer = 5;
    tstring string("old");
    EXPECT_EQ(-1, configuration.getIntegerValue("k", integer));
    EXPECT_EQ(-1, configuration.setIntegerValue("k", 1));
    EXPECT_EQ(-1, configuration.getStringValue("k", string));
    EXPECT_EQ(-1, configuration.setStringValue("k", "v"));
    EXPECT_EQ(5U, integer);
    EXPECT_STREQ("old", string.c_str());
    EXPECT_THAT(configuration.enumerateSections(), IsEmpty());
    expectNoFailure(configuration);
}

TEST_F(CFiConfigurationTest, MissingValueOrOneOfTheOtherKindLeavesTheOutput) {
    CFiConfiguration configuration;
    open(configuration, "S");
    configuration.setStringValue("text", "v");
    configuration.setIntegerValue("number", 1);
    unsigned int integer = 5;
    tstring string("old");
    EXPECT_EQ(-1, configuration.getIntegerValue("missing", integer));
    EXPECT_EQ(-1, configuration.getIntegerValue("text", integer));
    EXPECT_EQ(-1, configuration.getStringValue("missing", string));
    EXPECT_EQ(-1, configuration.getStringValue("number", string));
    EXPECT_EQ(5U, integer);
    EXPECT_STREQ("old", string.c_str());
    expectNoFailure(configuration);
}

TEST_F(CFiConfigurationTest, NamesAreNotCaseSensitive) {
    CFiConfiguration configuration;
    open(configuration, "S");
    configuration.setStringValue("Key", "v");
    EXPECT_EQ("v", text(configuration, "KEY"));
    EXPECT_EQ(-1, open(configuration, "s", 0));
    EXPECT_EQ(-1, open(configuration, "s", 1));
}

TEST_F(CFiConfigurationTest, ValueNamesWithBackslashOrBracketFail) {
    CFiConfiguration configuration;
    open(configuration, "S");
    for (const char* name : {"a\\b", "a[b", "a]b"}) {
        EXPECT_EQ(-1, configuration.setStringValue(name, "v")) << name;
        EXPECT_EQ(-1, configuration.setIntegerValue(name, 1)) << name;
    }
}

TEST_F(CFiConfigurationTest, ReadingFromAMissingSectionMakesItCurrent) {
    CFiConfiguration configuration;
    tstring string("old");
    unsigned int integer = 5;
    EXPECT_EQ(-1, configuration.getStringValue("S", "k", string));
    EXPECT_THAT(rootSections(configuration), ElementsAre("S"));
    EXPECT_EQ(0, configuration.setStringValue("k", "of S"));
    EXPECT_EQ(-1, configuration.getIntegerValue("T", "k", integer));
    EXPECT_THAT(rootSections(configuration), UnorderedElementsAre("S", "T"));
    EXPECT_EQ(0, configuration.setIntegerValue("k", 8));
    EXPECT_STREQ("old", string.c_str());
    EXPECT_EQ(5U, integer);

    EXPECT_EQ(0, configuration.getStringValue("S", "k", string));
    EXPECT_STREQ("of S", string.c_str());
    EXPECT_EQ(0, configuration.getIntegerValue("T", "k", integer));
    EXPECT_EQ(8U, integer);
}

TEST_F(CFiConfigurationTest, ReadingFromAnImpossibleSectionGivesTheOpensStatus) {
    CFiConfiguration configuration;
    open(configuration, "S");
    configuration.setStringValue("k", "of S");
    tstring string("old");
    unsigned int integer = 5;
    EXPECT_EQ(-1, configuration.getStringValue("a[b", "k", string));
    EXPECT_EQ(-1, configuration.getIntegerValue("a[b", "k", integer));
    EXPECT_STREQ("old", string.c_str());
    EXPECT_EQ("of S", text(configuration, "k"));
}

// ---- Null texts ----

TEST_F(CFiConfigurationTest, NullPathsCountAsEmpty) {
    CFiConfiguration configuration;
    EXPECT_EQ(-1, configuration.importConfig(nullptr, "a.conf"));
    expectFailure(configuration, -1, NO_DIRECTORY);
    EXPECT_EQ(-1, configuration.importConfig(nullptr, nullptr));
    CFiConfiguration other(nullptr, nullptr, false);
    expectNoFailure(other);
    EXPECT_EQ(-1, other.exportConfig());
}

TEST_F(CFiConfigurationTest, NullNamesAreRefused) {
    CFiConfiguration configuration;
    open(configuration, "S");
    ACE_Configuration_Section_Key key;
    unsigned int integer = 5;
    tstring string("old");
    EXPECT_EQ(-1, configuration.openSection(nullptr, key, 1));
    EXPECT_EQ(-1, configuration.getIntegerValue(nullptr, integer));
    EXPECT_EQ(-1, configuration.setIntegerValue(nullptr, 1));
    EXPECT_EQ(-1, configuration.getStringValue(nullptr, string));
    EXPECT_EQ(-1, configuration.setStringValue(nullptr, "v"));
    EXPECT_EQ(-1, configuration.getStringValue(nullptr, "k", string));
    EXPECT_EQ(-1, configuration.getIntegerValue(nullptr, "k", integer));
    EXPECT_EQ(-1, configuration.getStringValue("S", nullptr, string));
    EXPECT_EQ(-1, configuration.getIntegerValue("S", nullptr, integer));
    EXPECT_THAT(rootSections(configuration), ElementsAre("S"));
}

} // namespace
