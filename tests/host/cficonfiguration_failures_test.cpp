// The configuration store and its file when system calls fail, the disk is full or the folder is
// not writable.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "cficonfiguration.h"
#include "kzfi_platform_control.h"
#include "support/disks.h"
#include "support/failing_calls.h"
#include "support/fixed_paths.h"
#include "support/temp_dir.h"

namespace {

namespace fs = std::filesystem;
using kzfi_pdk_4_4::CFiConfiguration;
using kzfi_tests::Call;
using kzfi_tests::Failing;
using kzfi_tests::readFile;
using kzfi_tests::ReadOnlyFolder;
using kzfi_tests::SmallDisk;
using kzfi_tests::TempDir;
using kzfi_tests::withoutPrivileges;
using kzfi_tests::writeFile;

const std::string STORED = "[S]\n\"k\"=\"v\"\n";

class ConfigurationFailures : public testing::Test {
  protected:
    ConfigurationFailures() {
        writeFile(temp.path("a.conf"), STORED);
        kzfi_platform_set_install_root(temp.path().c_str());
    }
    ~ConfigurationFailures() override { kzfi_platform_reset(); }

    static std::string valueIn(CFiConfiguration& configuration) {
        kzfi_pdk_4_4::tstring value("none");
        configuration.getStringValue("S", "k", value);
        return value.c_str();
    }
    static void put(CFiConfiguration& configuration, const std::string& value) {
        ACE_Configuration_Section_Key key;
        ASSERT_EQ(configuration.openSection("S", key, 1), 0);
        ASSERT_EQ(configuration.setStringValue("k", value.c_str()), 0);
    }
    std::string folder() const { return temp.path(""); }

    TempDir temp;
};

TEST_F(ConfigurationFailures, ImportIsToldAndCanBeRepeated) {
    CFiConfiguration configuration;
    {
        const Failing files(Call::FOPEN, EMFILE);
        EXPECT_EQ(configuration.importConfig(folder().c_str(), "a.conf"), -1);
    }
    EXPECT_EQ(configuration.errorCode, -1);
    EXPECT_STREQ(configuration.what(), "Import of configuration file failed.");
    EXPECT_EQ(valueIn(configuration), "none");
    EXPECT_EQ(configuration.importConfig(folder().c_str(), "a.conf"), 0);
    EXPECT_EQ(valueIn(configuration), "v");
}

TEST_F(ConfigurationFailures, ExportIsToldAndLeavesTheFile) {
    CFiConfiguration configuration(folder().c_str(), "a.conf", true);
    put(configuration, "new");
    {
        const Failing files(Call::FOPEN, EMFILE);
        EXPECT_EQ(configuration.exportConfig(), -1);
    }
    EXPECT_EQ(readFile(temp.path("a.conf")), STORED);
    EXPECT_EQ(valueIn(configuration), "new");
    EXPECT_EQ(configuration.exportConfig(), 0);
    EXPECT_THAT(readFile(temp.path("a.conf")), testing::HasSubstr("\"k\"=\"new\"\n"));
}

TEST_F(ConfigurationFailures, APluginsFileWithoutItsFolderIsNotWritten) {
    fs::create_directories(temp.path("lib/kzfi"));
    {
        const Failing folders(Call::MKDIR, EACCES);
        CFiConfiguration configuration("plugin");
        EXPECT_EQ(configuration.errorCode, -1);
        EXPECT_STREQ(configuration.what(), "Configuration path verification failed");
        put(configuration, "v");
        EXPECT_EQ(valueIn(configuration), "v") << "the store is usable";
        EXPECT_EQ(configuration.exportConfig(), -1);
    }
    EXPECT_TRUE(fs::is_empty(temp.path("lib/kzfi")));
    const CFiConfiguration next("plugin");
    EXPECT_TRUE(fs::exists(temp.path("lib/kzfi/configfiles/plugin.conf")));
}

TEST_F(ConfigurationFailures, InAFolderThatIsNotWritableTheOldFileStays) {
    EXPECT_TRUE(withoutPrivileges([this] {
        const ReadOnlyFolder closed(temp.path());
        CFiConfiguration missing(folder().c_str(), "new.conf", false);
        EXPECT_EQ(missing.exportConfig(), -1);
        chmod(temp.path("a.conf").c_str(), 0444);
        CFiConfiguration old(folder().c_str(), "a.conf", true);
        EXPECT_EQ(valueIn(old), "v");
        EXPECT_EQ(old.exportConfig(), -1);
    }));
    EXPECT_EQ(readFile(temp.path("a.conf")), STORED);
    EXPECT_FALSE(fs::exists(temp.path("new.conf")));
}

TEST_F(ConfigurationFailures, AFullDiskIsTold) {
    KZFI_NEEDS_PRIVATE_USR();
    const SmallDisk disk;
    disk.fill();
    for (const std::size_t size : {10, 4096, 100'000}) {
        CFiConfiguration configuration(disk.path("").c_str(), "a.conf", false);
        put(configuration, std::string(size, 'x'));
        EXPECT_LT(configuration.exportConfig(), 0) << size;
        EXPECT_EQ(readFile(disk.path("a.conf")), "") << "nothing fits";
        EXPECT_EQ(valueIn(configuration).size(), size) << "what is held stays";
    }
    disk.makeRoom();
    CFiConfiguration configuration(disk.path("").c_str(), "a.conf", false);
    put(configuration, "v");
    EXPECT_EQ(configuration.exportConfig(), 0);
    EXPECT_THAT(readFile(disk.path("a.conf")), testing::HasSubstr("\"k\"=\"v\"\n"));
}

} // namespace
