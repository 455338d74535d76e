// A file in the making.
#ifndef DISKIMAGE_DRAFT_H
#define DISKIMAGE_DRAFT_H

#include <filesystem>

namespace diskimage {

/// The file TARGET.part, which becomes TARGET in one step when it is whole, and goes away when it
/// does not get so far. Its maker holds a lock on it; what a killed process left is not locked.
///
/// Errors: a Failure, or filesystem_error.
class Draft {
  public:
    /// An empty file that only its owner may read. A leftover is used anew.
    explicit Draft(const std::filesystem::path& newTarget);
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;
    ~Draft();

    const std::filesystem::path& file() const { return path; }

    /// Gives it the mode of original, and its owner where this process may.
    void resemble(const std::filesystem::path& original);

    /// Puts it on the disk and in the target's place. Without replace a target that is there by now
    /// is a Failure.
    void publish(bool replace);

    /// Whether somebody makes this target right now.
    static bool isUnderWay(const std::filesystem::path& target);

    /// Removes what killed processes left in the folder.
    static void removeLeftovers(const std::filesystem::path& folder);

  private:
    std::filesystem::path target;
    std::filesystem::path path;
    int descriptor;
    bool isPublished = false;
};

} // namespace diskimage

#endif
