// The tool that reads and writes disk images.
#ifndef DISKIMAGE_QEMUIMG_H
#define DISKIMAGE_QEMUIMG_H

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "cfitraceable.h"
#include "image.h"

namespace diskimage {

/// Runs qemu-img. A run has a limit of so many seconds altogether, and can be aborted.
///
/// Threads: any number may run it at once, and abort() comes from yet another one.
/// Errors: a Failure with what the tool said.
class QemuImg {
  public:
    QemuImg() = default;
    QemuImg(const QemuImg&) = delete;
    QemuImg& operator=(const QemuImg&) = delete;

    /// Before the first run: the tool's path and who is told of its failures.
    void use(const std::string& path, const kzfi_pdk_4_4::CFiTraceLogPtr& log);

    /// The bytes that a copy of source in this format may take.
    std::uintmax_t measure(const Image& source, Format format, long seconds);

    /// Writes what source holds to the file target.
    void convert(const Image& source, const std::filesystem::path& target, Format format,
                 long seconds);

    /// Ends what runs now: a copy within two steps of its progress, whatever is silent at its
    /// limit. Runs also end, and none begins, when the process shuts down.
    void abort();

  private:
    class Run;

    std::string run(const std::vector<std::string>& arguments, long seconds);

    std::string program;
    kzfi_pdk_4_4::CFiTraceLogPtr traceLog;
    std::mutex lock;
    std::set<Run*> running;
};

} // namespace diskimage

#endif
