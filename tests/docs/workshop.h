// A folder in which a page's files are written, and its commands run as a reader would run them.
#ifndef KZFI_TESTS_WORKSHOP_H
#define KZFI_TESTS_WORKSHOP_H

#include <string>

#include "documents.h"
#include "support/temp_dir.h"

namespace kzfi_tests {

class Workshop {
  public:
    /// With what commands find in a tree that was built: include/, samples/, build/PRESET/; and
    /// kzfi-simhost on the path.
    Workshop();

    /// Puts the folder's prefix/ in front, where the kit is to be installed, in place of the above.
    void useInstalled();

    /// Writes the block to the file that it names.
    void write(const Block& block) const;

    /// Runs a command of the shell in the folder; a failure of the test unless it answers 0.
    void run(const std::string& command, const std::string& place) const;
    /// Runs each line of the block.
    void runLines(const Block& block) const;

    std::string path(const std::string& name) const { return folder.path(name); }

  private:
    TempDir folder;
    std::string environment;
};

} // namespace kzfi_tests

#endif
