// The examples of formats, compared with what the kit writes.
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <set>
#include <sstream>

#include "cficonfiguration.h"
#include "cfiformatoption.h"
#include "cfiicucatalog.h"
#include "cfipblm.h"
#include "cfiprivatedata.h"
#include "cfitracelog.h"
#include "documents.h"
#include "kzfi_platform_control.h"
#include "support/temp_dir.h"

namespace {

using namespace kzfi_pdk_4_4;
using namespace kzfi_tests;
using testing::ElementsAre;
using testing::ElementsAreArray;

std::string example(const std::string& name) {
    return exampleCalled(name).text;
}

/// Of a format without a line end.
std::string line(const std::string& name) {
    const std::string text = example(name);
    EXPECT_EQ(text.find('\n') + 1, text.size()) << name << " is one line";
    return text.substr(0, text.find('\n'));
}

std::vector<std::string> sortedLines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string one; std::getline(stream, one);) {
        lines.push_back(one);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

/// What the table at the end of this file goes by.
class Example : public testing::Test {
  protected:
    Example() {
        kzfi_platform_reset();
        kzfi_platform_set_install_root(root.path().c_str());
        std::filesystem::create_directories(root.path("lib/kzfi/configfiles"));
    }
    ~Example() override { kzfi_platform_reset(); }

    TempDir root;
};

TEST_F(Example, ConfigValues) {
    CFiConfigParamDataList values;
    values.entries()["devices"].key = "devices";
    values.entries()["devices"].valueList = {"a", "b"};
    values.entries()["mode"].key = "mode";
    values.entries()["mode"].value = "x&y";
    values.updateXML();
    EXPECT_EQ(example("config-values"), values.getXML());

    CFiConfigParamDataList read(example("config-values").c_str());
    EXPECT_EQ(read.getParamData("mode")->value, "x&y");
    EXPECT_THAT(read.getParamData("devices")->valueList, ElementsAre("a", "b"));
}

TEST_F(Example, ConfigDescriptions) {
    CFiConfigParamInfoList descriptions;
    CFiConfigParamInfo& retries = descriptions.entries()["retries"];
    retries.key = "retries";
    retries.usageType = FI_USAGE_AUTO;
    retries.messageId = "MSG_RETRIES";
    retries.dataType = FI_DATA_INT;
    retries.rangeMin = 1;
    retries.rangeMax = 5;
    retries.defaultValue = "3";
    CFiConfigParamInfo& speed = descriptions.entries()["speed"];
    speed.key = "speed";
    speed.usageType = FI_USAGE_SELECT;
    speed.isSharedParam = true;
    speed.dataType = FI_DATA_STRING_LIST;
    speed.selectionList = {"slow", "fast"};
    speed.defaultValue = "slow";
    descriptions.updateXML();
    EXPECT_EQ(example("config-descriptions"), descriptions.getXML());

    CFiConfigParamInfoList read(example("config-descriptions").c_str());
    read.updateXML();
    EXPECT_EQ(example("config-descriptions"), read.getXML());
}

// What the page says of all XML that is read.
TEST(XmlInGeneral, IsReadAsThePageSays) {
    const auto read = [](const std::string& head, const std::string& entries) {
        CFiConfigParamDataList list;
        const std::string text = head + "<ConfigValueList>" + entries + "</ConfigValueList>";
        EXPECT_EQ(list.parse(text.c_str()), 0) << text;
        return list.getParamData("k")->value;
    };
    const auto entry = [](const std::string& value) {
        return "<ConfigValue><key>k</key><value>" + value + "</value></ConfigValue>";
    };
    EXPECT_EQ(read("", entry("\xC3\xA4")), "\xC3\xA4");
    EXPECT_EQ(read("<?xml version='1.0' encoding='ISO-8859-1'?>", entry("\xE4")), "\xC3\xA4");
    EXPECT_EQ(read("", entry("a") + entry("b")), "b");
    EXPECT_EQ(read("<!-- who -->", " \n<other x='1'>?</other>\t" + entry("a")), "a");
}

TEST_F(Example, FormatOptions) {
    CFiFormatOptionList options;
    options.entries()["fmt"].key = "fmt";
    options.entries()["fmt"].value = "raw";
    options.updateXML();
    EXPECT_EQ(example("format-options"), options.getXML());
}

TEST_F(Example, TargetSelection) {
    char name[] = "UDID##ACME##ARRAY7##ENC1##00A3";
    kzfi_objid node{name, sizeof name, 3};
    CFiPrivateDataPtr record(new CFiPrivateData(&node));
    auto& values = record->configDataList(1)->entries();
    values["snapshot_resource_spec"].key = "snapshot_resource_spec";
    values["snapshot_resource_spec"].value = example("target-selection");
    EXPECT_EQ(record->selectTargetFromConfigData(), KZFI_OK);
    EXPECT_THAT(record->getTargets(), ElementsAre("00B7", "00B8"));
    EXPECT_EQ(record->getConfiguredTarget(), "UDID##ACME##ARRAY7##ENC1##00B7");
}

TEST_F(Example, Udid) {
    const CFiUdid udid(line("udid").c_str());
    EXPECT_EQ(udid.getUdidString(), line("udid"));
    EXPECT_THAT((std::vector<std::string>{udid.field1, udid.field2, udid.field3, udid.field4}),
                ElementsAre("ACME", "ARRAY7", "ENC1", "00A3"));
}

TEST_F(Example, SerializedMessage) {
    CFiIcuMessage message("MSG_ERROR_HELLO_0001", 3, __FILE__, __LINE__,
                          {icu::Formattable("/dev/disk1"), icu::Formattable(42)});
    const kfi_msg_info* const info = message.serialize();
    EXPECT_EQ(example("serialized-message"), info->text);
    EXPECT_EQ(example("serialized-message").size(), info->length);
}

/// Keeps the plain texts that are pushed to an error manager.
class TextKeeper : public CFiErrorHandlerBase {
  public:
    void handleMessage(CFiMessagePtr) override {}
    void handleText(const char* text, kfi_eseverity severity) override {
        kept.emplace_back(text, severity);
    }
    std::vector<std::pair<std::string, kfi_eseverity>> kept;
};

TEST_F(Example, CallbackMessage) {
    using namespace Orvanta::Stoneleaf::Scf;
    TextKeeper keeper;
    CFiErrorManager manager;
    manager.registerHandler(&keeper);
    AutoDereference<StatusMsg> message(new StatusMsg);
    message->setCode(7);
    message->setText("a b");
    manager.reportStatusMsg(message, "vol1");
    EXPECT_THAT(keeper.kept,
                ElementsAre(std::make_pair(line("callback-message"), kfi_eseverity{5})));
}

TEST_F(Example, NodeState) {
    char name[] = "/dev/sdb";
    kzfi_objid node{name, sizeof name, 3};
    CFiPrivateDataPtr record(new CFiPrivateData(&node));
    record->setSessionId("S1");
    kfi_blob blob{};
    EXPECT_EQ(record->getNodeState(&blob), 0);
    EXPECT_EQ(example("node-state"), static_cast<char*>(blob.data));
    EXPECT_EQ(example("node-state").size() + 1, blob.size);
    kzfi_free_buf(blob.data, blob.size);
}

/// The digits of time, process and thread are another run's.
std::string masked(const std::string& lines) {
    static const std::regex time("\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{6}");
    static const std::regex id("(Pid|Thread id) - \\d+");
    return std::regex_replace(std::regex_replace(lines, time, "TIME"), id, "$1 - N");
}

TEST_F(Example, TraceLine) {
    const std::string folder = root.path("trace/");
    std::filesystem::create_directory(folder);
    CFiTraceLogPtr log(new CFiTraceLog);
    log->initialize("hello", folder.c_str(), "hello.log", 6, false);
    { const CFiTraceLogFunction scope(log, "init", 42, "/hello.cpp"); }
    const std::filesystem::directory_iterator file(folder);
    ASSERT_NE(file, std::filesystem::directory_iterator());
    EXPECT_TRUE(
        std::regex_match(file->path().filename().string(), std::regex("hello\\.log\\.\\d{6}")));
    const std::string written = readFile(file->path());
    EXPECT_EQ(masked(example("trace-line")), masked(written));
    EXPECT_EQ(written.find("<Pid - " + std::to_string(getpid()) + " / "), 27u);
}

TEST_F(Example, TraceHandlerLine) {
    static std::string got;
    CFiTraceLog log;
    log.registerLogHandler([](const char* text, int) { got = text; }, 1);
    log.trace(1, "ERROR: %s", "no room");
    EXPECT_EQ(masked(line("trace-handler-line")), masked(got));
}

TEST_F(Example, TraceCopy) {
    TextKeeper keeper;
    const CFiErrorManagerPtr manager(new CFiErrorManager);
    manager->registerHandler(&keeper);
    CFiTraceLog log;
    log.setErrorManager(manager);
    const std::string folder = root.path("trace/");
    std::filesystem::create_directory(folder);
    log.initialize("hello", folder.c_str(), "hello.log", 1, false);
    for (int level = 1; level <= 9; ++level) {
        log.trace(level, "ERROR: no room");
    }
    const std::vector<kfi_eseverity> severities = {3, 2, 1, 4, 4, 4, 6, 7, 4};
    ASSERT_EQ(keeper.kept.size(), severities.size());
    for (std::size_t i = 0; i < severities.size(); ++i) {
        const bool bare = i + 1 == 7 || i + 1 == 8;
        EXPECT_EQ(bare ? "ERROR: no room\n" : masked(example("trace-copy")),
                  masked(keeper.kept[i].first));
        EXPECT_EQ(keeper.kept[i].second, severities[i]) << i + 1;
    }
}

TEST_F(Example, MainFile) {
    writeFile(root.path("kw.conf"), example("main-file"));
    tstring folder = (root.path() + "/").c_str();
    tstring file = "kw.conf";
    int level = 0;
    EXPECT_EQ(CFiTraceLog::getKwfisTraceLevel(folder, file, level), 0);
    EXPECT_EQ(level, 9);
}

TEST_F(Example, RegistryFile) {
    const std::string folder = root.path("lib/kzfi/configfiles/");
    writeFile(folder + "acme.conf", example("registry-file"));
    CFiConfiguration read("acme");
    tstring text;
    unsigned int number = 0;
    EXPECT_EQ(read.getStringValue("DEBUG_TRACE_INFO", "TRACEDIR", text), 0);
    EXPECT_STREQ(text.c_str(), "/var/log/acme/");
    EXPECT_EQ(read.getIntegerValue("DEBUG_TRACE_INFO", "TRACELEVEL", number), 0);
    EXPECT_EQ(number, 6u);

    CFiConfiguration written(folder.c_str(), "other.conf", false);
    ACE_Configuration_Section_Key key;
    ASSERT_EQ(written.openSection("DEBUG_TRACE_INFO", key, 1), 0);
    written.setStringValue("TRACEDIR", "/var/log/acme/");
    written.setStringValue("TRACEFILE", "acme.log");
    written.setIntegerValue("TRACELEVEL", 6);
    written.setIntegerValue("TRACERUNTIMEUPDATE", 0);
    written.setIntegerValue("TRACESTDOUT", 0);
    ASSERT_EQ(written.exportConfig(), 0);
    EXPECT_THAT(sortedLines(readFile(folder + "other.conf")),
                ElementsAreArray(sortedLines(example("registry-file"))));
}

/// What the page says of a registry file's other lines: whether the import gives 0, and the number
/// "Z" that is held then.
TEST(RegistryFile, IsReadAsThePageSays) {
    struct Row {
        std::string text;
        bool read;
        int held;
    };
    const std::string number = "\"Z\"=dword:00000007\n";
    const std::string name(255, 'n');
    const Row rows[] = {
        {"[S]\r\n\"Z\"=dword:00000007\r\n", true, 7},
        {"\n[S]\n\n; a remark\nnonsense\n\"T\"=word:1\n" + number, true, 7},
        {"[S]\n" + number + "\"Z\"=dword:000000ff\n", true, 255},
        {"[S]\n  " + number, true, -1},
        {"[S]\n\"Z\"=dword:00000007", true, -1},
        {"[S]\n\"" + name + "\"=dword:00000001\n" + number, true, 7},
        {"[S]\n\"" + name + "n\"=dword:00000001\n" + number, false, -1},
        {"[" + name + "]\n[S]\n" + number, true, 7},
        {"[" + name + "n]\n[S]\n" + number, false, -1},
        {"\"T\"=\"t\"\n[S]\n" + number, false, -1},
        {"[S\n" + number, false, -1},
        {"[S]\n" + number + "[s]\n", false, 7},
    };
    const TempDir folder;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        writeFile(folder.path("x.conf"), row.text);
        CFiConfiguration configuration;
        const int status = configuration.importConfig((folder.path() + "/").c_str(), "x.conf");
        EXPECT_EQ(status == 0, row.read) << status;
        unsigned int held = 0;
        const bool found = configuration.getIntegerValue("S", "Z", held) == 0;
        EXPECT_EQ(found ? static_cast<int>(held) : -1, row.held);
    }
    writeFile(folder.path("x.conf"), "[S]\n\"T\"=\"a\"b\"\n");
    CFiConfiguration configuration;
    configuration.importConfig((folder.path() + "/").c_str(), "x.conf");
    tstring text;
    EXPECT_EQ(configuration.getStringValue("S", "T", text), 0);
    EXPECT_STREQ(text.c_str(), "a\"b");
}

