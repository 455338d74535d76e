// The disk image sample's requests, with the real qemu-img.
#include "diskimage_fixture.h"

namespace kzfi_tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace fs = std::filesystem;

const std::size_t SIZE = std::size_t{3} * 1048576;

TEST_F(DiskImageTest, ARawDiskGoesToAQcow2SnapshotAndBack) {
    const std::string before = noise(SIZE, 1);
    disk("00A3.raw", before);
    startHost();
    choose(SOURCE, "00B7", "qcow2");
    EXPECT_EQ(prepare(), 0);
    const auto outcome = call("make", {{"nodes", {SOURCE}}});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.values["made"], Json({TARGET}));
    EXPECT_THAT(files(), ElementsAre("00A3.raw", "00B7.qcow2"));
    EXPECT_THAT(content("00B7.qcow2"), StartsWith("QFI\xfb"));
    qemuImg("compare -f raw -F qcow2 " + inEnclosure("00A3.raw") + " " + inEnclosure("00B7.qcow2"));
    disk("00A3.raw", noise(SIZE, 2));
    EXPECT_EQ(restore(), 0);
    EXPECT_TRUE(holds("00A3.raw", before));
    EXPECT_THAT(files(), ElementsAre("00A3.raw", "00B7.qcow2"));
}

TEST_F(DiskImageTest, AQcow2DiskGoesToARawSnapshotAndBack) {
    const std::string before = noise(SIZE, 3);
    disk("content", before);
    qemuImg("convert -f raw -O qcow2 " + inEnclosure("content") + " " + inEnclosure("00A3.qcow2"));
    fs::remove(inEnclosure("content"));
    startHost();
    choose(SOURCE, "00B7", "raw");
    EXPECT_EQ(prepare(), 0);
    EXPECT_EQ(make(), 0);
    EXPECT_TRUE(holds("00B7.raw", before));
    qemuImg("create -f qcow2 " + inEnclosure("00A3.qcow2") + " 1M");
    EXPECT_EQ(restore(), 0);
    EXPECT_THAT(files(), ElementsAre("00A3.qcow2", "00B7.raw"));
    qemuImg("compare -f qcow2 -F raw " + inEnclosure("00A3.qcow2") + " " + inEnclosure("00B7.raw"));
}

TEST_F(DiskImageTest, ASnapshotStaysAsItWasMade) {
    disk("00A3.raw", noise(SIZE, 1));
    startHost();
    choose();
    EXPECT_EQ(make(), 0);
    disk("00A3.raw", noise(SIZE, 2));
    EXPECT_TRUE(holds("00B7.raw", noise(SIZE, 1)));
}

TEST_F(DiskImageTest, CopiesHaveTheModeOfTheDisk) {
    disk("00A3.raw", noise(512, 1));
    fs::permissions(inEnclosure("00A3.raw"), fs::perms(0640));
    startHost();
    choose();
    EXPECT_EQ(make(), 0);
    EXPECT_EQ(fs::status(inEnclosure("00B7.raw")).permissions(), fs::perms(0640));
    fs::permissions(inEnclosure("00A3.raw"), fs::perms(0604));
    EXPECT_EQ(restore(), 0);
    EXPECT_EQ(fs::status(inEnclosure("00A3.raw")).permissions(), fs::perms(0604));
}

TEST_F(DiskImageTest, ALostDiskComesBackInTheSnapshotsFormat) {
    disk("00A3.raw", noise(SIZE, 1));
    startHost();
    choose(SOURCE, "00B7", "qcow2");
    EXPECT_EQ(make(), 0);
    fs::remove(inEnclosure("00A3.raw"));
    EXPECT_EQ(restore(), 0);
    EXPECT_THAT(files(), ElementsAre("00A3.qcow2", "00B7.qcow2"));
}

