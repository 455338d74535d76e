#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "cficonfiguration.h"
#include "cfiudid.h"
#include "support/product_paths.h"
#include "support/temp_dir.h"

using namespace kzfi_pdk_4_4;
using kzfi_tests::TempDir;
namespace fs = std::filesystem;

namespace {

typedef int (*FileInfo)(const tstring&, tstring&, tstring&);

class CFiConfigurationPathToolTest : public testing::Test {
  protected:
    CFiConfigurationPathToolTest() : oldMask(umask(0)) {}
    ~CFiConfigurationPathToolTest() override { umask(oldMask); }

    void useRoot(const std::string& root) { kzfi_platform_set_install_root(root.c_str()); }
    // A root in which the kit's folders can be made.
    std::string useFreshRoot() {
        fs::create_directories(temp.path("lib/kzfi"));
        useRoot(temp.path());
        return temp.path();
    }

    // "DIR|FILE" as the operation gives it.
    std::string ask(FileInfo operation, const char* name) {
        tstring dir("old");
        tstring file("old");
        EXPECT_EQ(0, operation(name, dir, file));
        return std::string(dir.c_str()) + "|" + file.c_str();
    }

    static int modeOf(const std::string& path) {
        struct stat status = {};
        EXPECT_EQ(0, stat(path.c_str(), &status)) << path;
        return static_cast<int>(status.st_mode & 07777);
    }

