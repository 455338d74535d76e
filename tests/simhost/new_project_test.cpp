// A provider project to begin with, as kzfi-simhost new writes it. That it builds and passes its
// own tests is seen among the tests of the packages.
#include "new_project.h"

#include <gmock/gmock.h>

#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <set>

#include "command.h"
#include "scenario.h"

namespace {

namespace fs = std::filesystem;

using kzfi_simhost::objectionTo;
using kzfi_simhost::ProjectFile;
using kzfi_simhost::projectFiles;
using kzfi_simhost::ProjectKind;
using kzfi_tests::CommandResult;
using kzfi_tests::readFile;
using kzfi_tests::writeFile;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

const char* const NAMES[] = {"x", "acme_array", "a-b", "abcdefghijklmnopqrstuvwxyz012345"};
const ProjectKind KINDS[] = {ProjectKind::PROVIDER, ProjectKind::INTERPOSER};

std::string textOf(const std::vector<ProjectFile>& files, const std::string& path) {
    const auto found = std::find_if(files.begin(), files.end(),
                                    [&](const ProjectFile& file) { return file.path == path; });
    return found != files.end() ? found->text : "(there is no " + path + ")";
}

std::vector<std::string> pathsOf(const std::vector<ProjectFile>& files) {
    std::vector<std::string> paths;
    std::transform(files.begin(), files.end(), std::back_inserter(paths),
                   [](const ProjectFile& file) { return file.path; });
    std::sort(paths.begin(), paths.end());
    return paths;
}

/// All that lies in a folder, in order; folders end with a slash.
std::vector<std::string> entriesOf(const std::string& folder) {
    std::vector<std::string> entries;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        entries.push_back(fs::relative(entry.path(), folder).string() +
                          (entry.is_directory() ? "/" : ""));
    }
    std::sort(entries.begin(), entries.end());
    return entries;
}

// ---- Names

TEST(ProjectNameTest, GoodNames) {
    for (const std::string name : {"x", "acme", "acme_array", "a-b", "a1", "a__b", "newer", "null",
                                   "abcdefghijklmnopqrstuvwxyz012345"}) {
        EXPECT_EQ(objectionTo(name), "") << name;
    }
}

TEST(ProjectNameTest, BadNames) {
    const std::string letters = "only lower-case letters, digits, '_' and '-' may be in it";
    const std::string inUse = "every project has a target or test of that name";
    const std::pair<std::string, std::string> cases[] = {
        {"", "it is empty"},
        {"Acme", letters},
        {"a b", letters},
        {"a/b", letters},
        {"..", letters},
        {"a.b", letters},
        {"für", letters},
        {"a\n", letters},
        {std::string("a\0b", 3), letters},
        {"1a", "it does not begin with a letter"},
        {"-a", "it does not begin with a letter"},
        {"_a", "it does not begin with a letter"},
        {"a-", "it does not end with a letter or digit"},
        {"a_", "it does not end with a letter or digit"},
        {"abcdefghijklmnopqrstuvwxyz0123456", "it has more than 32 characters"},
        {"class", "it is a word of C++"},
        {"co_await", "it is a word of C++"},
        {"xor_eq", "it is a word of C++"},
        {"test", inUse},
        {"all", inUse},
        {"check", inUse},
    };
    for (const auto& [name, reason] : cases) {
        EXPECT_EQ(objectionTo(name), reason) << name;
    }
}

// ---- What is in a project

TEST(ProjectFilesTest, AProjectIsComplete) {
    for (const ProjectKind kind : KINDS) {
        EXPECT_THAT(pathsOf(projectFiles("acme", kind)),
                    ElementsAre(".gitignore", "CMakeLists.txt", "README.md", "acme.cpp",
                                "acme.yaml", "check.yaml", "ci", "messages.h", "messages/de.txt",
                                "messages/en.txt", "messages/root.txt", "node_records.h",
                                "storage.h"));
    }
}

TEST(ProjectFilesTest, NothingIsLeftToFillIn) {
    for (const char* const name : NAMES) {
        for (const ProjectKind kind : KINDS) {
            for (const ProjectFile& file : projectFiles(name, kind)) {
                EXPECT_THAT(file.text, Not(testing::ContainsRegex("@[A-Za-z]+@"))) << file.path;
                EXPECT_THAT(file.path, Not(HasSubstr("NAME")));
                EXPECT_THAT(file.text, EndsWith("\n")) << file.path;
            }
        }
    }
}

TEST(ProjectFilesTest, TheNameIsInItsPlaces) {
    const std::vector<ProjectFile> files = projectFiles("acme_array", ProjectKind::PROVIDER);
    EXPECT_THAT(textOf(files, "acme_array.cpp"),
                HasSubstr("class AcmeArrayProvider : public CFiPluginBase {"));
    EXPECT_THAT(textOf(files, "CMakeLists.txt"), HasSubstr("project(acme_array LANGUAGES CXX)"));
    EXPECT_THAT(textOf(files, "messages/de.txt"), HasSubstr("MSG_ERROR_ACME_ARRAY_0001 {"));
    EXPECT_THAT(textOf(projectFiles("a-b2c", ProjectKind::INTERPOSER), "a-b2c.cpp"),
                HasSubstr("class AB2cProvider : public CFiPluginInterposer {"));
}

