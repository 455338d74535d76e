// A router: it puts nodes of its own over the devices of two enclosures, hands out LUN numbers that
// survive the process, and presents a device to a host by a link in the host's folder:
//
//   <install root>/devices/ENC1/00A3                        the device, a file
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

const int NOT_A_DEVICE = 21;
const int NO_SUCH_DEVICE = 1001;
const int NO_FREE_NUMBER = 1002;
const int CANNOT_PRESENT = 1003;

const unsigned int FIRST_LUN = 16;
const unsigned int LAST_LUN = 31;

const int MIRROR = 0x1;
const int COPY = 0x2;

/// A device of an enclosure, found by its identifier.
struct Device {
    /// Throws CFiUdidException when name holds no device identifier. A node of the router's own
    /// has its marker in front, which is no part of the identifier.
    Device(const std::string& installRoot, const std::string& name)
        : udid(name.substr(std::min(name.find("UDID##"), name.size()))) {
        const CFiUdid fields{tstring(name.c_str())};
        enclosure = fields.field3;
        file = fs::path(installRoot) / "devices" / enclosure / fields.field4;
    }

    std::string udid;
    std::string enclosure;
    fs::path file;
};

class Router : public CFiPluginInterposer {
  public:
    Router() {
        setProviderName("router");
        setFimName("router");
    }

    int init() override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
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
            return deport ? withdraw(device, hosts) : present(device, hosts);
        } catch (const CFiUdidException& failure) {
            return refuse(NOT_A_DEVICE, failure.udid, "is no device identifier");
        } catch (const fs::filesystem_error& failure) {
            return refuse(CANNOT_PRESENT, name.c_str(), failure.what());
        }
    }

  private:
    int present(const Device& device, const std::vector<tstring>& hosts) {
        if (!fs::exists(device.file)) {
            return refuse(NO_SUCH_DEVICE, device.udid, "does not exist");
        }
        if (hosts.empty()) {
            return KZFI_OK;
        }
        int number = numberOf(device);
        if (number < 0) {
            number = takeNumber(device);
        }
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
                fs::remove(linkOf(host, number));
            }
        }
        for (const std::string& host : allHosts()) {
            if (sees(host, device, number)) {
                return KZFI_OK;
            }
        }
        CFiPblmOps& numbers = numbersOf(device.enclosure);
        numbers.rmCacheRecord(recordOf(device).c_str());
        numbers.resetLunNum(device.enclosure.c_str(), static_cast<unsigned int>(number));
        return KZFI_OK;
    }

    /// The number that the device has, from this run or an earlier one; -1 without.
    int numberOf(const Device& device) {
        const tstring record = recordOf(device);
        int number = -1;
        if (CFiConfigurationPathTool::verify(record.c_str()) == 0) {
            numbersOf(device.enclosure).getKeyValue(record.c_str(), number);
        }
        return number;
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
            numbers.setLunNumRange(FIRST_LUN, LAST_LUN);
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