    kzfi_tests::EmptyProduct product;
    TempDir temp;
    const mode_t oldMask;
};

TEST_F(CFiConfigurationPathToolTest, VerifyTellsWhetherAPathExists) {
    EXPECT_EQ(0, CFiConfigurationPathTool::verify(temp.path().c_str()));
    EXPECT_EQ(-1, CFiConfigurationPathTool::verify(temp.path("nothing").c_str()));
    kzfi_tests::writeFile(temp.path("file"), "");
    EXPECT_EQ(0, CFiConfigurationPathTool::verify(temp.path("file").c_str()));
    EXPECT_EQ(-1, CFiConfigurationPathTool::verify(""));
}

TEST_F(CFiConfigurationPathToolTest, InstallPathIsTheFixedOneWhenTheHostNamesNone) {
    tstring root("old");
    EXPECT_EQ(0, CFiConfigurationPathTool::getInstallPath(root));
    EXPECT_STREQ("/usr/tarnex", root.c_str());
}

TEST_F(CFiConfigurationPathToolTest, InstallPathIsWhatTheHostNames) {
    for (const char* named : {"/opt/x", "/opt/x/", "relative", ""}) {
        useRoot(named);
        tstring root("old");
        EXPECT_EQ(0, CFiConfigurationPathTool::getInstallPath(root));
        EXPECT_STREQ(named, root.c_str());
    }
}

TEST_F(CFiConfigurationPathToolTest, HostsTextIsGivenBackWithItsNul) {
    const std::string root = useFreshRoot();
    tstring dir;
    tstring file;
    CFiConfigurationPathTool::getInstallPath(dir);
    CFiConfigurationPathTool::getConfigFileInfo("p", dir, file);
    CFiConfigurationPathTool::getMessageFileInfo("p", dir, file);
    CFiConfigurationPathTool::getCacheLocationInfo(dir);
    useRoot("");
    CFiConfigurationPathTool::getInstallPath(dir);

    const kzfi_platform_counts counts = kzfi_platform_get_counts();
    EXPECT_EQ(5U, counts.taken);
    EXPECT_EQ(5U, counts.given_back);
    EXPECT_EQ(0U, counts.wrong_size);
    EXPECT_EQ(0U, counts.unknown);
}

TEST_F(CFiConfigurationPathToolTest, TraceLocationAsksForTheRootAndGivesItBack) {
    KZFI_NEEDS_PRIVATE_USR();
    useRoot("/opt/x");
    ask(CFiConfigurationPathTool::getTraceFileInfo, "p");
    const kzfi_platform_counts counts = kzfi_platform_get_counts();
    EXPECT_EQ(1U, counts.taken);
    EXPECT_EQ(1U, counts.given_back);
    EXPECT_EQ(0U, counts.wrong_size);
}

TEST_F(CFiConfigurationPathToolTest, FilesAreNamedBelowTheRoot) {
    const std::string root = useFreshRoot();
    EXPECT_EQ(root + "/lib/kzfi/configfiles/|P.conf",
              ask(CFiConfigurationPathTool::getConfigFileInfo, "P"));
    EXPECT_EQ(root + "/resources/|libmsgs",
              ask(CFiConfigurationPathTool::getMessageFileInfo, "msgs"));
    tstring cache("old");
    EXPECT_EQ(0, CFiConfigurationPathTool::getCacheLocationInfo(cache));
    EXPECT_EQ(root + "/lib/kzfi/cachefiles/", cache.c_str());
}

TEST_F(CFiConfigurationPathToolTest, FilesAreNamedBelowTheFixedRootWhenTheHostNamesNone) {
    KZFI_NEEDS_PRIVATE_USR();
    EXPECT_EQ("/usr/tarnex/lib/kzfi/configfiles/|P.conf",
              ask(CFiConfigurationPathTool::getConfigFileInfo, "P"));
    EXPECT_EQ("/usr/tarnex/resources/|libP",
              ask(CFiConfigurationPathTool::getMessageFileInfo, "P"));
    EXPECT_TRUE(fs::is_directory("/usr/tarnex/resources"));
    // Their parents are missing, which is not told.
    EXPECT_FALSE(fs::exists("/usr/tarnex/lib"));
}

TEST_F(CFiConfigurationPathToolTest, RootIsUsedAsItIs) {
    useRoot(temp.path() + "/");
    EXPECT_EQ(temp.path() + "//resources/|libP",
              ask(CFiConfigurationPathTool::getMessageFileInfo, "P"));
}

TEST_F(CFiConfigurationPathToolTest, TraceFilesDoNotMoveWithTheRoot) {
    KZFI_NEEDS_PRIVATE_USR();
    fs::create_directories("/usr/tarnex/stoneleaf/logs");
    useRoot("/opt/x");
    EXPECT_EQ("/usr/tarnex/stoneleaf/logs/kwfis/|P.log",
              ask(CFiConfigurationPathTool::getTraceFileInfo, "P"));
    EXPECT_EQ(0755, modeOf("/usr/tarnex/stoneleaf/logs/kwfis"));
    EXPECT_EQ("/usr/tarnex/stoneleaf/logs/kwfis/|.log",
              ask(CFiConfigurationPathTool::getTraceFileInfo, ""));
}

TEST_F(CFiConfigurationPathToolTest, TraceFolderIsNotMadeWithoutItsParent) {
    KZFI_NEEDS_PRIVATE_USR();
    EXPECT_EQ("/usr/tarnex/stoneleaf/logs/kwfis/|P.log",
              ask(CFiConfigurationPathTool::getTraceFileInfo, "P"));
    EXPECT_FALSE(fs::exists("/usr/tarnex/stoneleaf"));
}

TEST_F(CFiConfigurationPathToolTest, MissingFolderIsMadeWithMode0755) {
    const std::string root = useFreshRoot();
    ask(CFiConfigurationPathTool::getConfigFileInfo, "P");
    ask(CFiConfigurationPathTool::getMessageFileInfo, "P");
    tstring cache;
    CFiConfigurationPathTool::getCacheLocationInfo(cache);
    EXPECT_EQ(0755, modeOf(root + "/lib/kzfi/configfiles"));
    EXPECT_EQ(0755, modeOf(root + "/resources"));
    EXPECT_EQ(0755, modeOf(root + "/lib/kzfi/cachefiles"));
}

TEST_F(CFiConfigurationPathToolTest, UmaskAppliesToAMissingFolder) {
    const std::string root = useFreshRoot();
    umask(027);
    ask(CFiConfigurationPathTool::getConfigFileInfo, "P");
    EXPECT_EQ(0750, modeOf(root + "/lib/kzfi/configfiles"));
}

TEST_F(CFiConfigurationPathToolTest, FolderThatExistsIsLeftAlone) {
    const std::string root = useFreshRoot();
    fs::create_directory(root + "/resources");
    ASSERT_EQ(0, chmod((root + "/resources").c_str(), 0700));
    ask(CFiConfigurationPathTool::getMessageFileInfo, "P");
    EXPECT_EQ(0700, modeOf(root + "/resources"));
}

TEST_F(CFiConfigurationPathToolTest, OnlyOneLevelIsMadeAndAFailureIsNotTold) {
    useRoot(temp.path("missing"));
    EXPECT_EQ(temp.path("missing") + "/lib/kzfi/configfiles/|P.conf",
              ask(CFiConfigurationPathTool::getConfigFileInfo, "P"));
    EXPECT_EQ(temp.path("missing") + "/resources/|libP",
              ask(CFiConfigurationPathTool::getMessageFileInfo, "P"));
    tstring cache;
    EXPECT_EQ(0, CFiConfigurationPathTool::getCacheLocationInfo(cache));
    EXPECT_FALSE(fs::exists(temp.path("missing")));
}

struct DeviceKey {
    const char* folder;
    int (*operation)(const tstring&, tstring&);
};

class DeviceKeyTest : public CFiConfigurationPathToolTest,
                      public testing::WithParamInterface<DeviceKey> {
  protected:
    int ask(const char* udid) { return GetParam().operation(udid, key); }
    std::string cache() { return temp.path("lib/kzfi/cachefiles/") + GetParam().folder; }

    tstring key = "old";
};

TEST_P(DeviceKeyTest, NewArrayIsMinusOneAKnownOneZero) {
    useFreshRoot();
    EXPECT_EQ(-1, ask("UDID##V##P##ARR01##DEV1"));
    EXPECT_EQ(cache() + "/ARR01/UDID##V##P##ARR01##DEV1", key.c_str());
    EXPECT_EQ(0, ask("UDID##V##P##ARR01##DEV1"));
    EXPECT_EQ(0, ask("UDID##V##P##ARR01##DEV2"));
    EXPECT_EQ(cache() + "/ARR01/UDID##V##P##ARR01##DEV2", key.c_str());
    EXPECT_EQ(-1, ask("UDID##V##P##ARR02##DEV1"));

    EXPECT_EQ(0755, modeOf(cache()));
    EXPECT_EQ(0755, modeOf(cache() + "/ARR01"));
    EXPECT_TRUE(fs::is_empty(cache() + "/ARR01")) << "the record itself is not made";
}

TEST_P(DeviceKeyTest, UdidIsAppendedAsItStands) {
    useFreshRoot();
    EXPECT_EQ(-1, ask("noise UDID##v##p##aRr##d##e"));
    EXPECT_EQ(cache() + "/aRr/noise UDID##v##p##aRr##d##e", key.c_str());
    EXPECT_TRUE(fs::is_directory(cache() + "/aRr"));
}

TEST_P(DeviceKeyTest, UdidWithoutEnclosureLeavesAnEmptyComponent) {
    useFreshRoot();
    EXPECT_EQ(0, ask("UDID##V##P##DEV1"));
    EXPECT_EQ(cache() + "//UDID##V##P##DEV1", key.c_str());
    EXPECT_TRUE(fs::is_empty(cache()));
}

TEST_P(DeviceKeyTest, ArrayFolderThatCannotBeMadeIsMinusOneAgain) {
    useRoot(temp.path("missing"));
    EXPECT_EQ(-1, ask("UDID##V##P##ARR01##DEV1"));
    EXPECT_EQ(-1, ask("UDID##V##P##ARR01##DEV1"));
    EXPECT_FALSE(fs::exists(temp.path("missing")));
}

TEST_P(DeviceKeyTest, MalformedUdidThrowsAfterTheCacheWasMade) {
    const struct {
        const char* udid;
        int code;
    } cases[] = {{"nothing", 2}, {"UDID##a", 3}, {"UDID##a##b", 4}, {"UDID##a##b##", 1}};
    useFreshRoot();
    for (const auto& wrong : cases) {
        try {
            ask(wrong.udid);
            ADD_FAILURE() << wrong.udid << " was accepted";
        } catch (const CFiUdidException& error) {
            EXPECT_EQ(wrong.code, error.errorCode) << wrong.udid;
            EXPECT_EQ(wrong.udid, error.udid);
        }
    }
    EXPECT_TRUE(fs::is_directory(cache()));
    EXPECT_TRUE(fs::is_empty(cache()));
}

INSTANTIATE_TEST_SUITE_P(
    Caches, DeviceKeyTest,
    testing::Values(DeviceKey{"devHandle", CFiConfigurationPathTool::getDevKey},
                    DeviceKey{"luns", CFiConfigurationPathTool::getLunKey}),
    [](const testing::TestParamInfo<DeviceKey>& cache) { return std::string(cache.param.folder); });

TEST_F(CFiConfigurationPathToolTest, DeviceKeyMayReplaceItsUdid) {
    const std::string root = useFreshRoot();
    const tstring udid("UDID##VENDOR##ARRAY##ARR01##LUN7");
    tstring expected;
    CFiConfigurationPathTool::getDevKey(udid, expected);
    tstring same(udid);
    EXPECT_EQ(0, CFiConfigurationPathTool::getDevKey(same, same));
    EXPECT_STREQ(expected.c_str(), same.c_str());
}

} // namespace
