#include "host_root.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "scenario.h"
#include "support/temp_dir.h"

namespace {

using namespace kzfi_simhost;
using kzfi_tests::TempDir;
using kzfi_tests::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

std::string complaint(const std::string& path) {
    try {
        HostRoot root(path);
        return "accepted";
    } catch (const CannotRun& e) {
        return e.what();
    }
}

TEST(HostRootTest, HoldsWhatTheKitExpects) {
    TempDir folder;
    const HostRoot root(folder.path("a/b"));
    EXPECT_EQ(root.path(), folder.path("a/b"));
    EXPECT_TRUE(fs::is_directory(folder.path("a/b/lib/kzfi/configfiles")));
    EXPECT_TRUE(fs::is_directory(folder.path("a/b/resources")));
    EXPECT_TRUE(fs::is_directory(folder.path("a/b/trace")));
    EXPECT_EQ(root.traceFolder(), folder.path("a/b/trace"));
    EXPECT_EQ(root.resources(), folder.path("a/b/resources"));
}

TEST(HostRootTest, AFolderInUseIsUsedAgain) {
    TempDir folder;
    writeFile(folder.path("resources/mine"), "kept");
    const HostRoot root(folder.path());
    EXPECT_EQ(kzfi_tests::readFile(root.resources() + "/mine"), "kept");
}

TEST(HostRootTest, WithoutAPathItIsFreshAndKept) {
    std::string first;
    {
        const HostRoot one("");
        const HostRoot other("");
        first = one.path();
        EXPECT_NE(one.path(), other.path());
        fs::remove_all(other.path());
    }
    EXPECT_TRUE(fs::is_directory(first));
    fs::remove_all(first);
}

TEST(HostRootTest, RefusesWhatTheProviderCouldNotSee) {
    EXPECT_EQ(complaint("/usr/tarnex/x"), "the root must not lie below /usr: /usr/tarnex/x");
    EXPECT_EQ(complaint("/tmp/../usr"), "the root must not lie below /usr: /usr");
    TempDir folder;
    fs::create_directory_symlink("/usr", folder.path("link"));
    EXPECT_EQ(complaint(folder.path("link")), "the root must not lie below /usr: /usr");
}

TEST(HostRootTest, AFolderThatCannotBeMadeIsNamed) {
    TempDir folder;
    writeFile(folder.path("file"), "");
    EXPECT_EQ(complaint(folder.path("file/root")),
              "cannot make the folder " + folder.path("file/root") + ": Not a directory");
}

TEST(HostRootTest, FindsTheNewestTraceFileOfAName) {
    TempDir folder;
    const HostRoot root(folder.path());
    EXPECT_EQ(root.traceFile("p.log"), "");
    writeFile(root.traceFolder() + "/p.log.112126", "old");
    writeFile(root.traceFolder() + "/p.log.112226", "new");
    writeFile(root.traceFolder() + "/q.log.112326", "another's");
    writeFile(root.traceFolder() + "/p.log.1", "no date");
    const auto now = fs::file_time_type::clock::now();
    fs::last_write_time(root.traceFolder() + "/p.log.112126", now - std::chrono::hours(1));
    fs::last_write_time(root.traceFolder() + "/p.log.112226", now);
    EXPECT_EQ(root.traceFile("p.log"), root.traceFolder() + "/p.log.112226");
    fs::last_write_time(root.traceFolder() + "/q.log.112326", now + std::chrono::hours(1));
    EXPECT_EQ(root.traceFile(""), root.traceFolder() + "/q.log.112326");
}

TEST(HostRootTest, LastLinesAreTheLastOnes) {
    TempDir folder;
    writeFile(folder.path("f"), "a\nb\nc\n");
    EXPECT_THAT(lastLines(folder.path("f"), 2), ElementsAre("b", "c"));
    EXPECT_THAT(lastLines(folder.path("f"), 9), ElementsAre("a", "b", "c"));
    EXPECT_THAT(lastLines(folder.path("none"), 9), IsEmpty());
    EXPECT_THAT(lastLines(folder.path("f"), 9, 2), ElementsAre("b", "c"));
    EXPECT_THAT(lastLines(folder.path("f"), 9, 6), IsEmpty());
}

TEST(HostRootTest, KnowsHowLongTracesAre) {
    TempDir folder;
    const HostRoot root(folder.path());
    EXPECT_THAT(root.traceSizes(), IsEmpty());
    writeFile(root.traceFolder() + "/p.log.112126", "four");
    EXPECT_THAT(root.traceSizes(),
                ElementsAre(testing::Pair(root.traceFolder() + "/p.log.112126", 4u)));
}

} // namespace