TEST_F(DiskImageTest, ClaimsAndSupportsTheDisksThatAreThere) {
    disk("00A3.raw", noise(512, 1));
    startHost();
    EXPECT_EQ(status("claim", {{"object", SOURCE}}), 2);
    EXPECT_EQ(status("claim", {{"object", OTHER}}), 0);
    for (const char* const name : {"/dev/sda", "UDID##ACME##ARRAY##ENC1##00A3", "UDID##ACME", ""}) {
        EXPECT_EQ(status("claim", {{"object", name}}), 0) << name;
    }
    for (const char* const type : {"diskimage", "any"}) {
        const auto supported = call("supportsFiType", {{"node", SOURCE}, {"fiType", type}});
        EXPECT_EQ(supported.status, 1) << type;
        EXPECT_EQ(supported.values["supportLevel"], 1) << type;
    }
    for (const Json& fields : {Json({{"node", SOURCE}, {"fiType", "mirror"}}),
                               Json({{"node", SOURCE}, {"fiType", Json()}}),
                               Json({{"node", OTHER}, {"fiType", "any"}})}) {
        const auto refused = call("supportsFiType", fields);
        EXPECT_EQ(refused.status, 0) << fields;
        EXPECT_EQ(refused.values["supportLevel"], 0) << fields;
    }
}

TEST_F(DiskImageTest, NullPointersAreRefused) {
    disk("00A3.raw", noise(512, 1));
    startHost();
    kzfi_pdk_4_4::CFiPluginBase& provider = host->provider();
    char type[] = "any";
    char session[] = "";
    kzfi_objid* ids[1] = {nullptr};
    kfi_splitnode* nodes[1] = {nullptr};
    long statuses[1] = {0};
    kzfi_objid** made = nullptr;
    int count = 0;
    EXPECT_EQ(provider.claim(nullptr, nullptr, nullptr), KZFI_CLAIM_NONE);
    EXPECT_EQ(provider.supportsFiType(nullptr, type), 0);
    EXPECT_EQ(provider.select(session, nullptr, 1), KZFI_ERR_INVALID);
    EXPECT_EQ(provider.prepare(session, nodes, 1, 0), KZFI_ERR_INVALID);
    EXPECT_EQ(provider.make(session, nodes, 1, nullptr, &count), KZFI_ERR_INVALID);
    EXPECT_EQ(provider.make(session, nullptr, 1, &made, &count), KZFI_ERR_INVALID);
    EXPECT_EQ(provider.checkNodeExistence(nullptr, nullptr), KZFI_ERR_INVALID);
    EXPECT_EQ(provider.checkNodeExistence(nullptr, &count), KZFI_OK);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(provider.restore(nullptr, ids, 1, session, session, nullptr, nullptr, 0, statuses),
              KZFI_ERR_INVALID);
    EXPECT_EQ(provider.restore(ids, ids, 1, session, session, nullptr, nullptr, 0, nullptr),
              CANNOT_RESTORE);
    EXPECT_EQ(provider.dispose(nullptr, nullptr, nullptr, 0), KZFI_ERR_INVALID);
    EXPECT_EQ(provider.getStatus(ids, ids, 1, session, 0, statuses), KZFI_OK);
    EXPECT_EQ(statuses[0], 2);
    EXPECT_EQ(provider.getStatus(nullptr, nullptr, 1, session, 0, nullptr), KZFI_OK);
}

TEST_F(DiskImageTest, DescribesItsParameters) {
    startHost();
    call("initNode", {{"node", SOURCE}});
    const auto outcome = call("config", {{"node", SOURCE}, {"mode", "getparam"}, {"list", "1"}});
    const std::string xml = outcome.text->get<std::string>();
    for (const char* const piece :
         {"<key>snapshot_resource_spec</key>", "<selectionItem>raw</selectionItem>",
          "<selectionItem>qcow2</selectionItem>", "<rangeMin>1</rangeMin>",
          "<rangeMax>86400</rangeMax>"}) {
        EXPECT_THAT(xml, HasSubstr(piece));
    }
    EXPECT_EQ(status("objctl", {{"command", "other"}}), 4);
    EXPECT_EQ(status("objctl", {{"command", "abort"}}), 0) << "nothing runs";
}

// ---- What is refused ----

TEST_F(DiskImageTest, WithoutATargetThereIsNoSnapshot) {
    disk("00A3.raw", noise(512, 1));
    startHost();
    EXPECT_EQ(prepare(), CANNOT_PREPARE) << "initNode comes first";
    const std::string words = "diskimage: No target is chosen for " + SOURCE +
                              "; snapshot_resource_spec names the targets.";
    EXPECT_EQ(said(), words);
    for (const char* const spec : {"", "[ENC1##00FF;ENC1##00B7]", "[ENC1##00A3]", "[]"}) {
        set(SOURCE, {{"snapshot_resource_spec", spec}});
        EXPECT_EQ(status("select", {{"nodes", {SOURCE}}}), CANNOT_SELECT) << spec;
        EXPECT_EQ(said(), words) << spec;
        EXPECT_EQ(make(), CANNOT_MAKE) << spec;
        EXPECT_EQ(said(), words) << spec;
    }
    choose();
    set(SOURCE, {{"snapshot_resource_spec", "[]"}});
    EXPECT_EQ(status("select", {{"nodes", {SOURCE}}}), CANNOT_SELECT);
    EXPECT_EQ(make(), CANNOT_MAKE) << "an earlier choice does not stay";
    EXPECT_THAT(files(), ElementsAre("00A3.raw"));
}

