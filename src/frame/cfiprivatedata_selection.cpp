// Choice of a node's snapshot target from its configuration values.
#include <string>
#include <string_view>
#include <vector>

#include "cfiprivatedata.h"
#include "cfistringtool.h"
#include "diag/tracing.h"
#include "util/text.h"
#include "util/tokens.h"

namespace kzfi_pdk_4_4 {
namespace {

constexpr int SNAPSHOT_MODE_INDEX = 1;
constexpr char RESOURCE_SPEC[] = "snapshot_resource_spec";

/// One device as the configuration names it: "enclosure##device", or only the device.
struct ResourceItem {
    explicit ResourceItem(const std::string& item) {
        const std::string::size_type mark = item.find("##");
        if (mark == std::string::npos) {
            device = item;
        } else {
            enclosure = item.substr(0, mark);
            device = item.substr(mark + 2);
        }
    }

    std::string enclosure;
    std::string device;
};

/// The walk over the groups of a resource list for one node.
class TargetSelection {
  public:
    TargetSelection(CFiPrivateData& node, const CFiTraceLogPtr& log, const CFiUdid& device)
        : record(node),
          traceLog(log),
          name(orEmpty(node.getObjName())),
          udid(device) {}

    /// The groups of resources; there is at least one.
    int fromGroups(Tokens groups) {
        for (std::string_view group; groups.next(group);) {
            const Step step = readGroup(std::string(group));
            if (step != NEXT_GROUP) {
                return step == DONE ? configureTarget() : KZFI_ERR_FAILED;
            }
        }
        traceTo(traceLog, TRACE_ERROR, "No matching source specification found for [%s].", name);
        return KZFI_ERR_FAILED;
    }

  private:
    enum Step { NEXT_ITEM, NEXT_GROUP, DONE, REFUSED };

    Step readGroup(const std::string& group) {
        traceTo(traceLog, TRACE_INFO, "Info: resourceSpec [%s] \n", group.c_str());
        Tokens items(group.c_str(), ";");
        bool found = false;
        for (std::string_view item; items.next(item); found = true) {
            const Step step = readItem(std::string(item), found);
            if (step != NEXT_ITEM) {
                return step;
            }
        }
        return found ? DONE : refuse(group, "has not targets");
    }

    /// The first item of a group is its source, the others are targets.
    Step readItem(const std::string& text, bool sourceFound) {
        traceTo(traceLog, TRACE_INFO, "resourceSpec [%s] \n", text.c_str());
        const ResourceItem item(text);
        traceTo(traceLog, TRACE_FUNCTION, "RESINFO: [%s][%s]", item.enclosure.c_str(),
                item.device.c_str());
        if (item.device.empty()) {
            return refuse(text, "has no device data");
        }
        if (sourceFound) {
            record.addTarget(item.device);
            return NEXT_ITEM;
        }
        return matchSource(text, item);
    }

    Step matchSource(const std::string& text, const ResourceItem& source) {
        if (source.enclosure.empty()) {
            return refuse(text, "has no enclosure data");
        }
        if (!CFiStringTool::CompareNoCase(source.device, udid.field4) ||
            !CFiStringTool::CompareNoCase(source.enclosure, udid.field3)) {
            return NEXT_GROUP;
        }
        traceTo(traceLog, TRACE_INFO, "Source found [%s] \n", udid.getUdidString().c_str());
        return NEXT_ITEM;
    }

    /// The target keeps the source's other fields; only its device differs.
    int configureTarget() {
        const std::vector<std::string> candidates = record.getTargets();
        if (candidates.empty()) {
            traceTo(traceLog, TRACE_ERROR,
                    "Source configuration found, but no targets are specified for [%s].", name);
            return KZFI_ERR_FAILED;
        }
        udid.field4 = candidates.front();
        std::string target = udid.getUdidString();
        record.setConfiguredTarget(target);
        traceTo(traceLog, TRACE_INFO, "Target Udid [%s] \n", target.c_str());
        return KZFI_OK;
    }

    Step refuse(const std::string& what, const char* reason) {
        traceTo(traceLog, TRACE_ERROR, "Source configuration \"%s\" %s specified for [%s].",
                what.c_str(), reason, name);
        return REFUSED;
    }

    CFiPrivateData& record;
    const CFiTraceLogPtr& traceLog;
    const char* name;
    CFiUdid udid;
};

} // namespace

int CFiPrivateData::selectTargetFromConfigData() {
    KZFI_TRACE_SCOPE(traceLog);
    const char* name = orEmpty(getObjName());
    const CFiUdid udid{tstring(name)};
    if (traceLog) {
        traceTo(traceLog, TRACE_INFO, "called for UDID [%s] \n", udid.getUdidString().c_str());
    }
    if (!hasConfigDataList(SNAPSHOT_MODE_INDEX)) {
        traceTo(traceLog, TRACE_ERROR,
                "Error: No snapshot configuration data has been specified for [%s]", name);
        return KZFI_ERR_FAILED;
    }
    const auto& values = configDataList(SNAPSHOT_MODE_INDEX)->entries();
    const auto entry = values.find(RESOURCE_SPEC);
    if (entry == values.end()) {
        traceTo(traceLog, TRACE_ERROR,
                "Configuration data parameter \"%s\" unspecified for object [%s].", RESOURCE_SPEC,
                name);
        return KZFI_ERR_FAILED;
    }
    traceTo(traceLog, TRACE_INFO, "FI_CONFIG_PARAM_SNAPSHOT_RESOURCE_SPEC: [%s]",
            entry->second.value.c_str());
    // Unescaped first, so that an escaped ampersand separates groups too; kept so on purpose.
    const std::string resources =
        CFiStringTool::convertFromXmlSpecialCharacters(entry->second.value);
    const Tokens groups(resources.c_str(), "[]&\n\r");
    std::string_view first;
    if (!Tokens(groups).next(first)) {
        traceTo(traceLog, TRACE_ERROR,
                "Configuration \"%s\" has no resources specified for source [%s].",
                resources.c_str(), name);
        return KZFI_ERR_FAILED;
    }
    targets.clear();
    return TargetSelection(*this, traceLog, udid).fromGroups(groups);
}

} // namespace kzfi_pdk_4_4
