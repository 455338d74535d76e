// The folder that stands in for the product's install root during a run.
#ifndef KZFI_SIMHOST_HOST_ROOT_H
#define KZFI_SIMHOST_HOST_ROOT_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kzfi_simhost {

/// The install root of one run, with the folders that the kit expects in it. It is kept when the
/// run is over, so that traces and reports can be read.
class HostRoot {
  public:
    /// Uses the folder at path, made if need be; the empty path makes a fresh temporary one.
    /// Throws CannotRun.
    explicit HostRoot(const std::string& path);

    const std::string& path() const { return folder; }
    std::string traceFolder() const { return folder + "/trace"; }
    std::string resources() const { return folder + "/resources"; }
    /// Where the provider's standard output and standard error go.
    std::string outputFile() const { return folder + "/output.txt"; }

    /// The file or folder at path below the root, which need not be there. Throws CannotRun when
    /// links would lead out of the root.
    std::string inside(const std::string& path) const;

    /// Writes a file below the root and makes the folders above it. Throws CannotRun when that
    /// fails, and when links would lead out of the root.
    void placeFile(const std::string& path, const std::string& content) const;

    /// Makes today's trace file of this base name, empty, unless it is there. The kit would make it
    /// as well, but not without a word on standard output about a file that is missing.
    void makeTraceFile(const std::string& name) const;

    /// The newest of the dated trace files of this base name, of all for the empty name; empty when
    /// there is none.
    std::string traceFile(const std::string& name) const;

    /// The sizes of all trace files by path.
    std::map<std::string, std::uintmax_t> traceSizes() const;

  private:
    std::string folder;
};

/// As many lines as a report shows of a file.
inline constexpr std::size_t LAST_LINES = 6;

/// The last count lines of what a file holds behind its first from bytes; fewer when there are
/// fewer, none when it cannot be read.
std::vector<std::string> lastLines(const std::string& path, std::size_t count,
                                   std::uintmax_t from = 0);

} // namespace kzfi_simhost

#endif
