// The disk image sample in a host of the test's own, in this process, so that several threads can
// call it.
#ifndef KZFI_TESTS_SAMPLES_DISKIMAGE_FIXTURE_H
#define KZFI_TESTS_SAMPLES_DISKIMAGE_FIXTURE_H

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "call.h"
#include "host_context.h"
#include "kzfi_platform_control.h"
#include "operations.h"
#include "support/temp_dir.h"

namespace kzfi_tests {

using kzfi_simhost::Json;
using Names = std::vector<std::string>;

const std::string SOURCE = "UDID##ACME##DISKIMAGE##ENC1##00A3";
const std::string OTHER = "UDID##ACME##DISKIMAGE##ENC1##00A4";
const std::string TARGET = "UDID##ACME##DISKIMAGE##ENC1##00B7";
const std::string OTHER_TARGET = "UDID##ACME##DISKIMAGE##ENC1##00B8";

const int CANNOT_SELECT = 1001;
const int CANNOT_PREPARE = 1002;
const int CANNOT_MAKE = 1003;
const int CANNOT_RESTORE = 1004;
const int CANNOT_DISPOSE = 1005;

/// Bytes that look random, the same for the same seed.
inline std::string noise(std::size_t size, unsigned int seed) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    return bytes;
}

inline std::string credentialsOf(const std::string& enclosure, const std::string& data = "") {
    std::string text = "[STORAGE_MANAGEMENT_SERVICE\\ACME_DISKIMAGE\\" + enclosure +
                       "]\n\"HOSTNAME\"=\"" + enclosure +
                       "\"\n\"USERNAME\"=\"u\"\n\"PASSWORD\"=\"p\"\n";
    return data.empty() ? text : text + "\"DATA\"=\"" + data + "\"\n";
}

class DiskImageTest : public testing::Test {
  protected:
    DiskImageTest() : root(folder.path("root")) {
        scenario.provider = KZFI_DISKIMAGE_FOLDER "/diskimage.so";
        scenario.catalogues = KZFI_DISKIMAGE_FOLDER "/resources/libdiskimage";
        for (const std::string& name : {SOURCE, OTHER, TARGET, OTHER_TARGET}) {
            addNode(name);
        }
        giveCredentials(credentialsOf("ENC1"));
    }

    ~DiskImageTest() override {
        stopHost();
        kzfi_platform_reset();
    }

    // ---- What the host has ----

    void addNode(const std::string& name) {
        kzfi_simhost::ScenarioNode node;
        node.name = name;
        scenario.nodes.push_back(node);
    }

    void giveCredentials(const std::string& text) { credentials = text; }

    void configure(const std::string& text) {
        writeFile(folder.path("root/lib/kzfi/configfiles/diskimage.conf"), text);
    }

    /// A shell script in the place of qemu-img.
    void useTool(const std::string& script) {
        const std::string tool = folder.path("tool");
        writeFile(tool, "#!/bin/sh\n" + script + "\n");
        chmod(tool.c_str(), 0755);
        configure("[TOOL]\n\"PATH\"=\"" + tool + "\"\n");
    }

    std::string inEnclosure(const std::string& name) const {
        return folder.path("root/enclosures/ENC1/" + name);
    }

    void disk(const std::string& name, const std::string& content) {
        writeFile(inEnclosure(name), content);
    }

    std::string content(const std::string& name) const { return readFile(inEnclosure(name)); }

    /// Like an equality, but without showing all the bytes.
    bool holds(const std::string& name, const std::string& bytes) const {
        return content(name) == bytes;
    }

    Names files() const {
        Names names;
        for (const auto& entry : std::filesystem::directory_iterator(inEnclosure(""))) {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    /// The real tool; its command line goes through a shell.
    static void qemuImg(const std::string& arguments) {
        ASSERT_EQ(std::system(("/usr/bin/qemu-img " + arguments + " >/dev/null").c_str()), 0);
    }

    // ---- The host itself ----

    void startHost() {
        kzfi_platform_reset();
        kzfi_platform_set_install_root(root.path().c_str());
        kzfi_platform_set_credentials(credentials.c_str(), credentials.size());
        library = std::make_unique<kzfi_simhost::ProviderLibrary>(scenario.provider);
        host = std::make_unique<kzfi_simhost::HostContext>(scenario, root, library->create());
        ASSERT_EQ(status("init"), 0);
    }

    void stopHost() {
        if (host) {
            call("fini");
            host->releaseProvider();
            host.reset();
            library->unload();
        }
    }

    kzfi_simhost::Outcome call(const std::string& operation, const Json& fields = Json::object()) {
        kzfi_simhost::Call made(*host, fields);
        return kzfi_simhost::findOperation(operation)->call(made);
    }

    int status(const std::string& operation, const Json& fields = Json::object()) {
        return call(operation, fields).status.value_or(-1);
    }

    /// The last error of this thread in words, and it is forgotten.
    std::string said(const std::string& language = "en") {
        call("getLastError");
        const kzfi_simhost::Outcome message = call("getLocaleMessage", {{"language", language}});
        call("delLocaleMessage");
        call("delLastError");
        return message.text && message.text->is_string() ? message.text->get<std::string>() : "";
    }

    // ---- A backup request, step by step ----

    int set(const std::string& node, const Json& parameters) {
        call("initNode", {{"node", node}});
        return status("config",
                      {{"node", node}, {"mode", "set"}, {"list", "1"}, {"parameters", parameters}});
    }

    /// A node whose target is chosen.
    void choose(const std::string& node = SOURCE, const std::string& target = "00B7",
                const std::string& format = "raw", const std::string& seconds = "60") {
        const std::string device = node.substr(node.rfind('#') + 1);
        const std::string spec = "[ENC1##" + device + ";ENC1##" + target + "]";
        ASSERT_EQ(set(node, {{"snapshot_resource_spec", spec},
                             {"target_format", format},
                             {"time_limit", seconds}}),
                  0);
        ASSERT_EQ(status("select", {{"nodes", {node}}}), 0) << said();
    }

    int prepare(const Names& nodes = {SOURCE}) { return status("prepare", {{"nodes", nodes}}); }

    int make(const Names& nodes = {SOURCE}) { return status("make", {{"nodes", nodes}}); }

    int restore(const std::string& primary = SOURCE, const std::string& snapshot = TARGET) {
        return status("restore", {{"primaries", {primary}}, {"snapshots", {snapshot}}});
    }

    int dispose(const std::string& primary = SOURCE, const std::string& snapshot = TARGET) {
        return status("dispose", {{"node", primary}, {"alternate", snapshot}});
    }

    bool exists(const std::string& node) {
        return call("checkNodeExistence", {{"node", node}}).values["exists"] == 1;
    }

    long snapshotStatus(const std::string& snapshot = TARGET) {
        const Json fields = {{"primaries", {SOURCE}}, {"snapshots", {snapshot}}};
        return call("getStatus", fields).values["statuses"][0].get<long>();
    }

    TempDir folder;
    kzfi_simhost::HostRoot root;
    kzfi_simhost::Scenario scenario;
    std::string credentials;
    std::unique_ptr<kzfi_simhost::ProviderLibrary> library;
    std::unique_ptr<kzfi_simhost::HostContext> host;
};

} // namespace kzfi_tests

#endif