/// The keys of a table of messages.
std::set<std::string> keysIn(const std::string& table) {
    std::set<std::string> keys;
    for (std::size_t at = table.find("MSG_"); at != std::string::npos;
         at = table.find("MSG_", at + 1)) {
        keys.insert(table.substr(at, table.find(' ', at) - at));
    }
    return keys;
}

TEST(ProjectFilesTest, BothLanguagesHaveAllTexts) {
    for (const ProjectKind kind : KINDS) {
        const std::vector<ProjectFile> files = projectFiles("acme", kind);
        const std::set<std::string> keys = keysIn(textOf(files, "messages/root.txt"));
        EXPECT_THAT(keys, Not(IsEmpty()));
        EXPECT_EQ(keysIn(textOf(files, "messages/de.txt")), keys);
    }
}

TEST(ProjectFilesTest, SourcesAreFormattedWhateverTheName) {
    const kzfi_tests::TempDir folder;
    fs::copy_file(KZFI_CLANG_FORMAT_STYLE, folder.path(".clang-format"));
    std::string command = "clang-format --dry-run -Werror";
    for (const char* const name : NAMES) {
        for (const ProjectKind kind : KINDS) {
            for (const ProjectFile& file : projectFiles(name, kind)) {
                const std::string ending = fs::path(file.path).extension();
                if (ending == ".cpp" || ending == ".h") {
                    const std::string path =
                        folder.path(std::string(name) +
                                    (kind == ProjectKind::PROVIDER ? "/p/" : "/i/") + file.path);
                    writeFile(path, file.text);
                    command += " " + path;
                }
            }
        }
    }
    EXPECT_EQ(std::system(command.c_str()), 0);
}

// ---- The command

class NewCommandTest : public testing::Test {
  protected:
    CommandResult make(const std::string& name, const std::string& folder,
                       const std::vector<std::string>& options = {}) {
        std::vector<std::string> arguments = {"new", name, "--into", simhost.path(folder)};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return simhost(arguments);
    }

    std::string path(const std::string& name) const { return simhost.path(name); }

    kzfi_tests::SimhostCommand simhost;
};

TEST_F(NewCommandTest, WritesTheFilesAndSaysWhatIsNext) {
    const CommandResult result = make("acme", "p");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, HasSubstr(path("p/acme.cpp") + "\n"));
    EXPECT_THAT(result.out, EndsWith("\nnext: cd " + path("p") + " && ./ci\n"));
    for (const ProjectFile& file : projectFiles("acme", ProjectKind::PROVIDER)) {
        EXPECT_EQ(readFile(path("p/" + file.path)), file.text) << file.path;
    }
    EXPECT_EQ(entriesOf(path("p")).size(),
              projectFiles("acme", ProjectKind::PROVIDER).size() + 1); // and messages/
}

TEST_F(NewCommandTest, WritesAnInterposer) {
    EXPECT_EQ(make("acme", "p", {"--interposer"}).status, 0);
    EXPECT_THAT(readFile(path("p/acme.cpp")), HasSubstr(": public CFiPluginInterposer {"));
}

TEST_F(NewCommandTest, OnlyTheScriptCanBeExecuted) {
    make("acme", "p");
    for (const auto& entry : fs::recursive_directory_iterator(path("p"))) {
        if (entry.is_regular_file()) {
            EXPECT_EQ(access(entry.path().c_str(), X_OK) == 0, entry.path().filename() == "ci")
                << entry.path();
        }
    }
}

TEST_F(NewCommandTest, WithoutAFolderItIsNamedAfterTheProject) {
    const fs::path before = fs::current_path();
    fs::create_directory(path("here"));
    fs::current_path(path("here"));
    const CommandResult result = simhost({"new", "acme"});
    fs::current_path(before);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, StartsWith("acme/.gitignore\n"));
    EXPECT_TRUE(fs::exists(path("here/acme/acme.cpp")));
}

TEST_F(NewCommandTest, FoldersAreMadeAsNeededAndMayBeEmpty) {
    EXPECT_EQ(make("acme", "a/b/c").status, 0);
    EXPECT_TRUE(fs::exists(path("a/b/c/acme.cpp")));
    fs::create_directory(path("empty"));
    EXPECT_EQ(make("acme", "empty").status, 0);
    EXPECT_TRUE(fs::exists(path("empty/acme.cpp")));
    EXPECT_EQ(make("acme", "slash/").status, 0);
}

TEST_F(NewCommandTest, AFolderThatIsNotEmptyIsRefused) {
    writeFile(path("p/mine.txt"), "mine");
    const CommandResult result = make("acme", "p");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "kzfi-simhost: cannot make the project in " + path("p") +
                              ": the folder is not empty\n");
    EXPECT_THAT(entriesOf(path("p")), ElementsAre("mine.txt"));
    EXPECT_EQ(make("acme", "q").status, 0);
    writeFile(path("q/acme.cpp"), "changed");
    EXPECT_EQ(make("acme", "q").status, 2);
    EXPECT_EQ(readFile(path("q/acme.cpp")), "changed");
}

