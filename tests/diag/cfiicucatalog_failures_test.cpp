// Catalogues when their files cannot be opened or their folder cannot be made.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "cfiicucatalog.h"
#include "kzfi_platform_control.h"
#include "support/disks.h"
#include "support/failing_calls.h"
#include "support/temp_dir.h"

namespace {

namespace fs = std::filesystem;
using namespace kzfi_pdk_4_4;
using kzfi_tests::Call;
using kzfi_tests::Failing;

constexpr int NO_CATALOG = 3;

class CatalogFailures : public testing::Test {
  protected:
    // A root of the test's own: what was opened once is not read again.
    CatalogFailures() {
        fs::create_directories(root.path("resources"));
        fs::copy(KZFI_TEST_CATALOG_ROOT "/resources/libparcel", root.path("resources/libparcel"));
        kzfi_platform_set_install_root(root.path().c_str());
    }
    ~CatalogFailures() override { kzfi_platform_reset(); }

    static std::string text(CFiIcuMessageCatalog& catalog) {
        return catalog.getMessage("MSG_ERROR_PARCEL_0001", nullptr).c_str();
    }

    const kzfi_tests::TempDir root;
    CFiIcuMessageCatalog catalog{"de", "parcel"};
};

TEST_F(CatalogFailures, AFileThatCannotBeOpenedIsNoCatalogue) {
    const int before = kzfi_tests::callsOf(Call::OPEN);
    const Failing files(Call::OPEN, EMFILE);
    EXPECT_EQ(catalog.init(), NO_CATALOG);
    EXPECT_GT(kzfi_tests::callsOf(Call::OPEN), before);
    EXPECT_EQ(text(catalog), "parcel: <MSG_ERROR_PARCEL_0001>");
}

TEST_F(CatalogFailures, IcuRemembersWhatItCouldNotOpen) {
    {
        const Failing files(Call::OPEN, EMFILE);
        EXPECT_EQ(catalog.init(), NO_CATALOG);
    }
    EXPECT_EQ(catalog.init(), NO_CATALOG);
    CFiIcuMessageCatalog english("en", "parcel");
    EXPECT_EQ(english.init(), NO_CATALOG) << "the root, too, was looked for";
}

TEST_F(CatalogFailures, AFolderThatCannotBeMadeIsNoCatalogue) {
    const kzfi_tests::TempDir empty;
    kzfi_platform_set_install_root(empty.path().c_str());
    const Failing folders(Call::MKDIR, ENOSPC);
    EXPECT_EQ(catalog.init(), NO_CATALOG);
    EXPECT_TRUE(fs::is_empty(empty.path()));
}

TEST_F(CatalogFailures, AFileThatIsNotReadableIsNoCatalogue) {
    EXPECT_TRUE(kzfi_tests::withoutPrivileges([this] {
        for (const auto& entry : fs::directory_iterator(root.path("resources/libparcel"))) {
            fs::permissions(entry.path(), fs::perms::none);
        }
        EXPECT_EQ(catalog.init(), NO_CATALOG);
        EXPECT_EQ(text(catalog), "parcel: <MSG_ERROR_PARCEL_0001>");
    }));
}

} // namespace
