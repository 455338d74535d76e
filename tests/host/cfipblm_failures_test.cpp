// The LUN-number map when system calls fail, the disk is full or a folder is not writable.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "cfipblm.h"
#include "kzfi_platform_control.h"
#include "support/disks.h"
#include "support/failing_calls.h"
#include "support/fixed_paths.h"
#include "support/temp_dir.h"

namespace {

namespace fs = std::filesystem;
using kzfi_pdk_4_4::CFiPblmOps;
using kzfi_pdk_4_4::lunNum;
using kzfi_tests::Call;
using kzfi_tests::Failing;
using kzfi_tests::readFile;
using kzfi_tests::SmallDisk;
using kzfi_tests::TempDir;
using kzfi_tests::withoutPrivileges;
using kzfi_tests::writeFile;
using testing::IsEmpty;

constexpr int FAILED = 26;

class PblmFailures : public testing::Test {
  protected:
    PblmFailures() {
        kzfi_platform_set_install_root(root.path().c_str());
        writeFile(record("disk"), "12");
    }
    ~PblmFailures() override { kzfi_platform_reset(); }

    std::string folder() const { return root.path("lib/kzfi/cachefiles/luns/ARR01"); }
    std::string record(const std::string& name) const { return folder() + "/" + name; }

    // Whether the enclosure's map has the number.
    bool isUsed(std::size_t number) {
        lunNum* map = nullptr;
        return pblm.getEnclMap("ARR01", &map) && map->used.test(number);
    }
    int write(const std::string& path) { return pblm.setKeyValue(path.c_str(), {"13"}, "ARR01"); }

    TempDir root;
    CFiPblmOps pblm;
};

TEST_F(PblmFailures, ARecordThatCannotBeWrittenMarksNothing) {
    const struct {
        Call call;
        int error;
    } failures[] = {{Call::OPEN, EMFILE},
                    {Call::OPEN, EROFS},
                    {Call::WRITE, ENOSPC},
                    {Call::WRITE, EIO},
                    {Call::CLOSE, EDQUOT}};
    ASSERT_FALSE(isUsed(13));
    for (const auto& failure : failures) {
        {
            const Failing now(failure.call, failure.error);
            EXPECT_EQ(write(record("new")), FAILED) << failure.error;
        }
        EXPECT_FALSE(isUsed(13)) << failure.error;
    }
    EXPECT_EQ(write(record("new")), 0);
    EXPECT_TRUE(isUsed(13));
    EXPECT_EQ(readFile(record("new")), "13");
}

TEST_F(PblmFailures, AnInterruptedWriteIsRepeated) {
    const Failing once(Call::WRITE, EINTR, 1);
    EXPECT_EQ(write(record("new")), 0);
    EXPECT_EQ(readFile(record("new")), "13");
}

TEST_F(PblmFailures, ARecordThatCannotBeReadHasNoNumber) {
    std::vector<std::string> lines;
    int value = 7;
    for (const Call call : {Call::OPEN, Call::READ}) {
        const Failing now(call, EIO);
        EXPECT_EQ(pblm.getCacheRecord(record("disk").c_str(), lines), FAILED);
        EXPECT_EQ(pblm.getKeyValue(record("disk").c_str(), value), FAILED);
        EXPECT_EQ(value, -1);
    }
    EXPECT_THAT(lines, IsEmpty());
    EXPECT_EQ(pblm.getKeyValue(record("disk").c_str(), value), 0);
    EXPECT_EQ(value, 12);
}

TEST_F(PblmFailures, AScanPassesOverWhatItCannotRead) {
    writeFile(record("other"), "40");
    {
        const Failing one(Call::OPEN, EMFILE, 1);
        EXPECT_NE(isUsed(12), isUsed(40)) << "one of the two was read";
    }
}

TEST_F(PblmFailures, WithoutItsFolderAScanFindsNothing) {
    const Failing folders(Call::OPENDIR, EMFILE);
    EXPECT_FALSE(isUsed(12));
    EXPECT_EQ(pblm.rmLunCacheRecord("ARR01", 12), FAILED);
    EXPECT_EQ(readFile(record("disk")), "12");
}

TEST_F(PblmFailures, AFullDiskTakesNoRecord) {
    KZFI_NEEDS_PRIVATE_USR();
    ASSERT_FALSE(isUsed(13));
    const SmallDisk disk;
    disk.fill();
    EXPECT_EQ(write(disk.path("new")), FAILED);
    EXPECT_FALSE(isUsed(13));
    EXPECT_EQ(readFile(disk.path("new")), "");
    disk.makeRoom();
    EXPECT_EQ(write(disk.path("new")), 0);
    EXPECT_EQ(readFile(disk.path("new")), "13");
    EXPECT_TRUE(isUsed(13));
}

TEST_F(PblmFailures, InAFolderThatIsNotWritableRecordsStay) {
    EXPECT_TRUE(withoutPrivileges([this] {
        const kzfi_tests::ReadOnlyFolder closed(folder());
        EXPECT_TRUE(isUsed(12)) << "reading goes on";
        EXPECT_EQ(write(record("new")), FAILED);
        EXPECT_FALSE(isUsed(13));
        EXPECT_EQ(pblm.rmCacheRecord(record("disk").c_str()), FAILED);
        EXPECT_EQ(pblm.rmLunCacheRecord("ARR01", 12), 0) << "a record that stays is only traced";
    }));
    EXPECT_EQ(readFile(record("disk")), "12");
    EXPECT_FALSE(fs::exists(record("new")));
}

} // namespace
