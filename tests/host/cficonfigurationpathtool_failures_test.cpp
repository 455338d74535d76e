// The kit's folders when they cannot be made.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "cficonfiguration.h"
#include "kzfi_platform_control.h"
#include "support/disks.h"
#include "support/failing_calls.h"
#include "support/product_paths.h"
#include "support/temp_dir.h"

namespace {

namespace fs = std::filesystem;
using kzfi_pdk_4_4::CFiConfigurationPathTool;
using kzfi_pdk_4_4::tstring;
using kzfi_tests::Call;
using kzfi_tests::Failing;

const char UDID[] = "UDID##acme##disk##ARR01##d1";

class PathToolFailures : public testing::Test {
  protected:
    void SetUp() override {
        KZFI_NEEDS_PRIVATE_USR();
        for (const std::string& above : {root.path("lib/kzfi"), logs()}) {
            fs::create_directories(above);
        }
        kzfi_platform_set_install_root(root.path().c_str());
    }

    static std::string logs() { return "/usr/tarnex/stoneleaf/logs"; }

    // Asks for all folders, and looks at the answers, which tell nothing of what could be made.
    void ask(int deviceStatus) {
        tstring file;
        const std::string above = root.path();
        EXPECT_EQ(CFiConfigurationPathTool::getConfigFileInfo("p", dir, file), 0);
        EXPECT_STREQ(dir.c_str(), (above + "/lib/kzfi/configfiles/").c_str());
        EXPECT_EQ(CFiConfigurationPathTool::getMessageFileInfo("p", dir, file), 0);
        EXPECT_STREQ(dir.c_str(), (above + "/resources/").c_str());
        EXPECT_EQ(CFiConfigurationPathTool::getTraceFileInfo("p", dir, file), 0);
        EXPECT_STREQ(dir.c_str(), "/usr/tarnex/stoneleaf/logs/kwfis/");
        EXPECT_EQ(CFiConfigurationPathTool::getCacheLocationInfo(dir), 0);
        EXPECT_STREQ(dir.c_str(), (above + "/lib/kzfi/cachefiles/").c_str());
        EXPECT_EQ(CFiConfigurationPathTool::getDevKey(UDID, dir), deviceStatus);
        EXPECT_EQ(CFiConfigurationPathTool::getLunKey(UDID, dir), deviceStatus);
        EXPECT_STREQ(dir.c_str(), (above + "/lib/kzfi/cachefiles/luns/ARR01/" + UDID).c_str());
    }

    bool nothingWasMade() const {
        return fs::is_empty(root.path("lib/kzfi")) && !fs::exists(root.path("resources")) &&
               fs::is_empty(logs());
    }

    kzfi_tests::EmptyProduct product;
    kzfi_tests::TempDir root;
    tstring dir;
};

TEST_F(PathToolFailures, FoldersThatCannotBeMadeAreNamedAllTheSame) {
    for (const int error : {EACCES, ENOSPC, EROFS, EMLINK}) {
        const Failing folders(Call::MKDIR, error);
        ask(-1);
        EXPECT_TRUE(nothingWasMade()) << error;
    }
}

TEST_F(PathToolFailures, TheyAreMadeOnceTheyCanBe) {
    {
        const Failing folders(Call::MKDIR, ENOSPC);
        ask(-1);
    }
    ask(-1);
    ask(0);
    EXPECT_FALSE(nothingWasMade());
}

TEST_F(PathToolFailures, InFoldersThatAreNotWritableNothingIsMade) {
    EXPECT_TRUE(kzfi_tests::withoutPrivileges([this] {
        const kzfi_tests::ReadOnlyFolder closed[] = {
            kzfi_tests::ReadOnlyFolder(root.path("lib/kzfi")),
            kzfi_tests::ReadOnlyFolder(root.path()), kzfi_tests::ReadOnlyFolder(logs())};
        ask(-1);
        EXPECT_TRUE(nothingWasMade());
    }));
}

} // namespace
