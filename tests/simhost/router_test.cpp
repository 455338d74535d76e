// The router sample, the way a user runs it, and what it leaves below the root.
#include <gmock/gmock.h>

#include <filesystem>

#include "command.h"

namespace {

using kzfi_simhost::Json;
using kzfi_tests::CommandResult;
using kzfi_tests::readFile;
using kzfi_tests::writeFile;
using testing::HasSubstr;

namespace fs = std::filesystem;

const std::string FIRST = "UDID##ACME##A9##ENC1##00A3";
const std::string SECOND = "UDID##ACME##A9##ENC1##00B7";

class RouterTest : public testing::Test {
  protected:
    /// The sample's own scenario.
    CommandResult runSample(const std::vector<std::string>& options = {}) {
        std::vector<std::string> arguments = {"run",    KZFI_ROUTER_FOLDER "/router.yaml",
                                              "--root", simhost.path("root"),
                                              "--json", simhost.path("report.json")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return simhost(arguments);
    }

    /// A run of its own for every change; returns the command's status.
    int present(const std::string& device, const std::string& host, int expected = 0) {
        return run("importResource: {udid: " + device + ", hostname: " + host + ", request: 1}",
                   expected);
    }

    int withdraw(const std::string& device, const std::string& host) {
        return run("deportResource: {udid: " + device + ", hostname: " + host + ", request: 32}",
                   0);
    }

    int run(const std::string& step, int expected) {
        writeFile(simhost.scenario(),
                  "provider: " KZFI_ROUTER_FOLDER "/router.so\n"
                  "files: {devices/ENC1/00A3: a, devices/ENC1/00B7: b, "
                  "devices/ENC2/0001: c}\n"
                  "steps:\n  - " +
                      step + "\n    expect: {status: " + std::to_string(expected) + "}\n");
        return simhost({"run", simhost.scenario(), "--root", simhost.path("root")}).status;
    }

    /// What a host sees under a number; empty when it sees nothing.
    std::string seen(const std::string& host, int number) const {
        const std::string link = host + "/lun" + std::to_string(number);
        return readFile(simhost.path("root/hosts/" + link));
    }

    kzfi_tests::SimhostCommand simhost;
};

TEST_F(RouterTest, TheScenarioPasses) {
    const CommandResult result = runSample();
    EXPECT_EQ(result.status, 0) << result.out << result.err;
    EXPECT_THAT(result.out, HasSubstr("\nPASSED  52 steps: 52 passed; "));
    EXPECT_EQ(result.err, "");
}

TEST_F(RouterTest, LeavesWhatTheScenarioDoesNotWithdraw) {
    runSample();
    EXPECT_EQ(seen("gamma", 16), "the second");
    EXPECT_FALSE(fs::exists(simhost.path("root/hosts/alpha"))) << "nothing is presented to it";
    EXPECT_FALSE(fs::exists(simhost.path("root/hosts/beta")));
}

TEST_F(RouterTest, PassesTwiceOnTheSameRoot) {
    EXPECT_EQ(runSample().status, 0);
    EXPECT_EQ(runSample().status, 0);
    EXPECT_EQ(seen("gamma", 16), "the second");
    EXPECT_FALSE(fs::exists(simhost.path("root/hosts/gamma/lun17")));
}

TEST_F(RouterTest, IsUnloaded) {
    runSample();
    const Json unload = Json::parse(readFile(simhost.path("report.json")))["steps"].back();
    EXPECT_EQ(unload["answer"]["values"], Json({{"references", 0}, {"unloaded", true}}));
}

TEST_F(RouterTest, ALaterRunFindsTheNumbersOfTheFirstInUse) {
    EXPECT_EQ(present(FIRST, "alpha"), 0);
    EXPECT_EQ(fs::read_symlink(simhost.path("root/hosts/alpha/lun16")),
              simhost.path("root/devices/ENC1/00A3"));
    EXPECT_EQ(present(SECOND, "alpha"), 0);
    EXPECT_EQ(seen("alpha", 16), "a");
    EXPECT_EQ(seen("alpha", 17), "b");
}

TEST_F(RouterTest, ADeviceKeepsItsNumberForAllHosts) {
    present(SECOND, "alpha");
    present(FIRST, "alpha");
    EXPECT_EQ(present(FIRST, "beta"), 0);
    EXPECT_EQ(seen("beta", 17), "a");
}

TEST_F(RouterTest, AWithdrawnDeviceIsGoneAndItsNumberFreeAfterTheLastHost) {
    present(FIRST, "alpha");
    present(FIRST, "beta");
    EXPECT_EQ(withdraw(FIRST, "alpha"), 0);
    EXPECT_FALSE(fs::is_symlink(simhost.path("root/hosts/alpha/lun16")));
    EXPECT_EQ(seen("beta", 16), "a");
    present(SECOND, "alpha");
    EXPECT_EQ(seen("alpha", 17), "b");
    EXPECT_EQ(withdraw(FIRST, "beta"), 0);
    EXPECT_FALSE(fs::is_symlink(simhost.path("root/hosts/beta/lun16")));
    EXPECT_EQ(withdraw(SECOND, "null"), 0);
    EXPECT_FALSE(fs::is_symlink(simhost.path("root/hosts/alpha/lun17")));
    present(SECOND, "alpha");
    EXPECT_EQ(seen("alpha", 16), "b");
}

TEST_F(RouterTest, NumbersRunOut) {
    for (int number = 16; number <= 31; ++number) {
        writeFile(simhost.path("root/lib/kzfi/cachefiles/luns/ENC1/" + std::to_string(number)),
                  std::to_string(number));
    }
    EXPECT_EQ(present(FIRST, "alpha", 1002), 0);
    EXPECT_FALSE(fs::exists(simhost.path("root/hosts")));
}

TEST_F(RouterTest, ALinkThatCannotBeMadeIsReported) {
    writeFile(simhost.path("root/hosts/alpha"), "a file");
    EXPECT_EQ(present(FIRST, "alpha", 1003), 0);
    EXPECT_EQ(present(FIRST, "beta"), 0);
    EXPECT_EQ(seen("beta", 16), "a");
}

TEST_F(RouterTest, NamesThatLeadElsewhereAreRefused) {
    for (const char* const host : {"../alpha", "a/b", "..", ".", "''"}) {
        EXPECT_EQ(present(FIRST, host, 1004), 0) << host;
    }
    for (const char* const device : {"UDID##ACME##A9##ENC1##..", "UDID##AC/ME##A9##ENC1##00A3"}) {
        EXPECT_EQ(present(device, "alpha", 1004), 0) << device;
    }
    EXPECT_FALSE(fs::exists(simhost.path("root/hosts")));
}

TEST_F(RouterTest, DevicesOfOtherEnclosuresAreNotThere) {
    for (const char* const device :
         {"UDID##ACME##A9##..##devices", "UDID##ACME##A9##ENC3##00A3", "UDID##ACME##A9##00A3"}) {
        EXPECT_EQ(present(device, "alpha", 1001), 0) << device;
    }
    EXPECT_FALSE(fs::exists(simhost.path("root/hosts")));
}

TEST_F(RouterTest, AHostSeesDevicesOfBothEnclosures) {
    present(FIRST, "alpha");
    present("UDID##ACME##A9##ENC2##0001", "alpha");
    EXPECT_EQ(seen("alpha", 16), "a");
    EXPECT_EQ(seen("alpha", 32), "c");
}

TEST_F(RouterTest, ARecordThatHoldsRubbishIsWrittenOver) {
    for (const char* const rubbish : {"abc", "", "99", "-1"}) {
        writeFile(simhost.path("root/lib/kzfi/cachefiles/luns/ENC1/" + FIRST), rubbish);
        EXPECT_EQ(present(FIRST, "alpha"), 0) << rubbish;
        EXPECT_EQ(seen("alpha", 16), "a") << rubbish;
    }
}

TEST_F(RouterTest, TheTreeShowsItsNodes) {
    const std::string tree =
        "  <router>UDID##ACME##A9##ENC1##00A3  type 16, flags 0x8, support level 1\n"
        "  - mirror_alt / mirror / mirror_FIM_GROUP\n"
        "    UDID##ACME##A9##ENC1##00A3  type 1, flags 0x0, support level 0\n"
        "    mirror_FIM_GROUP  type 16, flags 0x0, support level 0\n"
        "  <router>UDID##ACME##A9##ENC2##0001  type 16, flags 0x0, support level 8\n"
        "    UDID##ACME##A9##ENC2##0001  type 17, flags 0x0, support level 0\n"
        "    copies  type 0, flags 0x0, support level 0\n";
    EXPECT_THAT(runSample({"--tree"}).out, HasSubstr(tree));
}

TEST_F(RouterTest, DescribesItself) {
    const CommandResult result =
        simhost({"describe", KZFI_ROUTER_FOLDER "/router.so", "--root", simhost.path("root")});
    EXPECT_EQ(result.status, 0) << result.out << result.err;
    EXPECT_THAT(result.out, HasSubstr("name      router\nFIM name  router\n"));
}

} // namespace
