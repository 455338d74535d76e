#include "draft.h"

#include <fcntl.h>
#include <stdio.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "failure.h"

namespace diskimage {
namespace {

namespace fs = std::filesystem;

const char EXTENSION[] = ".part";

[[noreturn]] void fail(const char* what, const fs::path& path) {
    throw fs::filesystem_error(what, path, std::error_code(errno, std::system_category()));
}

fs::path draftOf(const fs::path& target) {
    return target.string() + EXTENSION;
}

/// A lock on the first byte, which belongs to the open file and not to the process. The tool has
/// locks of its own, on other bytes.
struct flock firstByte() {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_len = 1;
    return lock;
}

bool tryToLock(int descriptor) {
    struct flock lock = firstByte();
    return fcntl(descriptor, F_OFD_SETLK, &lock) == 0;
}

/// Whether path still is the file that descriptor stands for.
bool isFile(int descriptor, const fs::path& path) {
    struct stat open = {};
    struct stat named = {};
    return fstat(descriptor, &open) == 0 && lstat(path.c_str(), &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

} // namespace

Draft::Draft(const fs::path& newTarget)
    : target(newTarget),
      path(draftOf(newTarget)),
      descriptor(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {
    if (descriptor < 0) {
        fail("cannot make", path);
    }
    // Whoever had it may have published or removed it between the opening and the locking.
    if (!tryToLock(descriptor) || !isFile(descriptor, path)) {
        close(descriptor);
        throw Failure(UNDER_WAY, {target});
    }
}

Draft::~Draft() {
    if (!isPublished) {
        unlink(path.c_str());
    }
    close(descriptor);
}

void Draft::resemble(const fs::path& original) {
    struct stat wanted = {};
    if (stat(original.c_str(), &wanted) != 0) {
        fail("cannot look at", original);
    }
    // Not every process may hand files over; the owner is then the one who made it.
    static_cast<void>(!fchown(descriptor, wanted.st_uid, wanted.st_gid));
    if (fchmod(descriptor, wanted.st_mode & 07777) != 0) {
        fail("cannot set the mode of", path);
    }
}

void Draft::publish(bool replace) {
    if (!isFile(descriptor, path)) {
        throw Failure(UNDER_WAY, {target});
    }
    if (fsync(descriptor) != 0) {
        fail("cannot write", path);
    }
    if (renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, target.c_str(),
                  replace ? 0 : RENAME_NOREPLACE) != 0) {
        if (errno == EEXIST) {
            throw Failure(TARGET_IN_USE, {target});
        }
        fail("cannot rename", path);
    }
    isPublished = true;
    const int folder = open(target.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0) {
        fsync(folder);
        close(folder);
    }
}

bool Draft::isUnderWay(const fs::path& target) {
    const int other = open(draftOf(target).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    struct flock lock = firstByte();
    const bool locked =
        other >= 0 && fcntl(other, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    if (other >= 0) {
        close(other);
    }
    return locked;
}

void Draft::removeLeftovers(const fs::path& folder) {
    std::error_code none;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, none)) {
        const fs::path& left = entry.path();
        if (left.extension() != EXTENSION) {
            continue;
        }
        const int other = open(left.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
        if (other >= 0) {
            if (tryToLock(other) && isFile(other, left)) {
                unlink(left.c_str());
            }
            close(other);
        }
    }
}

} // namespace diskimage
