// The program's own stat, chown and sleep stand before the C library's, so that nothing waits and
// nothing changes hands.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "support/test_provider.h"
#include "support/trace_capture.h"

namespace {

/// What the file system answers, and what it was asked.
struct FileSystem {
    std::vector<std::string> calls;
    uid_t owner = 0;
    gid_t group = 0;
    int statsUntilChanged = 0; // looks that still show the old owner
    bool groupStays = false;   // the group never shows
    int failingStat = 0;       // the n-th look fails, from 1
    int failingChown = 0;
    int stats = 0;
    int chowns = 0;
    uid_t wantedOwner = 0;
    gid_t wantedGroup = 0;
};

FileSystem* faked = nullptr;

} // namespace

extern "C" {

int stat(const char* path, struct stat* status) noexcept;
int chown(const char* path, uid_t owner, gid_t group) noexcept;
unsigned int sleep(unsigned int seconds);

__attribute__((visibility("default"))) int stat(const char* path, struct stat* status) noexcept {
    if (faked == nullptr) {
        return fstatat(AT_FDCWD, path, status, 0);
    }
    faked->calls.push_back("stat");
    if (++faked->stats == faked->failingStat) {
        errno = ENOENT;
        return -1;
    }
    *status = {};
    const bool changed = faked->statsUntilChanged-- <= 0;
    status->st_uid = changed ? faked->wantedOwner : faked->owner;
    status->st_gid = changed && !faked->groupStays ? faked->wantedGroup : faked->group;
    return 0;
}

__attribute__((visibility("default"))) int chown(const char* path, uid_t owner,
                                                 gid_t group) noexcept {
    if (faked == nullptr) {
        return fchownat(AT_FDCWD, path, owner, group, 0);
    }
    faked->calls.push_back("chown " + std::to_string(static_cast<long>(static_cast<int>(owner))) +
                           " " + std::to_string(static_cast<long>(static_cast<int>(group))));
    if (++faked->chowns == faked->failingChown) {
        errno = EPERM;
        return -1;
    }
    faked->wantedOwner = owner;
    faked->wantedGroup = group;
    return 0;
}

__attribute__((visibility("default"))) unsigned int sleep(unsigned int seconds) {
    if (faked != nullptr) {
        faked->calls.push_back("sleep " + std::to_string(seconds));
        return 0;
    }
    timespec wait = {static_cast<time_t>(seconds), 0};
    nanosleep(&wait, nullptr);
    return 0;
}
}

namespace kzfi_pdk_4_4 {
namespace {

using kzfi_tests::PeekingPlugin;
using kzfi_tests::TraceCapture;
using kzfi_tests::TracedLine;
using testing::ElementsAre;
using testing::IsEmpty;

class SetOwnerIds : public testing::Test {
  protected:
    SetOwnerIds() {
        plugin.registerTraceLog(trace.log());
        faked = &files;
    }
    ~SetOwnerIds() override { faked = nullptr; }

    int change(long owner, long group) { return plugin.setOwnerIds("/dev/x", owner, group); }

    std::vector<std::string> texts(int level) {
        std::vector<std::string> found;
        for (const TracedLine& line : trace.all()) {
            if (line.level == level) {
                found.push_back(line.text);
            }
        }
        return found;
    }

