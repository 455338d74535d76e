// The output of a child, line by line.
#ifndef KZFI_HOST_OUTPUTREADER_H
#define KZFI_HOST_OUTPUTREADER_H

#include <cstddef>
#include <memory>
#include <utility>

#include "util/file.h"

namespace kzfi_pdk_4_4 {

/// Reads the non-blocking read end of a pipe through a buffer.
class OutputReader {
  public:
    enum Refill { MORE, END, FAILED, TIMED_OUT };

    /// Closes the pipe, drops what is held, and takes the memory that reading needs.
    void prepare();

    /// Reads from pipe after prepare(). It cannot fail: the writer runs already.
    void open(FileDescriptor pipe) noexcept { source = std::move(pipe); }

    const FileDescriptor& descriptor() const { return source; }
    bool isOpen() const { return source.isOpen(); }

    /// As FileDescriptor::close(). Nothing is buffered afterwards.
    bool close();

    /// Moves buffered bytes to free, up to a newline or to last; true when one of them was reached.
    bool take(char*& free, const char* last);

    /// Fills the empty buffer, waiting up to seconds for the first byte; errno tells of FAILED.
    Refill refill(long seconds);

  private:
    FileDescriptor source;
    std::unique_ptr<char[]> buffer;
    std::size_t position = 0;
    std::size_t filled = 0;
};

} // namespace kzfi_pdk_4_4

#endif
