#include "enclosures.h"

#include <algorithm>

#include "cfistringtool.h"
#include "cfiudid.h"
#include "failure.h"

using namespace kzfi_pdk_4_4;

namespace diskimage {
namespace {

namespace fs = std::filesystem;

const char VENDOR[] = "ACME";
const char PRODUCT[] = "DISKIMAGE";

/// Names come from outside and become parts of paths: they must not lead anywhere else. One that
/// begins with a dot is hidden.
bool isFileName(const std::string& name) {
    const auto isBad = [](unsigned char c) { return c < ' ' || c == '/'; };
    return !name.empty() && name[0] != '.' && std::none_of(name.begin(), name.end(), isBad);
}

std::string upper(const tstring& text) {
    return CFiStringTool::tostrupper(text.c_str());
}

std::string printed(const std::string& identifier) {
    try {
        return CFiUdid(tstring(identifier.c_str())).getUdidString();
    } catch (const CFiUdidException&) {
        throw Failure(NO_IDENTIFIER, {identifier});
    }
}

} // namespace

Device::Device(const std::string& identifier) : udid(printed(identifier)) {
    const CFiUdid fields{tstring(udid.c_str())};
    enclosure = fields.field3;
    name = fields.field4;
    if (fields.field1 != VENDOR || fields.field2 != PRODUCT || !isFileName(enclosure) ||
        !isFileName(name)) {
        throw Failure(NO_IDENTIFIER, {identifier});
    }
}

Enclosures::Enclosures(CFiConfiguration& configuration) {
    tstring installRoot;
    CFiConfigurationPathTool::getInstallPath(installRoot);
    const fs::path root = installRoot.c_str();
    for (const SFiCredential& each :
         configuration.importCredentials(VENDOR, PRODUCT, "CREDENTIALS", false)) {
        if (isFileName(each.hostname.c_str())) {
            const fs::path usual = fs::path("enclosures") / each.hostname.c_str();
            // operator/ takes the data as it is when that is an absolute path.
            folderByName.emplace(upper(each.hostname),
                                 root / (each.data.empty() ? usual : fs::path(each.data.c_str())));
        }
    }
}

const fs::path& Enclosures::folderOf(const Device& device) const {
    const auto found = folderByName.find(device.enclosure);
    if (found == folderByName.end()) {
        throw Failure(NO_CREDENTIALS, {device.enclosure});
    }
    return found->second;
}

std::vector<fs::path> Enclosures::folders() const {
    std::vector<fs::path> all;
    for (const auto& each : folderByName) {
        all.push_back(each.second);
    }
    return all;
}

} // namespace diskimage
