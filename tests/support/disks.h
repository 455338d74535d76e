// Disks that fill up and folders that nobody may write to.
#ifndef KZFI_TESTS_DISKS_H
#define KZFI_TESTS_DISKS_H

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include "support/temp_dir.h"

namespace kzfi_tests {

/// A disk of 64 KiB of the test's own. Needs a private /usr, with which mounting is private, too.
class SmallDisk {
  public:
    SmallDisk() {
        if (mount("tmpfs", folder.path().c_str(), "tmpfs", 0, "size=64k") != 0) {
            throw std::runtime_error("no small disk");
        }
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    ~SmallDisk() { umount2(folder.path().c_str(), MNT_DETACH); }

    std::string path(const std::string& name) const { return folder.path(name); }

    /// Until makeRoom() nothing can be written but what fits into files that are there.
    void fill() const { writeFile(path("filler"), std::string(SIZE, '#')); }
    void makeRoom() const { unlink(path("filler").c_str()); }

    static constexpr std::size_t SIZE = std::size_t{64} * 1024;

  private:
    TempDir folder;
};

/// Runs action in a child to which the modes of files apply as to everybody, also when root runs
/// the tests. Whether nothing failed in it.
template <class Action>
bool withoutPrivileges(Action action) {
    const pid_t child = fork();
    if (child == 0) {
        __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
        const __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
        EXPECT_EQ(syscall(SYS_capset, &header, none), 0);
        action();
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    return waitpid(child, &status, 0) == child && status == 0;
}

/// A folder that can be read and not written to while it lives.
class ReadOnlyFolder {
  public:
    explicit ReadOnlyFolder(const std::string& folder) : path(folder) { chmod(path.c_str(), 0555); }
    ReadOnlyFolder(const ReadOnlyFolder&) = delete;
    ReadOnlyFolder& operator=(const ReadOnlyFolder&) = delete;
    ~ReadOnlyFolder() { chmod(path.c_str(), 0755); }

  private:
    const std::string path;
};

} // namespace kzfi_tests

#endif
