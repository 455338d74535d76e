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

TEST_F(Example, CallbackMessage) {
    class Keeper : public CFiErrorHandlerBase {
      public:
        void handleMessage(CFiMessagePtr) override {}
        void handleText(const char* text, kfi_eseverity severity) override {
            kept = {text, severity};
        }
        std::pair<std::string, kfi_eseverity> kept;
    };
    using namespace Orvanta::Stoneleaf::Scf;
    Keeper keeper;
    CFiErrorManager manager;
    manager.registerHandler(&keeper);
    AutoDereference<StatusMsg> message(new StatusMsg);
    message->setCode(7);
    message->setText("a b");
    manager.reportStatusMsg(message, "vol1");
    EXPECT_EQ(keeper.kept, std::make_pair(line("callback-message"), kfi_eseverity{5}));
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
    static const std::regex head("\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{6} "
                                 "<Pid - \\d+ / Thread id - \\d+> ");
    return std::regex_replace(lines, head, "HEAD ");
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
