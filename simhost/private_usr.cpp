#include "private_usr.h"

#include <dirent.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace kzfi_simhost {
namespace {

std::string failed(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

std::string writeFile(const char* path, const std::string& text) {
    const int file = open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0) {
        return failed(std::string("cannot open ") + path);
    }
    const ssize_t written = write(file, text.data(), text.size());
    const std::string reason =
        written < 0 ? failed(std::string("cannot write ") + path) : std::string();
    close(file);
    return reason;
}

/// The caller's user and group stand for themselves in the new user namespace.
std::string enterUserNamespace() {
    const uid_t user = geteuid();
    const gid_t group = getegid();
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return failed("cannot make a user namespace");
    }
    const std::string one = " 1";
    std::string reason = writeFile("/proc/self/setgroups", "deny");
    if (reason.empty()) {
        const std::string id = std::to_string(user);
        reason = writeFile("/proc/self/uid_map", id + " " + id + one);
    }
    if (reason.empty()) {
        const std::string id = std::to_string(group);
        reason = writeFile("/proc/self/gid_map", id + " " + id + one);
    }
    return reason;
}

std::string enterMountNamespace() {
    if (geteuid() != 0 || unshare(CLONE_NEWNS) != 0) {
        const std::string reason = enterUserNamespace();
        if (!reason.empty()) {
            return reason;
        }
    }
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        return failed("cannot make the mounts private");
    }
    return {};
}

bool overlayUsr(const std::string& scratch) {
    const std::string upper = scratch + "/upper";
    const std::string work = scratch + "/work";
    if (mkdir(upper.c_str(), 0755) != 0 || mkdir(work.c_str(), 0755) != 0) {
        return false;
    }
    const std::string options = "lowerdir=/usr,upperdir=" + upper + ",workdir=" + work;
    if (mount("overlay", "/usr", "overlay", 0, options.c_str()) != 0) {
        return false;
    }
    if (mkdir("/usr/tarnex", 0755) == 0 || errno == EEXIST) {
        return true;
    }
    umount2("/usr", MNT_DETACH);
    return false;
}

/// Stands in for the entry name of /usr in the folder that will become the new /usr.
bool bindEntry(const std::string& folder, const std::string& name) {
    const std::string from = "/usr/" + name;
    const std::string to = folder + "/" + name;
    struct stat status;
    if (lstat(from.c_str(), &status) != 0) {
        return false;
    }
    if (S_ISLNK(status.st_mode)) {
        std::vector<char> target(4096, '\0');
        return readlink(from.c_str(), target.data(), target.size() - 1) > 0 &&
               symlink(target.data(), to.c_str()) == 0;
    }
    if (!S_ISDIR(status.st_mode)) {
        return true; // /usr holds folders and links; a stray file is not needed in there
    }
    return mkdir(to.c_str(), 0755) == 0 &&
           mount(from.c_str(), to.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
}

std::string bindUsr(const std::string& scratch) {
    const std::string folder = scratch + "/usr";
    if (mkdir(folder.c_str(), 0755) != 0 || mkdir((folder + "/tarnex").c_str(), 0755) != 0) {
        return failed("cannot make a folder for a new /usr");
    }
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir("/usr"), closedir);
    if (!entries) {
        return failed("cannot list /usr");
    }
    while (const dirent* entry = readdir(entries.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != ".." && name != "tarnex" && !bindEntry(folder, name)) {
            return failed("cannot bind /usr/" + name);
        }
    }
    if (mount(folder.c_str(), "/usr", nullptr, MS_BIND | MS_REC, nullptr) != 0) {
        return failed("cannot put anything over /usr");
    }
    return {};
}

} // namespace

std::string enterPrivateUsr() {
    std::string reason = enterMountNamespace();
    if (!reason.empty()) {
        return reason;
    }
    char scratch[] = "/tmp/kzfi-usr-XXXXXX";
    if (mkdtemp(scratch) == nullptr) {
        return failed("cannot make a folder under /tmp");
    }
    if (mount("tmpfs", scratch, "tmpfs", 0, nullptr) != 0) {
        reason = failed("cannot mount a tmpfs");
    } else {
        reason = overlayUsr(scratch) ? std::string() : bindUsr(scratch);
        if (reason.empty() && mount("tmpfs", "/usr/tarnex", "tmpfs", 0, "mode=0755") != 0) {
            reason = failed("cannot mount a tmpfs on /usr/tarnex");
        }
        // What is mounted over /usr keeps the tmpfs alive; its own mount point is not needed.
        umount2(scratch, MNT_DETACH);
    }
    rmdir(scratch);
    return reason;
}

} // namespace kzfi_simhost