TEST_F(Example, CredentialsText) {
    CFiCredentialsParser parser;
    std::vector<SFiCredential> found;
    parser.parse(example("credentials-text"), "ACME", "BIGDISK", found, false);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_STREQ(found[0].hostname.c_str(), "cellar.example.org");
    EXPECT_STREQ(found[0].username.c_str(), "admin");
    EXPECT_STREQ(found[0].password.c_str(), "secret");
    EXPECT_EQ(found[0].port, 22);
    EXPECT_STREQ(found[0].data.c_str(), "anything");
}

TEST_F(Example, LunRecord) {
    CFiPblmOps numbers;
    const std::string record = root.path("record");
    EXPECT_EQ(numbers.setKeyValue(record.c_str(), {"16"}, nullptr), 0);
    EXPECT_EQ(readFile(record), line("lun-record"));
    int number = 0;
    EXPECT_EQ(numbers.getKeyValue(record.c_str(), number), 0);
    EXPECT_EQ(number, 16);
}

// Each example of the documents has its test above, named as the block is.
TEST(Examples, AreAllCompared) {
    std::set<std::string> tests;
    const testing::TestSuite* suite = nullptr;
    for (int i = 0; i < testing::UnitTest::GetInstance()->total_test_suite_count(); ++i) {
        suite = testing::UnitTest::GetInstance()->GetTestSuite(i);
        for (int j = 0; std::string(suite->name()) == "Example" && j < suite->total_test_count();
             ++j) {
            tests.insert(suite->GetTestInfo(j)->name());
        }
    }
    std::set<std::string> examples;
    for (const std::string& document : documents()) {
        for (const Block& block : blocksOf(document, "example")) {
            std::string test;
            for (std::size_t i = 0; i < block.argument.size(); ++i) {
                const bool startsWord = i == 0 || block.argument[i - 1] == '-';
                test += static_cast<char>(startsWord ? std::toupper(block.argument[i])
                                                     : block.argument[i]);
            }
            test.erase(std::remove(test.begin(), test.end(), '-'), test.end());
            EXPECT_TRUE(examples.insert(test).second) << placeOf(block) << " is there twice";
        }
    }
    EXPECT_EQ(examples, tests);
}

} // namespace