TEST_F(DiskImageTest, ADiskThatIsMissingIsNamed) {
    disk("00A4.raw", noise(512, 1));
    startHost();
    choose();
    EXPECT_EQ(prepare(), CANNOT_PREPARE);
    EXPECT_EQ(said(), "diskimage: The disk image " + SOURCE + " does not exist.");
    EXPECT_EQ(make(), CANNOT_MAKE);
    EXPECT_EQ(said("de"), "diskimage: Das Plattenabbild " + SOURCE + " gibt es nicht.");
    EXPECT_EQ(restore(), CANNOT_RESTORE);
    EXPECT_EQ(said(), "diskimage: The disk image " + TARGET + " does not exist.");
}

TEST_F(DiskImageTest, ATargetThatIsInUseIsKept) {
    for (const char* const name : {"00B7.raw", "00B7.qcow2"}) {
        disk("00A3.raw", noise(512, 1));
        disk(name, "kept");
        startHost();
        choose();
        EXPECT_EQ(prepare(), CANNOT_PREPARE);
        EXPECT_EQ(make(), CANNOT_MAKE);
        EXPECT_EQ(said(), "diskimage: The target " + TARGET +
                              " is in use; dispose of what it holds first.");
        EXPECT_EQ(content(name), "kept");
        EXPECT_EQ(dispose(), 0);
        EXPECT_EQ(make(), 0) << said();
        EXPECT_EQ(dispose(), 0);
        stopHost();
    }
}

TEST_F(DiskImageTest, WithoutRoomNothingIsMade) {
    disk("00A4.raw", "");
    qemuImg("create -f qcow2 " + inEnclosure("00A3.qcow2") + " 64T");
    startHost();
    choose(SOURCE, "00B7", "raw");
    const std::uintmax_t free = fs::space(folder.path()).available;
    EXPECT_EQ(prepare(), CANNOT_PREPARE);
    const std::string words = said();
    EXPECT_THAT(words, StartsWith("diskimage: There is no room for " + TARGET +
                                  ": it may take 70368744177664 bytes, "));
    const std::string tail = words.substr(words.find("bytes, ") + 7);
    EXPECT_NEAR(std::stod(tail), static_cast<double>(free), 1e9);
    EXPECT_EQ(tail.substr(tail.find(' ')), " are free.");
}

TEST_F(DiskImageTest, TheRoomIsCountedForAllNodesTogether) {
    const std::string half = std::to_string(fs::space(folder.path()).available / 5 * 3 / 512 * 512);
    disk("reference", "");
    qemuImg("create -f qcow2 " + inEnclosure("00A3.qcow2") + " " + half);
    qemuImg("create -f qcow2 " + inEnclosure("00A4.qcow2") + " " + half);
    startHost();
    choose(SOURCE, "00B7");
    choose(OTHER, "00B8");
    EXPECT_EQ(prepare({SOURCE}), 0) << said();
    EXPECT_EQ(prepare({OTHER}), 0) << said();
    EXPECT_EQ(prepare({SOURCE, OTHER}), CANNOT_PREPARE);
    EXPECT_THAT(said(), StartsWith("diskimage: There is no room for " + OTHER_TARGET));
}

TEST_F(DiskImageTest, ParametersThatMakeNoSenseAreNamed) {
    disk("00A3.raw", noise(512, 1));
    startHost();
    for (const char* const format : {"vmdk", "RAW", ""}) {
        choose(SOURCE, "00B7", format);
        EXPECT_EQ(prepare(), CANNOT_PREPARE);
        EXPECT_EQ(said(), "diskimage: The parameter target_format cannot be \"" +
                              std::string(format) + "\".");
    }
    for (const char* const limit : {"0", "-1", "86401", "ten", "1x", "", "99999999999999999999"}) {
        choose(SOURCE, "00B7", "raw", limit);
        EXPECT_EQ(prepare(), CANNOT_PREPARE);
        EXPECT_EQ(said("de"), "diskimage: Der Parameter time_limit kann nicht „" +
                                  std::string(limit) + "“ sein.");
    }
}

