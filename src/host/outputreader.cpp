#include "host/outputreader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "host/waiting.h"

namespace kzfi_pdk_4_4 {

namespace {

// Large, so that a chatty child costs few system calls.
constexpr std::size_t BUFFER_SIZE = 65536;

} // namespace

void OutputReader::prepare() {
    close();
    if (!buffer) {
        buffer.reset(new char[BUFFER_SIZE]);
    }
}

bool OutputReader::close() {
    position = filled = 0;
    return source.close();
}

bool OutputReader::take(char*& free, const char* last) {
    const char* const start = buffer.get() + position;
    const std::size_t span = std::min(filled - position, static_cast<std::size_t>(last - free));
    const void* const newline = std::memchr(start, '\n', span);
    const std::size_t taken =
        newline == nullptr
            ? span
            : static_cast<std::size_t>(static_cast<const char*>(newline) - start) + 1;
    std::memcpy(free, start, taken);
    free += taken;
    position += taken;
    return newline != nullptr || free == last;
}

OutputReader::Refill OutputReader::refill(long seconds) {
    if (seconds < 0) {
        return TIMED_OUT;
    }
    position = filled = 0;
    ssize_t got = readSome(source, buffer.get(), BUFFER_SIZE);
    while (got < 0 && errno == EAGAIN) {
        if (!waitUntilReadable(source, seconds)) {
            return TIMED_OUT;
        }
        got = readSome(source, buffer.get(), BUFFER_SIZE);
    }
    filled = static_cast<std::size_t>(std::max<ssize_t>(got, 0));
    return got > 0 ? MORE : got == 0 ? END : FAILED;
}

} // namespace kzfi_pdk_4_4
