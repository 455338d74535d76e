// A router: it puts nodes of its own over the devices of two enclosures, hands out LUN numbers that
// survive the process, and presents a device to a host by a link in the host's folder:
//
//   <install root>/devices/ENC1/00A3                        device UDID##...##ENC1##00A3, a file
//   <install root>/hosts/alpha/lun16 -> .../ENC1/00A3       how host alpha sees it
#include <algorithm>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <system_error>
#include <vector>

#include "cficonfiguration.h"
#include "cfiplugininterposer.h"
#include "node_records.h"

using namespace kzfi_pdk_4_4;

namespace {

namespace fs = std::filesystem;

const int NO_SUCH_DEVICE = 1001;
const int NO_FREE_NUMBER = 1002;
const int CANNOT_PRESENT = 1003;
const int BAD_NAME = 1004;

const int NODE_TYPE = 0x10;    // of the router's own nodes and of what is presented
const int IGNORED_TYPE = 0x80; // nodes that are left as they are

struct LunRange {
    unsigned int first;
    unsigned int last;
};

/// The router's enclosures. Their numbers must not overlap: a host has one link for each number.
const std::map<std::string, LunRange> ENCLOSURES = {{"ENC1", {16, 31}}, {"ENC2", {32, 47}}};

// What a node supports that is not presented to hosts.
const int MIRROR = 0x4;
const int COPY = 0x8;

/// Names come from outside and become parts of paths: they must not lead anywhere else.
bool isFileName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos;
}

/// A device of an enclosure, found by its identifier.
struct Device {
    /// Throws CFiUdidException when name holds no device identifier. A node of the router's own
    /// has its marker in front, which is no part of the identifier.
    Device(const std::string& installRoot, const std::string& name)
        : udid(name.substr(std::min(name.find("UDID##"), name.size()))) {
        const CFiUdid fields{tstring(name.c_str())};
        enclosure = fields.field3;
        file = fs::path(installRoot) / "devices" / enclosure / fields.field4;
        isUsable = isFileName(udid) && isFileName(fields.field4);
    }

    std::string udid;
    std::string enclosure;
    fs::path file;
    bool isUsable;
};

class Router : public CFiPluginInterposer {
  public:
    Router() {
        setProviderName("router");
        setFimName("router");
        setDefaultNodeType(NODE_TYPE);
        addIgnoreNodeType(IGNORED_TYPE);
    }