TEST_F(DiskImageTest, ImagesThatAreNotWholeAreRefused) {
    startHost();
    choose();
    for (const std::size_t size : {std::size_t(1), std::size_t(513)}) {
        disk("00A3.raw", noise(size, 1));
        EXPECT_EQ(make(), CANNOT_MAKE);
        EXPECT_EQ(said(), "diskimage: " + inEnclosure("00A3.raw") + " is not a whole raw image.");
    }
    fs::remove(inEnclosure("00A3.raw"));
    for (const std::string& bytes : {std::string(), std::string("QFI"), noise(4096, 1),
                                     std::string("QFI\xfb\0\0\0\x04", 8) + std::string(96, '\0')}) {
        disk("00A3.qcow2", bytes);
        EXPECT_EQ(make(), CANNOT_MAKE);
        EXPECT_EQ(said(),
                  "diskimage: " + inEnclosure("00A3.qcow2") + " is not a whole qcow2 image.");
    }
    EXPECT_THAT(files(), ElementsAre("00A3.qcow2"));
}

TEST_F(DiskImageTest, ImagesThatNameOtherFilesAreRefused) {
    disk("secret", noise(65536, 9));
    startHost();
    choose();
    const std::string image = inEnclosure("00A3.qcow2");
    for (const std::string& way :
         {"create -f qcow2 -F raw -b " + inEnclosure("secret") + " " + image,
          "create -f qcow2 -o compat=0.10,backing_fmt=raw -b " + inEnclosure("secret") + " " +
              image,
          "create -f qcow2 -o data_file=" + inEnclosure("secret") + " " + image + " 64K"}) {
        qemuImg(way);
        EXPECT_EQ(prepare(), CANNOT_PREPARE) << way;
        EXPECT_EQ(said(), "diskimage: The disk image " + image +
                              " takes a part of its content from other files.");
        EXPECT_EQ(make(), CANNOT_MAKE) << way;
        fs::remove(image);
    }
}

TEST_F(DiskImageTest, TheContentOfARawDiskIsNeverTakenForAnotherFormat) {
    disk("secret", noise(65536, 9));
    qemuImg("create -f qcow2 -F raw -b " + inEnclosure("secret") + " " + inEnclosure("00A3.raw"));
    fs::resize_file(inEnclosure("00A3.raw"), 1048576);
    const std::string disguised = content("00A3.raw");
    ASSERT_THAT(disguised, StartsWith("QFI\xfb"));
    startHost();
    choose();
    EXPECT_EQ(prepare(), 0) << said();
    EXPECT_EQ(make(), 0) << said();
    EXPECT_TRUE(holds("00B7.raw", disguised));
    EXPECT_EQ(restore(), 0) << said();
    EXPECT_TRUE(holds("00A3.raw", disguised));
}

TEST_F(DiskImageTest, NamesThatLeadElsewhereAreRefused) {
    writeFile(folder.path("root/00A3.raw"), noise(512, 1));
    disk("00A4.raw", noise(512, 1));
    fs::create_symlink(folder.path("root/00A3.raw"), inEnclosure("00A3.raw"));
    fs::create_directory(inEnclosure("00AD.raw"));
    const Names names = {
        "UDID##ACME##DISKIMAGE##ENC1##../../00A3",
        "UDID##ACME##DISKIMAGE##..##00A3",
        "UDID##ACME##DISKIMAGE##ENC1/X##00A3",
        "UDID##ACME##DISKIMAGE##ENC1##.HIDDEN",
        "UDID##ACME##DISKIMAGE##ENC1##A\nB",
        "UDID##ACME##DISKIMAGE##00A3",
        "UDID##OTHER##DISKIMAGE##ENC1##00A4",
        "UDID##ACME",
        "/dev/sda",
    };
    for (const std::string& name : names) {
        addNode(name);
    }
    const std::string directory = "UDID##ACME##DISKIMAGE##ENC1##00AD";
    addNode(directory);
    startHost();
    for (const std::string& name : names) {
        EXPECT_FALSE(exists(name)) << name;
        call("initNode", {{"node", name}});
        EXPECT_EQ(make({name}), CANNOT_MAKE) << name;
        EXPECT_EQ(said(), "diskimage: " + name + " does not identify a disk image.");
        EXPECT_EQ(restore(name, TARGET), CANNOT_RESTORE) << name;
        EXPECT_EQ(snapshotStatus(name), 2) << name;
    }
    EXPECT_FALSE(exists(SOURCE)) << "a link is no disk";
    EXPECT_FALSE(exists(directory)) << "nor is a folder";
    set("/dev/sda", {{"snapshot_resource_spec", "[ENC1##00A3;ENC1##00B7]"}});
    EXPECT_EQ(status("select", {{"nodes", {"/dev/sda"}}}), CANNOT_SELECT);
    EXPECT_EQ(said(), "diskimage: /dev/sda does not identify a disk image.");
}

