// Reads the trace files that the kit's trace log writes, a message at a time.
#ifndef KZFI_SIMHOST_TRACE_READER_H
#define KZFI_SIMHOST_TRACE_READER_H

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>

namespace kzfi_simhost {

/// One traced message.
struct TraceLine {
    /// Microseconds since 1970, counted as if the writer's local time were UTC.
    std::int64_t time = 0;
    bool timed = true; ///< false: the writer had no time, and time is that of the line before
    std::uint64_t process = 0;
    std::uint32_t thread = 0;
    std::string text; ///< may hold line ends, none at its end; any bytes
};

/// Reads a file from front to back. A line is
///
///     2026-11-20 19:53:51.114810 <Pid - 4711 / Thread id - 1380976> text
///
/// and a line without such a head continues the text of the one before. Of a text, LONGEST bytes
/// are kept, so that a damaged file costs no memory.
class TraceReader {
  public:
    static constexpr std::size_t LONGEST = 65536;

    /// Throws CannotRun.
    explicit TraceReader(const std::string& path);
    TraceReader(const TraceReader&) = delete;
    TraceReader& operator=(const TraceReader&) = delete;

    /// The next message; false at the end of the file. Throws CannotRun when reading fails.
    bool next(TraceLine& line);

    // What was seen so far; complete once next() has answered false.
    std::size_t lines() const { return lineNumber; }
    /// Lines that are neither a message nor the continuation of one.
    std::size_t notUnderstood() const { return strangers; }
    std::size_t firstNotUnderstood() const { return firstStranger; }
    /// Whether the file ends in the middle of a line.
    bool endsEarly() const { return !lastHasEnd; }

  private:
    bool readLine();
    void open(const TraceLine& head);
    void add();
    void countStranger();

    const std::string path;
    std::ifstream file;
    std::string text; ///< the line that was read last
    TraceLine current;
    bool hasCurrent = false;
    std::int64_t latest = 0;
    std::size_t lineNumber = 0;
    std::size_t strangers = 0;
    std::size_t firstStranger = 0;
    bool lastHasEnd = true;
};

/// The date and the time of day of a line's time: "2026-11-20", "19:53:51.114810".
std::string dateText(std::int64_t time);
std::string clockText(std::int64_t time);

} // namespace kzfi_simhost

#endif
