// What every sample keeps for its nodes: one record for each, by the node's name.
#ifndef SAMPLES_NODE_RECORDS_H
#define SAMPLES_NODE_RECORDS_H

#include <map>
#include <mutex>
#include <string>

#include "cfiprivatedata.h"

namespace samples {

/// The object's name; empty for one that has none.
inline std::string nameOf(const kzfi_objid* id) {
    return id != nullptr && id->name != nullptr ? id->name : "";
}

/// The node's name; empty for a node that has none.
inline std::string nameOf(const kfi_domain* node) {
    return node != nullptr ? nameOf(node->objid) : "";
}

/// Keeps the records in a map; nodes without a name have none. The framework calls from several
/// threads. The provider makes one in its init() and registers it:
///
///     CFiPrivateDataFactoryPtr records(new samples::NodeRecords(traceLog));
///     privateDataManager->registerFactory(records);
class NodeRecords : public kzfi_pdk_4_4::CFiPrivateDataFactory {
  public:
    explicit NodeRecords(const kzfi_pdk_4_4::CFiTraceLogPtr& log) : traceLog(log) {}

    kzfi_pdk_4_4::CFiPrivateDataPtr findPrivateData(kfi_domain* node) override {
        const std::lock_guard<std::mutex> guard(lock);
        const auto found = records.find(nameOf(node));
        return found != records.end() ? found->second : kzfi_pdk_4_4::CFiPrivateDataPtr();
    }

    kzfi_pdk_4_4::CFiPrivateDataPtr createPrivateData(kfi_domain* node, int altNode) override {
        const std::string name = nameOf(node);
        if (name.empty()) {
            return kzfi_pdk_4_4::CFiPrivateDataPtr();
        }
        const std::lock_guard<std::mutex> guard(lock);
        kzfi_pdk_4_4::CFiPrivateDataPtr& record = records[name];
        if (!record) {
            record = new kzfi_pdk_4_4::CFiPrivateData(node->objid);
            record->registerTraceLog(traceLog);
            record->setIsAltNode(altNode != 0);
        }
        return record;
    }

    void deletePrivateData(kfi_domain* node) override {
        const std::lock_guard<std::mutex> guard(lock);
        records.erase(nameOf(node));
    }

  private:
    std::mutex lock;
    std::map<std::string, kzfi_pdk_4_4::CFiPrivateDataPtr> records;
    kzfi_pdk_4_4::CFiTraceLogPtr traceLog;
};

} // namespace samples

#endif
