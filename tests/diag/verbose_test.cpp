// The verbose level of the product's main configuration file.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "cfitracelog.h"
#include "support/temp_dir.h"

using namespace kzfi_pdk_4_4;
using kzfi_tests::TempDir;

namespace {

constexpr int UNTOUCHED = -77;

class VerboseTest : public testing::Test {
  protected:
    int read(const std::string& text) {
        // A fresh file each time: some file systems are slow in writing one anew.
        std::filesystem::remove(temp.path("kw.conf"));
        kzfi_tests::writeFile(temp.path("kw.conf"), text);
        return readFrom("kw.conf");
    }
    int readFrom(const char* name) {
        tstring dir((temp.path() + "/").c_str());
        tstring file(name);
        level = UNTOUCHED;
        return CFiTraceLog::getKwfisTraceLevel(dir, file, level);
    }
    bool find(const std::string& text) {
        std::string path = temp.path("kw.conf");
        kzfi_tests::writeFile(path, text);
        return CFiTraceLog::findKwfisVerboseValue(path);
    }

    TempDir temp;
    int level = UNTOUCHED;
};

TEST_F(VerboseTest, MainFileIsFixed) {
    tstring dir("old");
    tstring file("old");
    EXPECT_EQ(0, CFiTraceLog::getKwfisTraceConfigFileInfo(dir, file));
    EXPECT_STREQ("/usr/tarnex/stoneleaf/", dir.c_str());
    EXPECT_STREQ("kw.conf", file.c_str());
}

TEST_F(VerboseTest, LongKeyIsFoundAnywhere) {
    EXPECT_TRUE(find("KWFIS_VERBOSE = 9\n"));
    EXPECT_TRUE(find("a = b\n# not KWFIS_VERBOSE here"));
    EXPECT_TRUE(find(std::string(250, 'x') + "KWFIS_VERBOSE"));
    EXPECT_FALSE(find(""));
    EXPECT_FALSE(find("VERBOSE = 9\nkwfis_verbose = 9\nKWFIS_\nVERBOSE = 9\n"));
}

TEST_F(VerboseTest, LongKeyIsNotFoundInWhatCannotBeRead) {
    std::string missing = temp.path("missing");
    EXPECT_FALSE(CFiTraceLog::findKwfisVerboseValue(missing));
    std::string directory = temp.path();
    EXPECT_FALSE(CFiTraceLog::findKwfisVerboseValue(directory));
}

TEST_F(VerboseTest, LevelIsTheNumberBehindTheKey) {
    const struct {
        const char* text;
        int level;
    } cases[] = {
        {"KWFIS_VERBOSE = 9\n", 9},
        {"KWFIS_VERBOSE=9", 9},
        {"VERBOSE = 10\n", 10},
        {"VERBOSE =\t  12 # twelve\n", 12},
        {"VERBOSE = -3\n", -3},
        {"VERBOSE = +4\n", 4},
        {"VERBOSE = 5=6\n", 5},
        {"VERBOSE is = 5\n", 5},
        {"VERBOSE = 7up\n", 7},
        {"VERBOSE = 0x10\n", 0},
        {"VERBOSE = 010\n", 10},
        {"VERBOSE = 4294967298\n", 2},
        {"VERBOSE = 99999999999999999999\n", -1},
        {"# VERBOSE = 5\nVERBOSE = 6\n", 5},
        {"BPVERBOSE_LEVEL = 5\n", 5},
        {"a = 1 VERBOSE = 5\n", 1},
        {"VERBOSE = 3\nKWFIS_VERBOSE = 9\n", 9},
        {"VERBOSE = 3\n# KWFIS_VERBOSE = 9\nKWFIS_VERBOSE = 10\n", 9},
        {"x\n\n\nVERBOSE = 5\nVERBOSE = 6\n", 5},
    };
    for (const auto& good : cases) {
        EXPECT_EQ(0, read(good.text)) << good.text;
        EXPECT_EQ(good.level, level) << good.text;
    }
}

TEST_F(VerboseTest, KeyOrNumberMissingIsOneAndLeavesTheLevel) {
    for (const char* text :
         {"", "\n", "A = 5\n", "verbose = 5\n", "VERBOSE\n", "VERBOSE 5\n", "VERBOSE =\n5\n",
          "VERBOSE = on\n", "VERBOSE = -\n", "VERBOSE\nVERBOSE = 5\n",
          "KWFIS_VERBOSE\nVERBOSE = 5\n", "VERB\nOSE = 5\n"}) {
        EXPECT_EQ(1, read(text)) << text;
        EXPECT_EQ(UNTOUCHED, level) << text;
    }
}

TEST_F(VerboseTest, FileThatCannotBeOpenedIs26) {
    EXPECT_EQ(26, readFrom("missing"));
    EXPECT_EQ(UNTOUCHED, level);
}

TEST_F(VerboseTest, DirectoryHoldsNoKey) {
    std::filesystem::create_directory(temp.path("folder"));
    EXPECT_EQ(1, readFrom("folder"));
    EXPECT_EQ(UNTOUCHED, level);
}

TEST_F(VerboseTest, PipeHoldsNoKeyAndDoesNotWait) {
    ASSERT_EQ(0, mkfifo(temp.path("pipe").c_str(), 0600));
    EXPECT_EQ(1, readFrom("pipe"));
    EXPECT_EQ(UNTOUCHED, level);
}

TEST_F(VerboseTest, WhatAPipeHoldsIsLeftInIt) {
    std::string path = temp.path("pipe");
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    const int pipe = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    const std::string setting = "KWFIS_VERBOSE = 9\n";
    ASSERT_EQ(static_cast<ssize_t>(setting.size()), ::write(pipe, setting.data(), setting.size()));
    EXPECT_EQ(1, readFrom("pipe"));
    EXPECT_EQ(UNTOUCHED, level);
    EXPECT_FALSE(CFiTraceLog::findKwfisVerboseValue(path));
    char left[100] = "";
    EXPECT_EQ(static_cast<ssize_t>(setting.size()), ::read(pipe, left, sizeof left));
    EXPECT_EQ(setting, left);
    close(pipe);
}

TEST_F(VerboseTest, DeviceWithoutEndHoldsNoKey) {
    std::filesystem::create_symlink("/dev/zero", temp.path("zeros"));
    EXPECT_EQ(1, readFrom("zeros"));
    EXPECT_EQ(UNTOUCHED, level);
}

TEST_F(VerboseTest, NoSlashIsPutBetweenDirectoryAndFile) {
    kzfi_tests::writeFile(temp.path("ab"), "VERBOSE = 5\n");
    tstring dir((temp.path() + "/a").c_str());
    tstring file("b");
    EXPECT_EQ(0, CFiTraceLog::getKwfisTraceLevel(dir, file, level));
    EXPECT_EQ(5, level);
    EXPECT_STREQ("b", file.c_str());
}

// Lines are read in pieces of 254 characters.

TEST_F(VerboseTest, KeyAndNumberAreSeenWithinOnePieceOnly) {
    const std::string setting = "VERBOSE = 57";
    for (std::size_t before = 0; before < 600; ++before) {
        const std::size_t inPiece = 254 - before % 254;
        const int status = read(std::string(before, 'x') + setting + "\n");
        if (inPiece >= setting.size()) {
            EXPECT_EQ(0, status) << before;
            EXPECT_EQ(57, level) << before;
        } else if (inPiece == setting.size() - 1) {
            EXPECT_EQ(0, status) << before;
            EXPECT_EQ(5, level) << before << ": the number is cut";
        } else {
            EXPECT_EQ(1, status) << before;
            EXPECT_EQ(UNTOUCHED, level) << before;
        }
    }
}

TEST_F(VerboseTest, LongKeyAcrossTwoPiecesHidesTheShortOne) {
    EXPECT_EQ(1, read(std::string(250, 'x') + "KWFIS_VERBOSE = 9\nVERBOSE = 5\n"));
    EXPECT_EQ(UNTOUCHED, level);
}

TEST_F(VerboseTest, EqualsSignOfAnEarlierPieceDoesNotCount) {
    EXPECT_EQ(0, read("a = 1" + std::string(249, ' ') + "VERBOSE = 5\n"));
    EXPECT_EQ(5, level);
    EXPECT_EQ(0, read("a = 1" + std::string(200, ' ') + "VERBOSE = 5\n"));
    EXPECT_EQ(1, level);
}

TEST_F(VerboseTest, NulEndsItsPiece) {
    const std::string nul(1, '\0');
    EXPECT_EQ(0, read("a" + nul + "VERBOSE = 5\nVERBOSE = 6\n"));
    EXPECT_EQ(6, level);
    EXPECT_EQ(1, read("VERBOSE" + nul + " = 5\nVERBOSE = 6\n"));
    EXPECT_EQ(UNTOUCHED, level);
    EXPECT_EQ(0, read("VERBOSE = 5" + nul + "6\n"));
    EXPECT_EQ(5, level);
    // The next piece of the line is a text of its own.
    EXPECT_EQ(0, read("a" + nul + std::string(252, 'x') + "VERBOSE = 5\n"));
    EXPECT_EQ(5, level);
    EXPECT_TRUE(find("a" + nul + "KWFIS_VERBOSE\n"));
}

TEST_F(VerboseTest, LargeFileIsReadToItsEnd) {
    std::string text;
    for (int line = 0; line < 20000; ++line) {
        text += "SETTING_" + std::to_string(line) + " = value\n";
    }
    EXPECT_EQ(1, read(text));
    EXPECT_EQ(0, read(text + "VERBOSE = 5\n"));
    EXPECT_EQ(5, level);
    EXPECT_EQ(0, read("VERBOSE = 5\n" + text + "KWFIS_VERBOSE = 9\n"));
    EXPECT_EQ(9, level);
}

} // namespace
