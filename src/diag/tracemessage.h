// The text of one traced message, formatted under the log's rule for long ones.
#ifndef KZFI_DIAG_TRACEMESSAGE_H
#define KZFI_DIAG_TRACEMESSAGE_H

#include <cstdarg>
#include <cstddef>
#include <memory>

namespace kzfi_pdk_4_4 {

/// A formatted message. Up to 8190 characters are kept whole, of longer ones the first 1023; of a
/// message that cannot be formatted, what came before the error.
///
/// Errors: std::bad_alloc without memory for a long message.
class TraceMessage {
  public:
    TraceMessage(const char* format, va_list arguments) __attribute__((format(printf, 2, 0)));
    TraceMessage(const TraceMessage&) = delete;
    TraceMessage& operator=(const TraceMessage&) = delete;
    ~TraceMessage() = default;

    const char* text() const { return content; }
    /// Size of the buffer that the text stands in; copies for the error manager are cut to it.
    std::size_t bufferSize() const { return size; }

  private:
    void formatLarger(std::size_t newSize, const char* format, va_list arguments)
        __attribute__((format(printf, 3, 0)));

    const char* content;
    std::size_t size;
    char first[1024];
    std::unique_ptr<char[]> larger;
};

} // namespace kzfi_pdk_4_4

#endif