TEST_F(DiskImageTest, ATargetThatLeadsElsewhereIsRefused) {
    disk("00A3.raw", noise(512, 1));
    startHost();
    choose(SOURCE, "../../00B7");
    EXPECT_EQ(make(), CANNOT_MAKE);
    EXPECT_EQ(said(),
              "diskimage: UDID##ACME##DISKIMAGE##ENC1##../../00B7 does not identify a disk image.");
    EXPECT_FALSE(fs::exists(folder.path("root/00B7.raw")));
}

// ---- Several nodes, and the end of a snapshot ----

TEST_F(DiskImageTest, ARequestIsMadeAsAWholeOrNotAtAll) {
    disk("00A3.raw", noise(SIZE, 1));
    startHost();
    choose(SOURCE, "00B7");
    choose(OTHER, "00B8");
    const auto failed = call("make", {{"nodes", {SOURCE, OTHER}}});
    EXPECT_EQ(failed.status, CANNOT_MAKE);
    EXPECT_EQ(failed.values["made"], Json::array());
    EXPECT_THAT(files(), ElementsAre("00A3.raw"));
    disk("00A4.raw", noise(SIZE, 2));
    const auto done = call("make", {{"nodes", {SOURCE, OTHER}}});
    EXPECT_EQ(done.status, 0) << said();
    EXPECT_EQ(done.values["made"], Json({TARGET, OTHER_TARGET}));
    EXPECT_TRUE(holds("00B7.raw", noise(SIZE, 1)));
    EXPECT_TRUE(holds("00B8.raw", noise(SIZE, 2)));
}

TEST_F(DiskImageTest, TwoNodesCannotHaveTheSameTarget) {
    disk("00A3.raw", noise(512, 1));
    disk("00A4.raw", noise(512, 2));
    startHost();
    choose(SOURCE, "00B7");
    choose(OTHER, "00B7");
    EXPECT_EQ(make({SOURCE, OTHER}), CANNOT_MAKE);
    EXPECT_THAT(files(), ElementsAre("00A3.raw", "00A4.raw"));
}

TEST_F(DiskImageTest, EachDiskIsRestoredOnItsOwn) {
    disk("00A3.raw", noise(512, 1));
    disk("00A4.raw", noise(512, 2));
    startHost();
    choose(SOURCE, "00B7");
    choose(OTHER, "00B8");
    EXPECT_EQ(make({OTHER}), 0);
    disk("00A4.raw", noise(512, 3));
    const auto outcome =
        call("restore", {{"primaries", {SOURCE, OTHER}}, {"snapshots", {TARGET, OTHER_TARGET}}});
    EXPECT_EQ(outcome.status, CANNOT_RESTORE);
    EXPECT_EQ(outcome.values["statuses"], Json({CANNOT_RESTORE, 0}));
    EXPECT_TRUE(holds("00A4.raw", noise(512, 2)));
}

TEST_F(DiskImageTest, ADisposedSnapshotIsGone) {
    disk("00A3.raw", noise(512, 1));
    startHost();
    choose();
    EXPECT_FALSE(exists(TARGET));
    EXPECT_EQ(snapshotStatus(), 2);
    EXPECT_EQ(make(), 0);
    EXPECT_TRUE(exists(TARGET));
    EXPECT_EQ(snapshotStatus(), 8);
    EXPECT_EQ(dispose(), 0);
    EXPECT_FALSE(exists(TARGET));
    EXPECT_EQ(snapshotStatus(), 2);
    EXPECT_EQ(dispose(), 0) << "it stays gone";
    EXPECT_THAT(files(), ElementsAre("00A3.raw"));
}