    int init() override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        groups.clear(); // init() may have been here before.
        fims.clear();
        addFim("##ENC1##", "mirror", "mirror_alt", MIRROR, "");
        addFim("##ENC2##", "copy", "copy_alt", COPY, "copies");
        tstring path;
        CFiConfigurationPathTool::getInstallPath(path);
        root = path.c_str();
        CFiPrivateDataFactoryPtr records(new samples::NodeRecords(traceLog));
        privateDataManager->registerFactory(records);
        return KZFI_OK;
    }

    int importNode(tstring name, std::vector<tstring> hosts, bool, bool, bool deport,
                   int) override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        const std::lock_guard<std::mutex> guard(lock);
        try {
            const Device device(root, name.c_str());
            if (ENCLOSURES.count(device.enclosure) == 0) {
                return refuse(NO_SUCH_DEVICE, device.udid, "is in no enclosure of the router's");
            }
            if (!device.isUsable || !std::all_of(hosts.begin(), hosts.end(), isHost)) {
                return refuse(BAD_NAME, device.udid, "or a host has a name that makes no path");
            }
            return deport ? withdraw(device, hosts) : present(device, hosts);
        } catch (const CFiUdidException& failure) {
            return refuse(KZFI_ERR_UDID, failure.udid, "is no device identifier");
        } catch (const fs::filesystem_error& failure) {
            return refuse(CANNOT_PRESENT, name.c_str(), failure.what());
        }
    }

  private:
    static bool isHost(const tstring& name) { return isFileName(name.c_str()); }

    /// Without hosts there is nothing to do but to see that the device is there.
    int present(const Device& device, const std::vector<tstring>& hosts) {
        if (!fs::exists(device.file)) {
            return refuse(NO_SUCH_DEVICE, device.udid, "does not exist");
        }
        if (hosts.empty()) {
            return KZFI_OK;
        }
        const int old = numberOf(device);
        const int number = old >= 0 ? old : takeNumber(device);
        if (number < 0) {
            return refuse(NO_FREE_NUMBER, device.udid, "gets no LUN number: all are in use");
        }
        for (const tstring& host : hosts) {
            const fs::path link = linkOf(host.c_str(), number);
            fs::create_directories(link.parent_path());
            fs::remove(link);
            fs::create_symlink(device.file, link);
        }
        return KZFI_OK;
    }

    /// Without hosts, from all of them. The number is free again once no host sees the device.
    int withdraw(const Device& device, const std::vector<tstring>& hosts) {
        const int number = numberOf(device);
        if (number < 0) {
            return KZFI_OK;
        }
        for (const std::string& host : hosts.empty() ? allHosts() : textsOf(hosts)) {
            if (sees(host, device, number)) {
                const fs::path link = linkOf(host, number);
                fs::remove(link);
                std::error_code notEmpty;
                fs::remove(link.parent_path(), notEmpty);
            }
        }
        const std::vector<std::string> left = allHosts();
        if (std::any_of(left.begin(), left.end(),
                        [&](const std::string& host) { return sees(host, device, number); })) {
            return KZFI_OK;
        }
        CFiPblmOps& numbers = numbersOf(device.enclosure);
        if (numbers.rmCacheRecord(recordOf(device).c_str()) != 0) {
            return refuse(CANNOT_PRESENT, device.udid, "keeps its LUN number");
        }
        numbers.resetLunNum(device.enclosure.c_str(), static_cast<unsigned int>(number));
        return KZFI_OK;
    }

    /// The number that the device has, from this run or an earlier one; -1 without, and for a
    /// record that holds rubbish.
    int numberOf(const Device& device) {
        const tstring record = recordOf(device);
        int number = -1;
        if (CFiConfigurationPathTool::verify(record.c_str()) == 0) {
            numbersOf(device.enclosure).getKeyValue(record.c_str(), number);
        }
        const LunRange& range = ENCLOSURES.at(device.enclosure);
        const bool valid =
            number >= static_cast<int>(range.first) && number <= static_cast<int>(range.last);
        return valid ? number : -1;
    }

    int takeNumber(const Device& device) {
        CFiPblmOps& numbers = numbersOf(device.enclosure);
        const char* const enclosure = device.enclosure.c_str();
        std::vector<std::string> free;
        if (!numbers.getNewLunNum(enclosure, free) ||
            numbers.setKeyValue(recordOf(device).c_str(), {free.front()}, enclosure) != 0) {
            return -1;
        }
        return std::stoi(free.front());
    }

    /// An enclosure's numbers; an object of its own for each, so that each reads its records.
    CFiPblmOps& numbersOf(const std::string& enclosure) {
        const auto place = numbersByEnclosure.try_emplace(enclosure);
        CFiPblmOps& numbers = place.first->second;
        if (place.second) {
            numbers.registerTraceLog(traceLog);
            const LunRange& range = ENCLOSURES.at(enclosure);
            numbers.setLunNumRange(range.first, range.last);
        }
        return numbers;
    }

    static tstring recordOf(const Device& device) {
        tstring record;
        CFiConfigurationPathTool::getLunKey(device.udid.c_str(), record);
        return record;
    }

    fs::path linkOf(const std::string& host, int number) const {
        return fs::path(root) / "hosts" / host / ("lun" + std::to_string(number));
    }

    bool sees(const std::string& host, const Device& device, int number) const {
        std::error_code none;
        return fs::read_symlink(linkOf(host, number), none) == device.file;
    }

    std::vector<std::string> allHosts() const {
        std::vector<std::string> names;
        std::error_code none;
        for (const fs::directory_entry& entry :
             fs::directory_iterator(fs::path(root) / "hosts", none)) {
            names.push_back(entry.path().filename());
        }
        return names;
    }

    static std::vector<std::string> textsOf(const std::vector<tstring>& texts) {
        std::vector<std::string> copies;
        copies.reserve(texts.size());
        for (const tstring& text : texts) {
            copies.push_back(text.c_str());
        }
        return copies;
    }

    int refuse(int status, const std::string& device, const char* reason) {
        if (traceLog) {
            traceLog->trace(1, "ERROR: %s %s", device.c_str(), reason);
        }
        return status;
    }

    std::mutex lock; // numbers and links belong together
    std::string root;
    std::map<std::string, CFiPblmOps> numbersByEnclosure;
};

} // namespace

extern "C" KZFI_PDK_API CFiPluginBase* kzfi_create_provider(void) {
    return new Router;
}
