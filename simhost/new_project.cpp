#include "new_project.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>
#include <utility>

#include "scenario.h"

namespace kzfi_simhost {
namespace {

namespace fs = std::filesystem;

const std::size_t LONGEST_NAME = 32;
const char* const LETTERS = "abcdefghijklmnopqrstuvwxyz";
const char* const DIGITS = "0123456789";

const std::set<std::string>& wordsOfCpp() {
    static const std::set<std::string> words = {"alignas",       "alignof",     "and",
                                                "and_eq",        "asm",         "auto",
                                                "bitand",        "bitor",       "bool",
                                                "break",         "case",        "catch",
                                                "char",          "char16_t",    "char32_t",
                                                "char8_t",       "class",       "co_await",
                                                "co_return",     "co_yield",    "compl",
                                                "concept",       "const",       "const_cast",
                                                "consteval",     "constexpr",   "constinit",
                                                "continue",      "decltype",    "default",
                                                "delete",        "do",          "double",
                                                "dynamic_cast",  "else",        "enum",
                                                "explicit",      "export",      "extern",
                                                "false",         "float",       "for",
                                                "friend",        "goto",        "if",
                                                "inline",        "int",         "long",
                                                "mutable",       "namespace",   "new",
                                                "noexcept",      "not",         "not_eq",
                                                "nullptr",       "operator",    "or",
                                                "or_eq",         "private",     "protected",
                                                "public",        "register",    "reinterpret_cast",
                                                "requires",      "return",      "short",
                                                "signed",        "sizeof",      "static",
                                                "static_assert", "static_cast", "struct",
                                                "switch",        "template",    "this",
                                                "thread_local",  "throw",       "true",
                                                "try",           "typedef",     "typeid",
                                                "typename",      "union",       "unsigned",
                                                "using",         "virtual",     "void",
                                                "volatile",      "wchar_t",     "while",
                                                "xor",           "xor_eq"};
    return words;
}

/// Targets of CMake's, and the test that every project has.
const std::set<std::string>& namesInUse() {
    static const std::set<std::string> names = {
        "all",     "check",          "clean",      "edit_cache",    "help", "install",
        "package", "package_source", "preinstall", "rebuild_cache", "test"};
    return names;
}

/// "acme_array" becomes "AcmeArrayProvider".
std::string classNameFor(const std::string& name) {
    std::string result;
    bool begins = true;
    for (const char c : name) {
        if (c == '_' || c == '-') {
            begins = true;
            continue;
        }
        result += begins ? static_cast<char>(std::toupper(c)) : c;
        begins = false;
    }
    return result + "Provider";
}

std::string inUpperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

void replaceAll(std::string& text, const std::string& what, const std::string& by) {
    for (std::size_t at = text.find(what); at != std::string::npos;
         at = text.find(what, at + by.size())) {
        text.replace(at, what.size(), by);
    }
}

[[noreturn]] void refuse(const std::string& what, const fs::path& path, const std::string& reason) {
    throw CannotRun(what + " " + path.string() + ": " + reason);
}

bool isScript(const ProjectFile& file) {
    return file.text.compare(0, 2, "#!") == 0;
}

/// Files and folders that are made one by one, and removed again unless all could be made.
class Creation {
  public:
    Creation() = default;
    Creation(const Creation&) = delete;
    Creation& operator=(const Creation&) = delete;
    ~Creation() {
        std::for_each(made.rbegin(), made.rend(), [](const fs::path& path) {
            std::error_code ignored;
            fs::remove(path, ignored);
        });
    }

    void folder(const fs::path& path) {
        std::error_code problem;
        if (path.empty() || fs::is_directory(path, problem)) {
            return;
        }
        folder(path.parent_path());
        if (fs::create_directory(path, problem)) {
            made.push_back(path);
        } else if (problem) {
            refuse("cannot make the folder", path, problem.message());
        }
    }

    void file(const fs::path& path, const ProjectFile& content) {
        const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                                    isScript(content) ? 0777 : 0666);
        if (descriptor < 0) {
            refuse("cannot write", path, std::strerror(errno));
        }
        made.push_back(path);
        errno = 0;
        const std::string& text = content.text;
        const ssize_t written = write(descriptor, text.data(), text.size());
        const bool complete = written == static_cast<ssize_t>(text.size());
        const int problem = errno;
        if (close(descriptor) != 0 || !complete) {
            refuse("cannot write", path, problem != 0 ? std::strerror(problem) : "no room");
        }
    }

    void keep() { made.clear(); }

  private:
    std::vector<fs::path> made;
};

} // namespace

std::string objectionTo(const std::string& name) {
    const std::string allowed = std::string(LETTERS) + DIGITS + "_-";
    if (name.empty()) {
        return "it is empty";
    }
    if (name.find_first_not_of(allowed) != std::string::npos) {
        return "only lower-case letters, digits, '_' and '-' may be in it";
    }
    if (std::strchr(LETTERS, name.front()) == nullptr) {
        return "it does not begin with a letter";
    }
    if (name.back() == '_' || name.back() == '-') {
        return "it does not end with a letter or digit";
    }
    if (name.size() > LONGEST_NAME) {
        return "it has more than " + std::to_string(LONGEST_NAME) + " characters";
    }
    if (wordsOfCpp().count(name) > 0) {
        return "it is a word of C++";
    }
    return namesInUse().count(name) > 0 ? "every project has a target or test of that name" : "";
}

std::vector<ProjectFile> projectFiles(const std::string& name, ProjectKind kind) {
    const std::string own = kind == ProjectKind::INTERPOSER ? "interposer" : "provider";
    std::vector<ProjectFile> files;
    for (const ProjectTemplate& source : projectTemplates()) {
        const std::size_t slash = source.path.find('/');
        const std::string folder = source.path.substr(0, slash);
        if (folder != "both" && folder != own) {
            continue;
        }
        ProjectFile file = {source.path.substr(slash + 1), source.text};
        replaceAll(file.path, "NAME", name);
        replaceAll(file.text, "@name@", name);
        replaceAll(file.text, "@NAME@", inUpperCase(name));
        replaceAll(file.text, "@Class@", classNameFor(name));
        files.push_back(file);
    }
    return files;
}

void writeProject(const std::string& folder, const std::vector<ProjectFile>& files) {
    std::error_code problem;
    const fs::path root = fs::absolute(folder, problem).lexically_normal();
    if (problem) {
        refuse("cannot make the project in", folder, problem.message());
    }
    if (fs::exists(root, problem) && !fs::is_directory(root, problem)) {
        refuse("cannot make the project in", root, "it is no folder");
    }
    if (fs::exists(root, problem) && !fs::is_empty(root, problem)) {
        refuse("cannot make the project in", root,
               problem ? problem.message() : "the folder is not empty");
    }
    Creation creation;
    for (const ProjectFile& file : files) {
        const fs::path path = root / file.path;
        creation.folder(path.parent_path());
        creation.file(path, file);
    }
    creation.keep();
}

} // namespace kzfi_simhost