TEST_F(DiskImageTest, OnlyTargetsOfTheNodeAreDisposedOfAndRestoredFrom) {
    disk("00A3.raw", noise(512, 1));
    disk("00A4.raw", noise(512, 2));
    startHost();
    choose();
    for (const std::string& name : {SOURCE, OTHER, OTHER_TARGET}) {
        EXPECT_EQ(dispose(SOURCE, name), CANNOT_DISPOSE) << name;
        EXPECT_EQ(said(), "diskimage: " + name + " is not a target of " + SOURCE + ".");
        EXPECT_EQ(restore(SOURCE, name), CANNOT_RESTORE) << name;
        EXPECT_EQ(said("de"), "diskimage: " + name + " ist kein Ziel von " + SOURCE + ".");
    }
    EXPECT_EQ(dispose(OTHER, TARGET), CANNOT_DISPOSE) << "its targets are not known";
    set(SOURCE, {{"snapshot_resource_spec", "[ENC1##00A3;ENC1##00A3]"}});
    ASSERT_EQ(status("select", {{"nodes", {SOURCE}}}), 0);
    EXPECT_EQ(dispose(SOURCE, SOURCE), CANNOT_DISPOSE) << "a disk is no snapshot of itself";
    EXPECT_THAT(files(), ElementsAre("00A3.raw", "00A4.raw"));
}

TEST_F(DiskImageTest, ADeviceOfTheSameNameInAnotherEnclosureIsNoTarget) {
    disk("00A3.raw", noise(512, 1));
    writeFile(folder.path("root/enclosures/ENC2/00B7.raw"), "another's");
    const std::string other = "UDID##ACME##DISKIMAGE##ENC2##00B7";
    addNode(other);
    giveCredentials(credentialsOf("ENC1") + credentialsOf("ENC2"));
    startHost();
    choose();
    EXPECT_TRUE(exists(other));
    EXPECT_EQ(dispose(SOURCE, other), CANNOT_DISPOSE);
    EXPECT_EQ(restore(SOURCE, other), CANNOT_RESTORE);
    EXPECT_EQ(said(), "diskimage: " + other + " is not a target of " + SOURCE + ".");
    EXPECT_TRUE(exists(other));
}

TEST_F(DiskImageTest, AnyOfTheCandidatesCanBeRestoredFrom) {
    disk("00A3.raw", noise(512, 1));
    disk("00B8.raw", noise(512, 5));
    startHost();
    set(SOURCE, {{"snapshot_resource_spec", "[enc1##00a3;enc1##00b7;enc1##00b8]"}});
    ASSERT_EQ(status("select", {{"nodes", {SOURCE}}}), 0);
    EXPECT_EQ(restore(SOURCE, OTHER_TARGET), 0) << said();
    EXPECT_TRUE(holds("00A3.raw", noise(512, 5)));
}

// ---- Enclosures ----

TEST_F(DiskImageTest, CredentialsOfTheFrameworkChooseTheEnclosure) {
    writeFile(folder.path("elsewhere/00A3.raw"), noise(512, 1));
    giveCredentials(credentialsOf("enc1", folder.path("elsewhere")));
    startHost();
    choose();
    EXPECT_EQ(make(), 0) << said();
    EXPECT_TRUE(readFile(folder.path("elsewhere/00B7.raw")) == noise(512, 1));
}

TEST_F(DiskImageTest, CredentialsOfTheConfigurationChooseTheEnclosure) {
    disk("00A3.raw", noise(512, 1));
    giveCredentials("");
    configure("[CREDENTIALS\\cellar]\n\"HOSTNAME\"=\"ENC1\"\n\"USERNAME\"=\"u\"\n"
              "\"PASSWORD\"=\"p\"\n");
    startHost();
    choose();
    EXPECT_EQ(make(), 0) << said();
    EXPECT_THAT(files(), ElementsAre("00A3.raw", "00B7.raw"));
}

TEST_F(DiskImageTest, TheFrameworksCredentialsComeFirst) {
    writeFile(folder.path("elsewhere/00A3.raw"), noise(512, 1));
    giveCredentials(credentialsOf("ENC1", folder.path("elsewhere")));
    configure("[CREDENTIALS\\cellar]\n\"HOSTNAME\"=\"ENC1\"\n\"USERNAME\"=\"other\"\n"
              "\"PASSWORD\"=\"p\"\n");
    startHost();
    EXPECT_TRUE(exists(SOURCE));
}

