// Device names and paths.
#include "cfistoragestacktool.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Tool = kzfi_pdk_4_4::CFiStoragestackTool;

using Test = bool (*)(std::string);

void expectAll(bool expected, Test test, const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        EXPECT_EQ(expected, test(name)) << '"' << name << '"';
    }
}

// The path that was in the output before the call.
const std::string BEFORE = "before";

std::string rawOf(const std::string& block) {
    std::string raw = BEFORE;
    Tool::makeBlockToRawPath(block, raw);
    return raw;
}

std::string blockOf(const std::string& raw) {
    std::string block = BEFORE;
    Tool::makeRawToBlockPath(raw, block);
    return block;
}

TEST(DiskName, TakesControllerTargetDisk) {
    expectAll(true, Tool::isCTDDiskFormat,
              {"c0t1d2", "c12t3d45", "c0t1d2s3", "c0t1d2s15", "c12t600A0B80d0s4", "c1tXd10s15"});
}

TEST(DiskName, TakesAnythingBetweenTargetAndDisk) {
    expectAll(true, Tool::isCTDDiskFormat,
              {"c0tttd2", "c0t d22", "c0tdddd2", "c0t1s2d3", std::string("c0t/-\xFF") + "d0",
               "c000td0", std::string("c0t\0d1", 6)});
}

TEST(DiskName, NeedsSixCharacters) {
    expectAll(false, Tool::isCTDDiskFormat, {"", "c", "c0", "c0t", "c0t1", "c0td2"});
    expectAll(true, Tool::isCTDDiskFormat, {"c0t1d2"});
}

TEST(DiskName, NeedsTheControllerInFront) {
    expectAll(false, Tool::isCTDDiskFormat,
              {"d0t1d2", "C0t1d2", " c0t1d2", "ct1d22", "cxt1d2", "c0x1d2", "c0xt1d2", "c0d1t2",
               "c000000", "c0000000t", "c-1t1d2", "/dev/c0t1d2"});
}

TEST(DiskName, NeedsTheDiskAtTheEnd) {
    expectAll(false, Tool::isCTDDiskFormat,
              {"c0t1d2x", "c0t1dd", "c0t123", "c0t1d2 ", "c0t1D2", "c0t1d2s", "c0t1d2p3"});
}

TEST(DiskName, RemovesOneSliceOfOneOrTwoDigits) {
    expectAll(false, Tool::isCTDDiskFormat,
              {"c0t1d2s123", "c0t1d2s3s4", "c0t1ds3", "c0t1ds15", "c0ts12", "c0t1s2"});
}

TEST(DiskName, KnowsAsciiDigitsOnly) {
    // Digits of other scripts, as UTF-8 and as single bytes of Latin-1.
    expectAll(false, Tool::isCTDDiskFormat,
              {"c\xD9\xA0t1d2", "c0t1d\xD9\xA2", "c\xB2t1d2", "c0\xB2t1d2", "c0t1d\xB2"});
}

TEST(DiskSliceName, NeedsASlice) {
    expectAll(true, Tool::isCTDSDiskFormat, {"c0t1d2s3", "c0t1d2s15", "c12t600A0B80d0s4"});
    expectAll(false, Tool::isCTDSDiskFormat, {"c0t1d2", "c0t1d2s", "c0t1d2s123", "c0t1d2s3 "});
}

TEST(DiskSliceName, NeedsADiskName) {
    expectAll(false, Tool::isCTDSDiskFormat,
              {"", "s", "3", "s3", "s15", "d0t1d2s3", "c0t1s3", "c0ts12", "sda1s3"});
}

TEST(EmcpowerName, NeedsADigitBehindIt) {
    expectAll(true, Tool::isEmcpowerDiskFormat,
              {"emcpower12", "emcpower12c", "emcpower0", "emcpower1/x"});
    expectAll(false, Tool::isEmcpowerDiskFormat,
              {"", "emcpower", "emcpowera", "emcpower 1", "emcpowe1", "EMCPOWER1"});
}

TEST(EmcpowerName, MayStandAnywhere) {
    expectAll(true, Tool::isEmcpowerDiskFormat, {"/dev/emcpower3", "xemcpower3", "emcemcpower3"});
}

TEST(EmcpowerName, IsTheFirstOne) {
    expectAll(true, Tool::isEmcpowerDiskFormat, {"emcpower1emcpower"});
    expectAll(false, Tool::isEmcpowerDiskFormat, {"emcpoweremcpower1", "emcpower-emcpower1"});
}

TEST(EmcpowerPartition, EndsInALetterFromAToH) {
    expectAll(true, Tool::isEmcpowerRawpFormat,
              {"emcpower12a", "emcpower12c", "emcpower12h", "emcpower1zh", "/dev/emcpower0b"});
    expectAll(
        false, Tool::isEmcpowerRawpFormat,
        {"emcpower12", "emcpower12k", "emcpower12i", "emcpower12`", "emcpower12A", "emcpower12c "});
}

TEST(EmcpowerPartition, NeedsADiskName) {
    expectAll(false, Tool::isEmcpowerRawpFormat, {"", "a", "emcpower", "emcpowera", "emcpowe1a"});
}

TEST(DiskSlice, IsNotAdded) {
    for (const char* name : {"", "c0t1d2", "c0t1d2s3", "emcpower12"}) {
        EXPECT_EQ(name, Tool::addDiskSliceToDisk(name));
    }
}

TEST(DevPrefix, IsRemovedOnce) {
    const std::vector<std::vector<std::string>> table = {
        {"/dev/sda", "sda"},
        {"sda", "sda"},
        {"/dev//dev/sda", "/dev/sda"},
        {"/dev/", ""},
        {"/dev", "/dev"},
        {"", ""},
        {" /dev/sda", " /dev/sda"},
        {"dev/sda", "dev/sda"},
        {"/DEV/sda", "/DEV/sda"},
        {"/dev/kz/dsk/dg/vol", "kz/dsk/dg/vol"},
    };
    for (const auto& row : table) {
        std::string name = row[0];
        Tool::removeDevPrefix(name);
        EXPECT_EQ(row[1], name) << row[0];
    }
}

TEST(DevPrefix, IsAddedAlways) {
    EXPECT_EQ("/dev/sda", Tool::makeCompleteDevName("sda"));
    EXPECT_EQ("/dev//dev/sda", Tool::makeCompleteDevName("/dev/sda"));
    EXPECT_EQ("/dev/", Tool::makeCompleteDevName(""));
}

TEST(DevicePath, StaysAsItIsUnderDev) {
    for (const char* path : {"/dev/kz/dsk/dg/vol", "/dev/kz/dmp/disk_0", "/dev/kz/rdsk/dg/vol",
                             "/dev/kz/rdmp/disk_0", "/dev/sda", "/dev/"}) {
        EXPECT_EQ(path, rawOf(path));
        EXPECT_EQ(path, blockOf(path));
    }
}

TEST(DevicePath, LeavesTheOutputAloneElsewhere) {
    for (const char* path : {"", "sda", "/dev", "/devices/sda", "kz/dsk/dg/vol", " /dev/sda"}) {
        EXPECT_EQ(BEFORE, rawOf(path));
        EXPECT_EQ(BEFORE, blockOf(path));
    }
}

TEST(DevicePath, MayBeInputAndOutputAtOnce) {
    for (const std::string path : {"/dev/kz/dsk/dg/vol", "sda"}) {
        std::string both = path;
        Tool::makeBlockToRawPath(both, both);
        EXPECT_EQ(path, both);
        Tool::makeRawToBlockPath(both, both);
        EXPECT_EQ(path, both);
    }
}

} // namespace
