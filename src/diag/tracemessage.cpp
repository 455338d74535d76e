#include "diag/tracemessage.h"

#include "kzfi_portable.h"

namespace kzfi_pdk_4_4 {

namespace {

constexpr std::size_t FIRST_SIZE = 1024;
constexpr std::size_t LARGEST_SIZE = 8192;

// The buffer that a message needs whose formatting into the first one gave result.
std::size_t sizeFor(int result) {
    if (result < 0) {
        return LARGEST_SIZE;
    }
    const std::size_t length = static_cast<std::size_t>(result);
    if (length < FIRST_SIZE - 1) {
        return FIRST_SIZE;
    }
    return length <= FIRST_SIZE ? 2 * FIRST_SIZE : length + 2;
}

} // namespace

TraceMessage::TraceMessage(const char* format, va_list arguments)
    : content(first),
      size(FIRST_SIZE) {
    static_assert(sizeof first == FIRST_SIZE, "");
    va_list again;
    va_copy(again, arguments);
    first[0] = '\0';
    const std::size_t needed = sizeFor(K_vsnprintf(first, sizeof first, format, again));
    va_end(again);
    // Past the largest size the first buffer's text is kept, cut as it is.
    if (needed != FIRST_SIZE && needed <= LARGEST_SIZE) {
        formatLarger(needed, format, arguments);
    }
}

void TraceMessage::formatLarger(std::size_t newSize, const char* format, va_list arguments) {
    larger.reset(new char[newSize]);
    content = larger.get();
    size = newSize;
    larger[0] = '\0';
    va_list again;
    va_copy(again, arguments);
    K_vsnprintf(larger.get(), newSize, format, again);
    va_end(again);
}

} // namespace kzfi_pdk_4_4
