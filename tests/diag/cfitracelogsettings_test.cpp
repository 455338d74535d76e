// How a trace log is set up from the plug-in's configuration file.
#include <sys/stat.h>

#include "cfierrormgr.h"
#include "system_calls.h"
#include "trace_fixture.h"

using namespace kzfi_pdk_4_4;
using kzfi_tests::LocalTime;
using kzfi_tests::Printed;
using kzfi_tests::readFile;
using kzfi_tests::writeFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

namespace {

class CFiTraceLogSettingsTest : public kzfi_tests::TraceFixture {
  protected:
    static std::string text(const char* key, const std::string& value) {
        return std::string("\"") + key + "\"=\"" + value + "\"\n";
    }
    static std::string number(const char* key, const char* hexValue) {
        return std::string("\"") + key + "\"=dword:" + hexValue + "\n";
    }
    // What the configuration file holds behind the key's "=".
    std::string setting(const char* key) const {
        std::istringstream lines(readFile(configFile()));
        const std::string head = std::string("\"") + key + "\"=";
        for (std::string line; std::getline(lines, line);) {
            if (line.compare(0, head.size(), head) == 0) {
                return line.substr(head.size());
            }
        }
        return "(none)";
    }
    void expectSettings(const std::string& dir, const std::string& file, const char* level,
                        const char* echo, const char* runtime) {
        EXPECT_EQ("\"" + dir + "\"", setting("TRACEDIR"));
        EXPECT_EQ("\"" + file + "\"", setting("TRACEFILE"));
        EXPECT_EQ(std::string("dword:") + level, setting("TRACELEVEL"));
        EXPECT_EQ(std::string("dword:") + echo, setting("TRACESTDOUT"));
        EXPECT_EQ(std::string("dword:") + runtime, setting("TRACERUNTIMEUPDATE"));
    }
    static std::string defaultDir() { return "/usr/tarnex/stoneleaf/logs/kwfis/"; }
    // The levels of 1 to 9 that reach the file.
    std::string levelsWritten(CFiTraceLog& target) {
        fs::remove(traceFile());
        for (int level = 1; level <= 9; ++level) {
            target.trace(level, "%d", level);
        }
        std::string levels;
        for (const std::string& message : messages()) {
            levels += message;
        }
        return levels;
    }
};

// ---- First start ----

TEST_F(CFiTraceLogSettingsTest, FirstLogWritesTheDefaultsAndStaysOff) {
    Printed printed;
    initialize(log, 5, true);
    log.trace(1, "not written");
    EXPECT_EQ("", printed.text());
    expectSettings(defaultDir(), "plug.log", "00000005", "00000000", "00000000");
    EXPECT_FALSE(fs::exists(defaultTraceFile()));
}

TEST_F(CFiTraceLogSettingsTest, SecondLogIsOnAtTheDefaultLocation) {
    initialize(log, 5);
    CFiTraceLog second;
    Printed printed;
    initialize(second, 1);
    EXPECT_EQ("Failed to lstat " + defaultTraceFile() + "\n", printed.text());
    EXPECT_EQ("", readFile(defaultTraceFile()));
    EXPECT_TRUE(fs::exists(defaultTraceFile()));
    second.trace(5, "hello");
    EXPECT_THAT(messagesOf(readFile(defaultTraceFile())), ElementsAre("hello"));
}

TEST_F(CFiTraceLogSettingsTest, MissingConfigurationFolderLeavesTheLogOff) {
    kzfi_platform_set_install_root(temp.path("missing").c_str());
    Printed printed;
    initialize(log, 5);
    log.trace(1, "not written");
    EXPECT_EQ("", printed.text());
    EXPECT_FALSE(fs::exists(temp.path("missing")));
}

TEST_F(CFiTraceLogSettingsTest, OtherSectionsAreKept) {
    writeFile(configFile(), "[OTHER]\n\"k\"=\"v\"\n");
    initialize(log, 5);
    EXPECT_EQ("\"v\"", setting("k"));
    EXPECT_EQ("dword:00000005", setting("TRACELEVEL"));
}

// ---- Directory and file given ----

TEST_F(CFiTraceLogSettingsTest, GivenLocationOverwritesTheConfiguration) {
    configure(text("TRACEDIR", "/old") + text("TRACEFILE", "old") +
              number("TRACELEVEL", "00000001") + number("TRACESTDOUT", "00000001") +
              number("TRACERUNTIMEUPDATE", "00000001") + text("OTHER", "kept"));
    Printed printed;
    log.initialize("plug", traceDir().c_str(), "t", 4, false);
    EXPECT_EQ("Failed to lstat " + traceFile() + "\n", printed.text());
    expectSettings(traceDir(), "t", "00000004", "00000000", "00000000");
    EXPECT_EQ("\"kept\"", setting("OTHER"));
    EXPECT_EQ("1234", levelsWritten(log));
}

TEST_F(CFiTraceLogSettingsTest, GivenLocationIsOnAtOnceWithoutAConfiguration) {
    Printed ignored;
    log.initialize("plug", traceDir().c_str(), "t", 2, false);
    expectSettings(traceDir(), "t", "00000002", "00000000", "00000000");
    EXPECT_EQ("12", levelsWritten(log));
}

TEST_F(CFiTraceLogSettingsTest, OneOfTheTwoAloneIsIgnored) {
    configureLevel("00000003", number("TRACESTDOUT", "00000000"));
    for (const auto& given : {std::make_pair("", "x"), std::make_pair("/tmp", "")}) {
        CFiTraceLog other;
        Printed ignored;
        other.initialize("plug", given.first, given.second, 6, false);
        EXPECT_EQ("123", levelsWritten(other));
        EXPECT_EQ("\"t\"", setting("TRACEFILE"));
    }
}

TEST_F(CFiTraceLogSettingsTest, EmptyLocationDoesNotOverwrite) {
    const std::string keys = "\"TRACEDIR\"=\"" + traceDir() +
                             "\"\n\"TRACEFILE\"=\"t\"\n\"TRACELEVEL\"=dword:00000002\n"
                             "\"TRACESTDOUT\"=dword:00000000\n"
                             "\"TRACERUNTIMEUPDATE\"=dword:00000001\n";
    configure(keys);
    Printed ignored;
    initialize(log, 6);
    EXPECT_EQ("[DEBUG_TRACE_INFO]\n" + keys, readFile(configFile()));
}

TEST_F(CFiTraceLogSettingsTest, LineBreaksInALocationCannotAddKeys) {
    const std::string planted = traceDir() + "\"\n\"PLANTED\"=\"x";
    Printed ignored;
    log.initialize("plug", planted.c_str(), planted.c_str(), 3, false);
    EXPECT_EQ("(none)", setting("PLANTED"));
    expectSettings(defaultDir(), "plug.log", "00000003", "00000000", "00000000");
}

// ---- Single keys ----

TEST_F(CFiTraceLogSettingsTest, MissingLocationIsCompletedWithTheDefault) {
    configure(number("TRACELEVEL", "00000003") + number("TRACESTDOUT", "00000000") +
              number("TRACERUNTIMEUPDATE", "00000000"));
    Printed printed;
    initialize(log);
    EXPECT_EQ("Failed to lstat " + defaultTraceFile() + "\n", printed.text());
    expectSettings(defaultDir(), "plug.log", "00000003", "00000000", "00000000");
}

TEST_F(CFiTraceLogSettingsTest, MissingLevelIsStoredAndTheLogStaysOff) {
    configure(text("TRACEDIR", traceDir()) + text("TRACEFILE", "t"));
    Printed printed;
    initialize(log, 5);
    EXPECT_EQ("", printed.text());
    EXPECT_EQ("dword:00000005", setting("TRACELEVEL"));
    EXPECT_EQ("", levelsWritten(log));

    CFiTraceLog second;
    Printed ignored;
    initialize(second, 1);
    EXPECT_EQ("12345", levelsWritten(second));
}

TEST_F(CFiTraceLogSettingsTest, MissingEchoIsStoredAsAskedFor) {
    for (const bool echo : {false, true}) {
        configureLevel("00000003");
        CFiTraceLog other;
        Printed ignored;
        initialize(other, 3, echo);
        EXPECT_EQ(echo ? "dword:00000001" : "dword:00000000", setting("TRACESTDOUT"));
        EXPECT_EQ("dword:00000000", setting("TRACERUNTIMEUPDATE"));
    }
}

TEST_F(CFiTraceLogSettingsTest, OnlyAStoredOneSwitchesTheEchoAndNothingSwitchesItOff) {
    const struct {
        const char* stored;
        bool asked;
        bool echoes;
    } cases[] = {{"00000000", false, false}, {"00000001", false, true}, {"00000002", false, false},
                 {"00000000", true, true},   {"00000001", true, true},  {"00000002", true, true}};
    for (const auto& flag : cases) {
        configureLevel("00000003", number("TRACESTDOUT", flag.stored));
        CFiTraceLog other;
        {
            Printed ignored;
            initialize(other, 3, flag.asked);
        }
        Printed printed;
        other.trace(1, "x");
        EXPECT_EQ(flag.echoes, !printed.text().empty()) << flag.stored << flag.asked;
        EXPECT_EQ(std::string("dword:") + flag.stored, setting("TRACESTDOUT"));
    }
}

TEST_F(CFiTraceLogSettingsTest, ValueOfTheOtherKindCountsAsMissing) {
    configure(number("TRACEDIR", "00000001") + text("TRACEFILE", "t") + text("TRACELEVEL", "3") +
              text("TRACESTDOUT", "1") + text("TRACERUNTIMEUPDATE", "1"));
    initialize(log, 4);
    expectSettings(defaultDir(), "t", "00000004", "00000000", "00000000");
}

TEST_F(CFiTraceLogSettingsTest, LastLineWithoutALineEndCountsAsMissing) {
    configureLevel("00000003",
                   number("TRACESTDOUT", "00000000") + "\"TRACERUNTIMEUPDATE\"=dword:00000001");
    Printed ignored;
    initialize(log);
    expectSettings(traceDir(), "t", "00000003", "00000000", "00000000");
}

// ---- Level ----

TEST_F(CFiTraceLogSettingsTest, LevelOfTheConfigurationHolds) {
    const struct {
        const char* stored;
        const char* levels;
    } cases[] = {{"00000001", "1"},         {"00000002", "12"}, {"00000006", "123456"},
                 {"0000000c", "123456789"}, {"ffffffff", ""},   {"80000000", ""}};
    for (const auto& level : cases) {
        configureLevel(level.stored);
        CFiTraceLog other;
        Printed ignored;
        initialize(other, 3);
        EXPECT_TRUE(fs::exists(traceFile())) << level.stored;
        EXPECT_EQ(level.levels, levelsWritten(other)) << level.stored;
    }
}

TEST_F(CFiTraceLogSettingsTest, LevelZeroMakesNoFileAndWritesNothing) {
    configureLevel("00000000");
    Printed printed;
    initialize(log, 3, true);
    log.trace(0, "zero");
    log.trace(-1, "less");
    log.trace(1, "one");
    EXPECT_EQ("", printed.text());
    EXPECT_FALSE(fs::exists(traceFile()));
}

TEST_F(CFiTraceLogSettingsTest, HandlerSwitchesALogOfLevelZeroOn) {
    configureLevel("00000000");
    initialize(log);
    static std::vector<int> levels;
    levels.clear();
    log.registerLogHandler([](const char*, int level) { levels.push_back(level); }, 2);
    for (int level = 1; level <= 3; ++level) {
        log.trace(level, "x");
    }
    EXPECT_THAT(levels, ElementsAre(1, 2));
    EXPECT_FALSE(fs::exists(traceFile()));
}

TEST_F(CFiTraceLogSettingsTest, LoadingTellsOnOrOffOnly) {
    const struct {
        const char* stored;
        int level;
    } cases[] = {
        {"00000000", 0}, {"00000001", 1}, {"00000002", 1}, {"00000009", 1}, {"ffffffff", 1}};
    for (const auto& loaded : cases) {
        configureLevel(loaded.stored);
        tstring dir("old");
        tstring file("old");
        int level = 3;
        CFiTraceLog other;
        initialize(other);
        other.loadFromConfigFile(dir, file, level);
        EXPECT_EQ(traceDir(), dir.c_str());
        EXPECT_STREQ("t", file.c_str());
        EXPECT_EQ(loaded.level, level) << loaded.stored;
    }
}

TEST_F(CFiTraceLogSettingsTest, LoadingWithoutASectionGivesTheDefaultsAndOff) {
    tstring dir("old");
    tstring file("old");
    int level = 3;
    log.loadFromConfigFile(dir, file, level);
    EXPECT_EQ(defaultDir(), dir.c_str());
    EXPECT_STREQ(".log", file.c_str()) << "the log has no name yet";
    EXPECT_EQ(0, level);
    EXPECT_TRUE(fs::exists(temp.path("lib/kzfi/configfiles/.conf")));
}

TEST_F(CFiTraceLogSettingsTest, SettingsThatWereGivenAreStoredAndLoaded) {
    tstring dir("/given");
    tstring file("given");
    int level = 3;
    log.initTraceSettings(dir, file, level);
    EXPECT_STREQ("/given", dir.c_str());
    EXPECT_STREQ("given", file.c_str());
    EXPECT_EQ(1, level);
}

// ---- Updates ----

TEST_F(CFiTraceLogSettingsTest, LevelIsReadAgain) {
    start(3);
    configureLevel("00000005");
    log.updateTraceLevelFromConfigFile();
    EXPECT_EQ("12345", levelsWritten(log));
    configureLevel("fffffffe");
    log.updateTraceLevelFromConfigFile();
    EXPECT_EQ("", levelsWritten(log));
}

TEST_F(CFiTraceLogSettingsTest, MissingKeyOrFileLeavesTheLevel) {
    start(3);
    configure(text("OTHER", "x"));
    log.updateTraceLevelFromConfigFile();
    EXPECT_EQ("123", levelsWritten(log));
    fs::remove(configFile());
    log.updateTraceLevelFromConfigFile();
    EXPECT_EQ("123", levelsWritten(log));
    EXPECT_FALSE(fs::exists(configFile()));
}

// A section that differs in case only can be neither opened nor made.

TEST_F(CFiTraceLogSettingsTest, SectionThatCannotBeOpenedMeansLevelOne) {
    start(3);
    writeFile(configFile(), "[debug_trace_info]\n" + number("TRACELEVEL", "00000007"));
    log.updateTraceLevelFromConfigFile();
    EXPECT_EQ("1", levelsWritten(log));
}

TEST_F(CFiTraceLogSettingsTest, UpdateSavesTheFileEvenWithoutTheSection) {
    start(3);
    writeFile(configFile(), "# comment\n[debug_trace_info]\n" + text("k", "v"));
    log.updateConfigFile("/d", "f", 4);
    EXPECT_THAT(readFile(configFile()), Not(HasSubstr("comment")));
    EXPECT_EQ("\"v\"", setting("k"));
    EXPECT_EQ("(none)", setting("TRACEDIR"));
}

TEST_F(CFiTraceLogSettingsTest, UpdateStoresAllFiveKeys) {
    start(3);
    log.updateConfigFile("/d", "f", -1);
    expectSettings("/d", "f", "ffffffff", "00000000", "00000000");
}

// ---- The trace file at the start ----

TEST_F(CFiTraceLogSettingsTest, ExistingFileIsContinued) {
    configureLevel("00000003");
    writeFile(traceFile(), "old\n");
    Printed printed;
    initialize(log);
    EXPECT_EQ("", printed.text());
    EXPECT_EQ("old\n", written());
    log.trace(1, "new");
    EXPECT_EQ("old\n", written().substr(0, 4));
    EXPECT_THAT(messagesOf(written().substr(4)), ElementsAre("new"));
}

TEST_F(CFiTraceLogSettingsTest, LinkAtTodaysPathIsRemoved) {
    configureLevel("00000003");
    const std::string victim = temp.path("victim");
    writeFile(victim, "precious");
    for (const std::string& target : {victim, temp.path("dangling")}) {
        fs::remove(traceFile());
        fs::create_symlink(target, traceFile());
        CFiTraceLog other;
        Printed printed;
        initialize(other);
        EXPECT_EQ("A symbolic link with the name " + traceFile() + " exists.Removing link\n",
                  printed.text());
        other.trace(1, "x");
        EXPECT_FALSE(fs::is_symlink(traceFile()));
        EXPECT_THAT(messages(), ElementsAre("x"));
    }
    EXPECT_EQ("precious", readFile(victim));
    EXPECT_FALSE(fs::exists(temp.path("dangling")));
}

TEST_F(CFiTraceLogSettingsTest, FileThatCannotBeOpenedIsToldAndTheLogStaysOff) {
    configureLevel("00000003");
    fs::remove(traceDir());
    Printed printed;
    initialize(log);
    EXPECT_EQ("Failed to lstat " + traceFile() + "\n[CFiTraceLog] Error: Tracefile [" +
                  traceFile() + "] initialization failed.[" + traceDir() + "][t]\n",
              printed.text());
    fs::create_directory(traceDir());
    log.trace(1, "x");
    EXPECT_FALSE(fs::exists(traceFile()));
}

TEST_F(CFiTraceLogSettingsTest, DirectoryAtTodaysPathCannotBeOpened) {
    configureLevel("00000003");
    fs::create_directory(traceFile());
    Printed printed;
    initialize(log);
    EXPECT_EQ("[CFiTraceLog] Error: Tracefile [" + traceFile() + "] initialization failed.[" +
                  traceDir() + "][t]\n",
              printed.text());
}

TEST_F(CFiTraceLogSettingsTest, LinkThatCannotBeRemovedIsFollowed) {
    configureLevel("00000003");
    fs::create_symlink(temp.path("target"), traceFile());
    const kzfi_tests::FailingUnlink failing;
    Printed printed;
    initialize(log);
    EXPECT_EQ("A symbolic link with the name " + traceFile() +
                  " exists.Removing link\nFailed to unlink trace file\n",
              printed.text());
    log.trace(1, "x");
    EXPECT_THAT(messagesOf(readFile(temp.path("target"))), ElementsAre("x"));
}

TEST_F(CFiTraceLogSettingsTest, LinkThatAppearsBehindTheCheckIsNotFollowed) {
    configureLevel("00000003");
    const std::string path = traceFile();
    const kzfi_tests::AfterLstat planted(path,
                                         [&] { fs::create_symlink(temp.path("victim"), path); });
    Printed printed;
    initialize(log);
    EXPECT_EQ("Failed to lstat " + path + "\n[CFiTraceLog] Error: Tracefile [" + path +
                  "] initialization failed.[" + traceDir() + "][t]\n",
              printed.text());
    EXPECT_FALSE(fs::exists(temp.path("victim")));
}

TEST_F(CFiTraceLogSettingsTest, WithoutDirectoryAndFileNothingIsMadeInTheRoot) {
    configure(text("TRACEDIR", "") + text("TRACEFILE", "") + number("TRACELEVEL", "00000003"));
    const std::string path = "/." + LocalTime::date();
    Printed printed;
    initialize(log);
    log.trace(1, "x");
    EXPECT_EQ("[CFiTraceLog] Error: Tracefile [" + path + "] initialization failed.[][]\n",
              printed.text());
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(CFiTraceLogSettingsTest, NewFileHasModeOfTheUmask) {
    configureLevel("00000003");
    const mode_t old = umask(027);
    Printed ignored;
    initialize(log);
    umask(old);
    struct stat status = {};
    ASSERT_EQ(0, stat(traceFile().c_str(), &status));
    EXPECT_EQ(0640U, status.st_mode & 07777U);
}

// ---- A second start ----

TEST_F(CFiTraceLogSettingsTest, SecondInitializeNeverSwitchesOff) {
    start(3, true);
    configureLevel("00000000", number("TRACESTDOUT", "00000000"));
    initialize(log, 3, false);
    Printed printed;
    log.trace(0, "still on");
    log.trace(1, "above the level");
    EXPECT_EQ("", printed.text()) << "the echo follows the second call";
    EXPECT_THAT(messages(), ElementsAre("still on"));
}

TEST_F(CFiTraceLogSettingsTest, SecondInitializeMovesTheLog) {
    start(3);
    Printed ignored;
    const std::string elsewhere = temp.path("elsewhere");
    fs::create_directory(elsewhere);
    log.initialize("plug", elsewhere.c_str(), "u", 3, false);
    log.trace(1, "moved");
    EXPECT_EQ("", written());
    EXPECT_THAT(messagesOf(readFile(elsewhere + "/u." + LocalTime::date())), ElementsAre("moved"));
}

// ---- Exceptions of the configuration ----

TEST_F(CFiTraceLogSettingsTest, UnexpectedExceptionIsToldAndTheCallersSettingsHold) {
    kzfi_tests::throwRuntimeErrorFromHost(1);
    Printed printed;
    log.initialize("plug", traceDir().c_str(), "t", 2, false);
    EXPECT_EQ("ERROR: CFiTraceLog: Failed to initialize log settings\nFailed to lstat " +
                  traceFile() + "\n",
              printed.text());
    EXPECT_EQ("12", levelsWritten(log));
}

TEST_F(CFiTraceLogSettingsTest, CFiErrorOfLoadingIsIgnored) {
    kzfi_tests::throwCFiErrorFromHost(1);
    Printed printed;
    initialize(log, 0);
    EXPECT_EQ("", printed.text());
}

TEST_F(CFiTraceLogSettingsTest, CFiErrorOfStoringIsTold) {
    kzfi_tests::throwCFiErrorFromHost(1);
    Printed printed;
    log.initialize("plug", traceDir().c_str(), "t", 0, false);
    EXPECT_EQ("ERROR: CFiTraceLog: Failed to initialize log settings\n", printed.text());
}

TEST_F(CFiTraceLogSettingsTest, UpdatesLetExceptionsPass) {
    start(3);
    kzfi_tests::throwRuntimeErrorFromHost(2);
    EXPECT_THROW(log.updateTraceLevelFromConfigFile(), std::runtime_error);
    EXPECT_THROW(log.updateConfigFile("d", "f", 1), std::runtime_error);
}

// ---- Symbolic links ----

TEST_F(CFiTraceLogSettingsTest, SymbolicLinksAreTold) {
    writeFile(temp.path("file"), "");
    fs::create_symlink(temp.path("file"), temp.path("link"));
    fs::create_symlink(temp.path("nowhere"), temp.path("dangling"));
    Printed printed;
    EXPECT_FALSE(IsSymbolicLink(temp.path("file").c_str()));
    EXPECT_FALSE(IsSymbolicLink(temp.path().c_str()));
    EXPECT_TRUE(IsSymbolicLink(temp.path("link").c_str()));
    EXPECT_TRUE(IsSymbolicLink(temp.path("dangling").c_str()));
    EXPECT_EQ("", printed.text());
}

TEST_F(CFiTraceLogSettingsTest, PathThatDoesNotExistIsNoLink) {
    Printed printed;
    EXPECT_FALSE(IsSymbolicLink(temp.path("nothing").c_str()));
    EXPECT_EQ(0, RemoveSymbolicLink(temp.path("nothing").c_str()));
    const std::string line = "Failed to lstat " + temp.path("nothing") + "\n";
    EXPECT_EQ(line + line, printed.text());
}

TEST_F(CFiTraceLogSettingsTest, NullPathCountsAsEmpty) {
    Printed printed;
    EXPECT_FALSE(IsSymbolicLink(nullptr));
    EXPECT_EQ(0, RemoveSymbolicLink(nullptr));
    EXPECT_EQ("Failed to lstat \nFailed to lstat \n", printed.text());
}

TEST_F(CFiTraceLogSettingsTest, OnlyALinkIsRemoved) {
    writeFile(temp.path("file"), "precious");
    fs::create_symlink(temp.path("file"), temp.path("link"));
    Printed printed;
    EXPECT_EQ(0, RemoveSymbolicLink(temp.path("file").c_str()));
    EXPECT_EQ(0, RemoveSymbolicLink(temp.path("link").c_str()));
    EXPECT_EQ("A symbolic link with the name " + temp.path("link") + " exists.Removing link\n",
              printed.text());
    EXPECT_FALSE(fs::is_symlink(temp.path("link")));
    EXPECT_EQ("precious", readFile(temp.path("file")));
}

TEST_F(CFiTraceLogSettingsTest, LinkThatCannotBeRemovedIsTold) {
    Printed printed;
    EXPECT_NE(0, RemoveSymbolicLink("/proc/self/exe"));
    EXPECT_EQ("A symbolic link with the name /proc/self/exe exists.Removing link\n"
              "Failed to unlink trace file\n",
              printed.text());
}

} // namespace
