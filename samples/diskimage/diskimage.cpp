// Snapshots of virtual disks. An enclosure is a folder, a device an image in it, raw or qcow2, and
// a snapshot a copy of it, made by qemu-img, that appears as the target's image once it is whole:
//
//   <install root>/enclosures/ENC1/00A3.raw         device UDID##ACME##DISKIMAGE##ENC1##00A3
//   <install root>/enclosures/ENC1/00B7.qcow2       its snapshot in the device ...##00B7
//   <install root>/enclosures/ENC1/00B8.qcow2.part  one in the making
//
// Which device may be copied to which is the node's parameter "snapshot_resource_spec", and which
// enclosures there are is told in enclosures.h. A disk must be at rest while it is copied; the
// tool refuses one that a virtual machine has open.
//
// The plug-in's configuration may name the tool:
//
//     [TOOL]
//     "PATH"="/usr/bin/qemu-img"
//
// The command "abort" (objctl) ends the copies that run.
#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "cficonfiguration.h"
#include "cfipluginbase.h"
#include "cfistringtool.h"
#include "cfiudid.h"
#include "draft.h"
#include "enclosures.h"
#include "failure.h"
#include "image.h"
#include "node_records.h"
#include "qemuimg.h"

using namespace kzfi_pdk_4_4;

namespace diskimage {
namespace {

namespace fs = std::filesystem;
using diskimage::nameOf;
using samples::nameOf;

// Statuses of this provider are 1000 + the number of the message that explains them.
const int MESSAGE_OFFSET = 1000;
const int CANNOT_SELECT = MESSAGE_OFFSET + 1;
const int CANNOT_PREPARE = MESSAGE_OFFSET + 2;
const int CANNOT_MAKE = MESSAGE_OFFSET + 3;
const int CANNOT_RESTORE = MESSAGE_OFFSET + 4;
const int CANNOT_DISPOSE = MESSAGE_OFFSET + 5;
const kfi_eseverity SEVERITY_ERROR = 3;

// What getStatus answers of a snapshot that is not there.
const long SNAPSHOT_UNDER_WAY = 1;
const long SNAPSHOT_MISSING = 2;

const int NODE_KIND = 3; // of object ids

// Parameters of a node, in the list of index 1, where the target selection looks.
const char SPEC[] = "snapshot_resource_spec";
const char TARGET_FORMAT[] = "target_format";
const char TIME_LIMIT[] = "time_limit";
const int LIST = 1;
const int LONGEST = 86400;

/// Finds this provider's messages: the catalogue "diskimage", one bundle a language.
class Messages : public CFiMessageCatalogFactory {
  public:
    CFiMessageCatalogPtr createCatalog(std::string language) override {
        return new CFiIcuMessageCatalog(language.c_str(), "diskimage");
    }

    std::string getDefaultLanguage() override { return "en"; }

    CFiMessagePtr createMessage(kfi_msg_info* info) override {
        CFiMessagePtr message(new CFiIcuMessage);
        message->deserialize(info);
        return message;
    }
};

/// What a node's parameters say of its copies.
struct Settings {
    explicit Settings(CFiPrivateData& record) {
        CFiConfigParamDataList& values = *record.configDataList(LIST);
        const std::string wanted = values.getParamData(TARGET_FORMAT)->value;
        const std::string seconds = values.getParamData(TIME_LIMIT)->value;
        if (!formatOf(wanted)) {
            throw Failure(BAD_PARAMETER, {TARGET_FORMAT, wanted});
        }
        format = *formatOf(wanted);
        char* end = nullptr;
        limit = std::strtol(seconds.c_str(), &end, 10);
        if (seconds.empty() || *end != '\0' || limit < 1 || limit > LONGEST) {
            throw Failure(BAD_PARAMETER, {TIME_LIMIT, seconds});
        }
    }

    Format format;
    long limit; ///< seconds for each run of the tool
};

/// One copy of a request: from an image that is there to one that is not yet.
struct Copy {
    Image source;
    Image target;
    std::string targetUdid;
    long limit;
};

class DiskImageProvider : public CFiPluginBase {
  public:
    DiskImageProvider() {
        setProviderName("diskimage");
        setFimName("diskimage");
        setMessageIndexOffset(MESSAGE_OFFSET);
    }

    int init() override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        describeParameters();
        CFiPrivateDataFactoryPtr records(new samples::NodeRecords(traceLog));
        privateDataManager->registerFactory(records);
        catalogManager->registerFactory(&messages);
        readConfiguration();
        for (const fs::path& folder : enclosures.folders()) {
            Draft::removeLeftovers(folder);
        }
        return KZFI_OK;
    }

