// Files: the system calls behind them, wrapped once. Descriptors are close-on-exec from birth and
// interrupted calls are repeated, but for close().
#ifndef KZFI_UTIL_FILE_H
#define KZFI_UTIL_FILE_H

#include <sys/types.h>

#include <cstddef>
#include <string>

namespace kzfi_pdk_4_4 {

/// Owns an open descriptor, or none (-1).
class FileDescriptor {
  public:
    explicit FileDescriptor(int descriptor = -1) : number(descriptor) {}
    FileDescriptor(FileDescriptor&& source) noexcept : number(source.number) { source.number = -1; }
    FileDescriptor& operator=(FileDescriptor&& source) noexcept;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { close(); }

    int get() const { return number; }
    bool isOpen() const { return number >= 0; }
    /// False when the system reports a failure. The descriptor is gone all the same, also after an
    /// interruption, which is no failure: a second close() could hit another thread's file.
    bool close();

  private:
    int number;
};

/// open() with O_CLOEXEC; a failure leaves errno and gives a descriptor that is not open.
FileDescriptor openFile(const char* path, int flags, mode_t mode = 0);

/// read(); -1 on failure, 0 at the end.
ssize_t readSome(const FileDescriptor& file, char* buffer, std::size_t size);

/// The text of a file that was just opened; a failing read ends it there. Only a regular file is
/// read: anything else, of which a pipe would lose what is meant for others and a device may never
/// end, gives the empty text.
std::string readRegular(const FileDescriptor& file);

/// Opens path for appending as the stream mode "a+" does: for reading, too, and a missing file is
/// made with mode 0666 less the umask. It never waits for the other end of a pipe. With followLinks
/// false a symbolic link is refused.
FileDescriptor openForAppending(const char* path, bool followLinks);

/// Writes size bytes with one write, so that several writers of one file do not mix. False when it
/// failed or wrote less.
bool writeOnce(const FileDescriptor& file, const char* data, std::size_t size);

} // namespace kzfi_pdk_4_4

#endif
