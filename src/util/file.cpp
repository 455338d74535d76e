#include "util/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace kzfi_pdk_4_4 {

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& source) noexcept {
    if (this != &source) {
        close();
        number = source.number;
        source.number = -1;
    }
    return *this;
}

bool FileDescriptor::close() {
    if (number < 0) {
        return true;
    }
    // Not repeated when interrupted: the descriptor is gone all the same.
    const int status = ::close(number);
    number = -1;
    return status == 0 || errno == EINTR;
}

FileDescriptor openFile(const char* path, int flags, mode_t mode) {
    int descriptor = -1;
    do {
        descriptor = ::open(path, flags | O_CLOEXEC, mode);
    } while (descriptor < 0 && errno == EINTR);
    return FileDescriptor(descriptor);
}

ssize_t readSome(const FileDescriptor& file, char* buffer, std::size_t size) {
    ssize_t got = -1;
    do {
        got = ::read(file.get(), buffer, size);
    } while (got < 0 && errno == EINTR);
    return got;
}

std::string readRegular(const FileDescriptor& file) {
    std::string text;
    struct stat status;
    if (fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return text;
    }
    // Its size is known, so that no further read has to find the end.
    text.resize(static_cast<std::size_t>(status.st_size));
    std::size_t length = 0;
    while (length < text.size()) {
        const ssize_t got = readSome(file, &text[length], text.size() - length);
        if (got <= 0) {
            break;
        }
        length += static_cast<std::size_t>(got);
    }
    text.resize(length);
    return text;
}

FileDescriptor openForAppending(const char* path, bool followLinks) {
    const int flags = O_RDWR | O_APPEND | O_CREAT | O_NONBLOCK | (followLinks ? 0 : O_NOFOLLOW);
    return openFile(path, flags, 0666);
}

bool writeOnce(const FileDescriptor& file, const char* data, std::size_t size) {
    ssize_t written = -1;
    do {
        written = ::write(file.get(), data, size);
    } while (written < 0 && errno == EINTR);
    return written == static_cast<ssize_t>(size);
}

} // namespace kzfi_pdk_4_4
