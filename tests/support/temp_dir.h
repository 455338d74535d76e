// Files and folders of a test's own.
#ifndef KZFI_TESTS_TEMP_DIR_H
#define KZFI_TESTS_TEMP_DIR_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace kzfi_tests {

/// A fresh folder, removed with all that it holds at the end.
class TempDir {
  public:
    explicit TempDir(const std::string& above = "/tmp") : folder(above + "/kzfi-test-XXXXXX") {
        if (mkdtemp(folder.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

    /// The folder itself, or an entry of it.
    std::string path() const { return folder; }
    std::string path(const std::string& name) const { return folder + "/" + name; }

  private:
    std::string folder;
};

/// The bytes of a file; the empty text when it cannot be read.
inline std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// Makes the folders above path and writes the file.
inline void writeFile(const std::string& path, const std::string& text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

} // namespace kzfi_tests

#endif