    void fini() override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        catalogManager->registerFactory(nullptr);
    }

    int claim(kzfi_objid* primary, kzfi_objid*** secondaries, int* count) override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        if (secondaries == nullptr || count == nullptr || !exists(nameOf(primary))) {
            return KZFI_CLAIM_NONE;
        }
        *secondaries = nullptr;
        *count = 0;
        return KZFI_CLAIM_SECONDARY;
    }

    /// Full copies, to whoever asks for them by the method's name or for any.
    int supportsFiType(kfi_domain* node, char* fiType) override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        if (node == nullptr || node->support_level == nullptr || fiType == nullptr) {
            return 0;
        }
        const std::string type = fiType;
        const bool supported = (type == fimName || type == "any") && exists(nameOf(node));
        *node->support_level = supported ? KZFI_SUPPORT_HOSTS : KZFI_SUPPORT_NONE;
        return supported ? 1 : 0;
    }

    int initNode(kfi_domain* node, kfi_domain**, int, kzfi_objid*) override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        const CFiPrivateDataFactoryPtr records = privateDataManager->getFactory();
        if (!records) {
            return KZFI_ERR_INVALID; // init() did not run.
        }
        records->createPrivateData(node, 0);
        return KZFI_OK;
    }

    int select(char*, kfi_splitnode** nodes, int count) override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        return forEach(nodes, count, CANNOT_SELECT, [this](kfi_domain* node) {
            CFiPrivateData& record = *recordOf(node->objid);
            // What an earlier selection chose must not stay behind one that fails.
            std::string none;
            record.setConfiguredTarget(none);
            if (record.selectTargetFromConfigData() != KZFI_OK) {
                throw Failure(NO_TARGET, {nameOf(node)});
            }
        });
    }

    int prepare(char*, kfi_splitnode** nodes, int count, int) override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        std::map<fs::path, std::uintmax_t> needed; // by enclosure, for all nodes together
        return forEach(nodes, count, CANNOT_PREPARE, [&](kfi_domain* node) {
            const Copy copy = copyOf(node);
            const fs::path folder = copy.target.file.parent_path();
            needed[folder] += tool.measure(copy.source, copy.target.format, copy.limit);
            const std::uintmax_t free = fs::space(folder).available;
            if (needed[folder] > free) {
                throw Failure(NO_ROOM, {copy.targetUdid, std::to_string(needed[folder]),
                                        std::to_string(free)});
            }
        });
    }

    /// All of them or none: after a failure those that were made are removed again.
    int make(char*, kfi_splitnode** nodes, int count, kzfi_objid*** made, int* madeCount) override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        if (made == nullptr || madeCount == nullptr) {
            return KZFI_ERR_INVALID;
        }
        *made = nullptr;
        *madeCount = 0;
        std::vector<Copy> done;
        const int status = forEach(nodes, count, CANNOT_MAKE, [&](kfi_domain* node) {
            const Copy copy = copyOf(node);
            Draft draft(copy.target.file);
            tool.convert(copy.source, draft.file(), copy.target.format, copy.limit);
            draft.resemble(copy.source.file);
            draft.publish(false);
            done.push_back(copy);
        });
        if (status == KZFI_OK) {
            return handOut(done, made, madeCount);
        }
        removeAll(done);
        return status;
    }

    int checkNodeExistence(kfi_domain* node, int* there) override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        if (there == nullptr) {
            return KZFI_ERR_INVALID;
        }
        *there = exists(nameOf(node)) ? 1 : 0;
        return KZFI_OK;
    }

    /// Each on its own: status holds what became of it, the result is the first that failed.
    int restore(kzfi_objid** primaries, kzfi_objid** snapshots, long count, char*, char*, char***,
                long*, long, long* status) override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        if (primaries == nullptr || snapshots == nullptr) {
            return KZFI_ERR_INVALID;
        }
        int result = KZFI_OK;
        for (long i = 0; i < count; ++i) {
            const int each =
                attempt(CANNOT_RESTORE, [&] { restoreOne(primaries[i], snapshots[i]); });
            if (status != nullptr) {
                status[i] = each;
            }
            result = result == KZFI_OK ? each : result;
        }
        return result;
    }

    /// A snapshot that is gone already is as good as one that is removed now.
    int dispose(kfi_domain* primary, kfi_domain* alternate, kfi_splitnode* split,
                kfi_disposition) override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        const kfi_domain* const snapshot =
            alternate == nullptr && split != nullptr ? split->second_node : alternate;
        if (primary == nullptr || snapshot == nullptr) {
            return KZFI_ERR_INVALID;
        }
        return attempt(CANNOT_DISPOSE, [&] {
            const Device device = targetOf(primary->objid, snapshot->objid);
            while (const auto image = findImage(enclosures.folderOf(device), device.name)) {
                fs::remove(image->file);
            }
        });
    }

    int getStatus(kzfi_objid**, kzfi_objid** snapshots, long count, char*, long,
                  long* statuses) override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        for (long i = 0; snapshots != nullptr && statuses != nullptr && i < count; ++i) {
            statuses[i] = statusOf(nameOf(snapshots[i]));
        }
        return KZFI_OK;
    }

    int objctl(tstring command, CFiObjctlArgs&) override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        if (command != "abort") {
            return KZFI_ERR_NOT_IMPLEMENTED;
        }
        tool.abort();
        return KZFI_OK;
    }

  private:
    /// Described for every node alike, whether it leads its owner or not.
    void describeParameters() {
        for (CFiConfigParamInfoList* const list :
             {&globalConfigInfo[0][LIST], &globalConfigInfo[1][LIST]}) {
            list->clear(); // init() may have been here before.
            add(*list, SPEC, FI_DATA_STRING, "");
            add(*list, TARGET_FORMAT, FI_DATA_STRING_LIST, "qcow2");
            for (const Format format : {Format::RAW, Format::QCOW2}) {
                list->entries()[TARGET_FORMAT].addSelectionItem(nameOf(format).c_str());
            }
            add(*list, TIME_LIMIT, FI_DATA_INT, "3600");
            list->entries()[TIME_LIMIT].rangeMin = 1;
            list->entries()[TIME_LIMIT].rangeMax = LONGEST;
            list->updateXML();
        }
    }

    static void add(CFiConfigParamInfoList& list, const std::string& key, FiConfigDataType type,
                    const std::string& value) {
        CFiConfigParamInfo& info = list.entries()[key];
        info.key = key;
        info.dataType = type;
        info.usageType = FI_USAGE_SELECT;
        info.defaultValue = value;
    }

    void readConfiguration() {
        CFiConfiguration configuration(getProviderName());
        configuration.registerTraceLog(traceLog);
        tstring path = "/usr/bin/qemu-img";
        configuration.getStringValue("TOOL", "PATH", path);
        tool.use(path.c_str(), traceLog);
        enclosures = Enclosures(configuration);
    }

    /// The record of a node by its object id alone.
    CFiPrivateDataPtr recordOf(kzfi_objid* id) const {
        kfi_domain node = {};
        node.objid = id;
        const CFiPrivateDataFactoryPtr records = privateDataManager->getFactory();
        const CFiPrivateDataPtr record =
            records ? records->findPrivateData(&node) : CFiPrivateDataPtr();
        if (!record) {
            throw Failure(NO_TARGET, {nameOf(id)});
        }
        return record;
    }

    Image imageOf(const Device& device) const {
        const auto image = findImage(enclosures.folderOf(device), device.name);
        if (!image) {
            throw Failure(NO_IMAGE, {device.udid});
        }
        checkImage(*image);
        return *image;
    }

    bool exists(const std::string& identifier) const {
        try {
            const Device device(identifier);
            return findImage(enclosures.folderOf(device), device.name).has_value();
        } catch (const Failure&) {
            return false;
        }
    }

    /// The copy that is to be made of a node whose target is chosen.
    Copy copyOf(kfi_domain* node) const {
        CFiPrivateData& record = *recordOf(node->objid);
        const Image source = imageOf(Device(nameOf(node)));
        if (record.getConfiguredTarget().empty()) {
            throw Failure(NO_TARGET, {nameOf(node)});
        }
        const Device device(record.getConfiguredTarget());
        const fs::path& folder = enclosures.folderOf(device);
        const Settings settings(record);
        if (findImage(folder, device.name)) {
            throw Failure(TARGET_IN_USE, {device.udid});
        }
        return {source, imageIn(folder, device.name, settings.format), device.udid, settings.limit};
    }

    /// The snapshot's device, which must be one of the primary's targets: nothing else is read
    /// from or removed.
    Device targetOf(kzfi_objid* primary, const kzfi_objid* snapshot) const {
        Device device(nameOf(snapshot));
        const Device source(nameOf(primary));
        const std::vector<std::string> targets = recordOf(primary)->getTargets();
        const bool isTarget =
            device.enclosure == source.enclosure &&
            std::any_of(targets.begin(), targets.end(), [&](const std::string& name) {
                return CFiStringTool::CompareNoCase(name, device.name);
            });
        if (!isTarget || device.name == source.name) {
            throw Failure(NOT_ITS_TARGET, {nameOf(snapshot), nameOf(primary)});
        }
        return device;
    }

    /// A disk that is lost comes back in the format of the snapshot.
    void restoreOne(kzfi_objid* primary, const kzfi_objid* snapshot) {
        const Image source = imageOf(targetOf(primary, snapshot));
        const Device disk(nameOf(primary));
        const fs::path& folder = enclosures.folderOf(disk);
        const auto old = findImage(folder, disk.name);
        const Image target = old ? *old : imageIn(folder, disk.name, source.format);
        Draft draft(target.file);
        tool.convert(source, draft.file(), target.format, Settings(*recordOf(primary)).limit);
        draft.resemble(old ? old->file : source.file);
        draft.publish(true);
    }

    long statusOf(const std::string& identifier) const {
        if (exists(identifier)) {
            return KZFI_SNAPSHOT_STATUS_DEFAULT;
        }
        try {
            const Device device(identifier);
            const fs::path& folder = enclosures.folderOf(device);
            for (const Format format : {Format::RAW, Format::QCOW2}) {
                if (Draft::isUnderWay(imageIn(folder, device.name, format).file)) {
                    return SNAPSHOT_UNDER_WAY;
                }
            }
        } catch (const Failure&) {
            // What is no snapshot is missing, too.
        }
        return SNAPSHOT_MISSING;
    }

    int handOut(const std::vector<Copy>& copies, kzfi_objid*** made, int* madeCount) {
        if (copies.empty()) {
            return KZFI_OK; // A list without entries would be nobody's to give back.
        }
        const std::size_t size = copies.size() * sizeof(kzfi_objid*);
        kzfi_objid** const list = static_cast<kzfi_objid**>(kzfi_alloc_buf(size));
        if (list == nullptr) {
            removeAll(copies);
            return KZFI_ERR_FAILED;
        }
        for (std::size_t i = 0; i < copies.size(); ++i) {
            const std::string& name = copies[i].targetUdid;
            list[i] = kzfi_get_objid(name.c_str(), name.size() + 1, NODE_KIND);
            if (list[i] == nullptr) {
                kzfi_free_buf(list, size);
                removeAll(copies);
                return KZFI_ERR_FAILED;
            }
        }
        *made = list;
        *madeCount = static_cast<int>(copies.size());
        return KZFI_OK;
    }

    static void removeAll(const std::vector<Copy>& copies) {
        for (const Copy& copy : copies) {
            std::error_code gone;
            fs::remove(copy.target.file, gone);
        }
    }

    /// Does the work for every node of a request, up to the first that fails.
    int forEach(kfi_splitnode** nodes, int count, int status,
                const std::function<void(kfi_domain*)>& work) {
        if (nodes == nullptr) {
            return KZFI_ERR_INVALID;
        }
        for (int i = 0; i < count; ++i) {
            if (nodes[i] == nullptr || nodes[i]->node == nullptr) {
                return KZFI_ERR_INVALID;
            }
            const int each = attempt(status, [&] { work(nodes[i]->node); });
            if (each != KZFI_OK) {
                return each;
            }
        }
        return KZFI_OK;
    }

    /// KZFI_OK, or status with the reason pushed.
    int attempt(int status, const std::function<void()>& work) {
        try {
            work();
            return KZFI_OK;
        } catch (const Failure& failure) {
            push(failure);
        } catch (const CFiUdidException& failure) {
            push(Failure(NO_IDENTIFIER, {failure.udid}));
        } catch (const fs::filesystem_error& failure) {
            push(Failure(FILE_FAILED, {failure.what()}));
        }
        return status;
    }

    void push(const Failure& failure) {
        if (traceLog) {
            traceLog->trace(1, "ERROR: %s", failure.what());
        }
        std::vector<icu::Formattable> arguments;
        for (std::string text : failure.arguments) {
            // It would end the argument on its way to the framework.
            std::replace(text.begin(), text.end(), '<', '(');
            arguments.emplace_back(icu::UnicodeString::fromUTF8(text));
        }
        const CFiError error(MESSAGE_OFFSET + failure.reason, "", "", 0, "");
        errorManager->pushError(CFiMessagePtr(
            new CFiIcuMessage(error.getMessageId(getProviderName().c_str(), MESSAGE_OFFSET),
                              SEVERITY_ERROR, __FILE__, __LINE__, arguments)));
    }

    Messages messages;
    Enclosures enclosures;
    QemuImg tool;
};

} // namespace
} // namespace diskimage

extern "C" KZFI_PDK_API CFiPluginBase* kzfi_create_provider(void) {
    return new diskimage::DiskImageProvider;
}