TEST_F(DiskImageTest, WithoutCredentialsTheEnclosureIsClosed) {
    disk("00A3.raw", noise(512, 1));
    for (const std::string& text :
         {std::string(), credentialsOf("ENC2"), credentialsOf("../ENC1"),
          std::string(
              "[STORAGE_MANAGEMENT_SERVICE\\ACME_DISKIMAGE\\ENC1]\n\"HOSTNAME\"=\"ENC1\"\n")}) {
        giveCredentials(text);
        startHost();
        EXPECT_FALSE(exists(SOURCE));
        EXPECT_EQ(status("claim", {{"object", SOURCE}}), 0);
        choose();
        EXPECT_EQ(prepare(), CANNOT_PREPARE);
        EXPECT_EQ(said(), "diskimage: There are no credentials for the enclosure ENC1.");
        EXPECT_EQ(make(), CANNOT_MAKE);
        EXPECT_EQ(said("de"), "diskimage: Für das Gehäuse ENC1 gibt es keine Zugangsdaten.");
        stopHost();
    }
    EXPECT_THAT(files(), ElementsAre("00A3.raw"));
}

TEST_F(DiskImageTest, AnEnclosureNameThatLeadsElsewhereChoosesNoFolder) {
    giveCredentials(credentialsOf("../elsewhere"));
    writeFile(folder.path("root/enclosures/x"), "");
    writeFile(folder.path("root/elsewhere/a.part"), "kept");
    startHost();
    EXPECT_EQ(readFile(folder.path("root/elsewhere/a.part")), "kept");
}

TEST_F(DiskImageTest, FoldersMayHaveBlanksQuotesAndBackslashesInTheirNames) {
    for (const char* const name : {"a b", "it's", "say \"hi\"", "back\\slash\\", "'\" \\' \t",
                                   "$HOME `id` *", "-f", "json:{}", "ü"}) {
        const std::string place = folder.path(name);
        writeFile(place + "/00A3.raw", noise(1024, 1));
        giveCredentials(credentialsOf("ENC1", place));
        startHost();
        choose();
        EXPECT_EQ(prepare(), 0) << name << ": " << said();
        EXPECT_EQ(make(), 0) << name << ": " << said();
        EXPECT_TRUE(readFile(place + "/00B7.raw") == noise(1024, 1)) << name;
        stopHost();
    }
}

TEST_F(DiskImageTest, AnEnclosureWithoutAFolderHoldsNothing) {
    giveCredentials(credentialsOf("ENC1", folder.path("nowhere")));
    startHost();
    EXPECT_FALSE(exists(SOURCE));
    choose();
    EXPECT_EQ(make(), CANNOT_MAKE);
    EXPECT_EQ(said(), "diskimage: The disk image " + SOURCE + " does not exist.");
}

TEST_F(DiskImageTest, AFileThatCannotBeMadeIsNamed) {
    disk("00A3.raw", noise(512, 1));
    fs::create_directory(inEnclosure("00B7.raw.part"));
    startHost();
    choose();
    EXPECT_EQ(make(), CANNOT_MAKE);
    const std::string words = said();
    EXPECT_THAT(words, StartsWith("diskimage: A file cannot be used: "));
    EXPECT_THAT(words, HasSubstr("Is a directory [" + inEnclosure("00B7.raw.part") + "]"));
}

// ---- Messages ----

TEST_F(DiskImageTest, EveryMessageIsThereInBothLanguages) {
    startHost();
    for (const int number :
         {1, 2, 3, 4, 5, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26}) {
        const auto english = call("errMsg", {{"code", 1000 + number}, {"language", "en"}});
        const auto german = call("errMsg", {{"code", 1000 + number}, {"language", "de"}});
        EXPECT_NE(english.text, german.text) << number;
        for (const auto& outcome : {english, german}) {
            const std::string text = outcome.text->get<std::string>();
            EXPECT_THAT(text, StartsWith("diskimage: ")) << number;
            EXPECT_EQ(text.find('<'), std::string::npos) << text;
            EXPECT_EQ(text.find('\''), std::string::npos) << "a quote would hide an argument";
        }
    }
}

} // namespace
} // namespace kzfi_tests