TEST_F(NewCommandTest, WhatIsNoFolderIsRefused) {
    writeFile(path("p"), "a file");
    const CommandResult result = make("acme", "p");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err,
              "kzfi-simhost: cannot make the project in " + path("p") + ": it is no folder\n");
    EXPECT_EQ(readFile(path("p")), "a file");
    const CommandResult below = make("acme", "p/q");
    EXPECT_EQ(below.status, 2);
    EXPECT_EQ(below.err, "kzfi-simhost: cannot make the folder " + path("p") + ": File exists\n");
    fs::create_symlink(path("nowhere"), path("link"));
    EXPECT_EQ(make("acme", "link").status, 2);
    EXPECT_FALSE(fs::exists(path("nowhere")));
}

/// Keeps to the permissions of files, as root need not, for a while.
class HeldByPermissions {
  public:
    HeldByPermissions() {
        EXPECT_EQ(syscall(SYS_capget, &header, before), 0);
        __user_cap_data_struct now[2] = {before[0], before[1]};
        now[0].effective &= ~(1U << CAP_DAC_OVERRIDE | 1U << CAP_DAC_READ_SEARCH);
        EXPECT_EQ(syscall(SYS_capset, &header, now), 0);
    }
    HeldByPermissions(const HeldByPermissions&) = delete;
    HeldByPermissions& operator=(const HeldByPermissions&) = delete;
    ~HeldByPermissions() { EXPECT_EQ(syscall(SYS_capset, &header, before), 0); }

  private:
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct before[2] = {};
};

/// What writing a project there is refused with.
std::string refusalOf(const std::string& folder) {
    const HeldByPermissions held;
    try {
        writeProject(folder, projectFiles("acme", ProjectKind::PROVIDER));
    } catch (const kzfi_simhost::CannotRun& refusal) {
        return refusal.what();
    }
    return "written";
}

TEST_F(NewCommandTest, AFolderThatMustNotBeWrittenIsRefused) {
    fs::create_directory(path("locked"));
    fs::permissions(path("locked"), fs::perms(0555));
    EXPECT_EQ(refusalOf(path("locked")),
              "cannot write " + path("locked/.gitignore") + ": Permission denied");
    EXPECT_EQ(refusalOf(path("locked/p")),
              "cannot make the folder " + path("locked/p") + ": Permission denied");
    fs::permissions(path("locked"), fs::perms::none);
    EXPECT_EQ(refusalOf(path("locked")),
              "cannot make the project in " + path("locked") + ": Permission denied");
    EXPECT_EQ(refusalOf(path("locked/p")),
              "cannot make the folder " + path("locked/p") + ": Permission denied");
    fs::permissions(path("locked"), fs::perms::owner_all);
    EXPECT_THAT(entriesOf(path("locked")), IsEmpty());
}

TEST_F(NewCommandTest, AFolderThatCannotBeIsRefused) {
    const std::string refusal = "kzfi-simhost: cannot make the folder ";
    const std::string tooLong(300, 'a');
    EXPECT_EQ(make("acme", tooLong).err, refusal + path(tooLong) + ": File name too long\n");
    fs::create_symlink("loop", path("loop"));
    EXPECT_EQ(make("acme", "loop").err, refusal + path("loop") + ": File exists\n");
    const fs::path before = fs::current_path();
    fs::create_directory(path("gone"));
    fs::current_path(path("gone"));
    fs::remove(path("gone"));
    const CommandResult result = simhost({"new", "acme"});
    fs::current_path(before);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "kzfi-simhost: cannot make the project in acme: "
                          "No such file or directory\n");
}

TEST_F(NewCommandTest, WhatCannotBeFinishedLeavesNothing) {
    // A folder stands where a file has to be.
    std::vector<ProjectFile> files = projectFiles("acme", ProjectKind::PROVIDER);
    files.push_back({"messages", "in the way"});
    try {
        writeProject(path("a/b"), files);
        FAIL() << "written";
    } catch (const std::runtime_error& failure) {
        EXPECT_EQ(failure.what(), "cannot write " + path("a/b/messages") + ": File exists");
    }
    EXPECT_FALSE(fs::exists(path("a")));
    fs::create_directory(path("empty"));
    EXPECT_THROW(writeProject(path("empty"), files), std::runtime_error);
    EXPECT_THAT(entriesOf(path("empty")), IsEmpty());
}

TEST_F(NewCommandTest, ABadNameIsRefusedWithTheReason) {
    const CommandResult result = make("Acme", "p");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "kzfi-simhost: a provider cannot be called 'Acme': only lower-case "
                          "letters, digits, '_' and '-' may be in it\n");
    EXPECT_FALSE(fs::exists(path("p")));
    EXPECT_EQ(simhost({"new"}).status, 2);
}

} // namespace