    FileSystem files;
    TraceCapture trace;
    PeekingPlugin plugin;
};

TEST_F(SetOwnerIds, RefusesAnEmptyPath) {
    EXPECT_EQ(plugin.setOwnerIds("", 1, 2), 3);
    EXPECT_THAT(trace.all(),
                ElementsAre(TracedLine{1, "Error: setOwnerIds - invalid resource specified"}));
    EXPECT_THAT(files.calls, IsEmpty());
}

TEST_F(SetOwnerIds, ChangesTwiceEvenWhenThePathIsRightAlready) {
    EXPECT_EQ(change(1000, 50), 0);
    EXPECT_THAT(files.calls, ElementsAre("stat", "chown 1000 50", "chown 1000 50", "stat"));
    EXPECT_THAT(
        trace.all(),
        ElementsAre(
            TracedLine{3, "INFO: setOwnerIds for [/dev/x] with ownerid=[1000], groupid=[50]"},
            TracedLine{3, "INFO: setOwnerIds chown for [/dev/x] with OwnerId=1000, GroupId=50"},
            TracedLine{3, "INFO: setOwnerIds chown retry count [0] with OwnerId=1000, GroupId=50"},
            TracedLine{3, "INFO: stat on [/dev/x], st.st_uid=[1000], st.st_gid=[50] uid= [1000], "
                          "gid = [50]"},
            TracedLine{3, "setOwnerIds: Got matching gid, pid."},
            TracedLine{3, "INFO: setOwnerIds done"}));
}

TEST_F(SetOwnerIds, WaitsThirtySecondsBetweenLooks) {
    files.statsUntilChanged = 3;
    EXPECT_EQ(change(7, 8), 0);
    EXPECT_THAT(files.calls, ElementsAre("stat", "chown 7 8", "chown 7 8", "stat", "sleep 30",
                                         "chown 7 8", "stat", "sleep 30", "chown 7 8", "stat"));
    EXPECT_THAT(
        texts(3),
        testing::Contains("setOwnerIds: Waiting for system to read. Partition table.").Times(2));
}

TEST_F(SetOwnerIds, AnOwnerThatNeverShowsIsNoError) {
    files.statsUntilChanged = 100;
    EXPECT_EQ(change(7, 8), 0);
    EXPECT_EQ(std::count(files.calls.begin(), files.calls.end(), "sleep 30"), 10);
    EXPECT_EQ(files.chowns, 11);
    const std::vector<std::string> lines = texts(3);
    EXPECT_EQ(lines.back(), "INFO: setOwnerIds done");
    EXPECT_THAT(lines, testing::Contains(
                           "INFO: setOwnerIds chown retry count [9] with OwnerId=7, GroupId=8"));
    EXPECT_THAT(lines, testing::Not(testing::Contains("setOwnerIds: Got matching gid, pid.")));
}

TEST_F(SetOwnerIds, TheGroupMustShowToo) {
    files.groupStays = true;
    EXPECT_EQ(change(7, 8), 0);
    EXPECT_EQ(std::count(files.calls.begin(), files.calls.end(), "sleep 30"), 10);
}

TEST_F(SetOwnerIds, MinusOneIsNeverSeen) {
    EXPECT_EQ(change(-1, 8), 0);
    EXPECT_EQ(std::count(files.calls.begin(), files.calls.end(), "sleep 30"), 10);
    EXPECT_EQ(files.calls[1], "chown -1 8");
}

TEST_F(SetOwnerIds, TellsThatThePathIsNotThere) {
    files.failingStat = 1;
    EXPECT_EQ(change(7, 8), 18);
    EXPECT_THAT(
        trace.all(),
        ElementsAre(
            TracedLine{3, "INFO: setOwnerIds for [/dev/x] with ownerid=[7], groupid=[8]"},
            TracedLine{1, "Error: setOwnerIds: Unable to stat partition /dev/x errno=[2]"}));
    EXPECT_EQ(files.chowns, 0);
}

TEST_F(SetOwnerIds, TellsThatTheChangeFailed) {
    for (const int failing : {1, 2}) {
        files = FileSystem();
        files.failingChown = failing;
        EXPECT_EQ(change(7, 8), 1091);
        EXPECT_THAT(texts(1), ElementsAre("Error: set_owner_ids - chown: Unable to chown resource "
                                          "/dev/x, errno=[1]."));
    }
}

TEST_F(SetOwnerIds, TellsThatThePathVanished) {
    files.failingStat = 2;
    EXPECT_EQ(change(7, 8), 18);
    EXPECT_THAT(texts(1), ElementsAre("Error: set_owner_ids - stat: Unable to stat resource "
                                      "/dev/x, errno=[2]."));
}

} // namespace
} // namespace kzfi_pdk_4_4
