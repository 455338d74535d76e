// What every sample keeps for its nodes: one record for each, by the node's name.
#ifndef SAMPLES_NODE_RECORDS_H
#define SAMPLES_NODE_RECORDS_H

#include <map>
#include <mutex>
#include <string>

#include "cfiprivatedata.h"

namespace samples {

/// A factory that keeps its records in a map; the framework calls it from several threads.
class NodeRecords : public kzfi_pdk_4_4::CFiPrivateDataFactory {
  public:
    explicit NodeRecords(const kzfi_pdk_4_4::CFiTraceLogPtr& log) : traceLog(log) {}

    kzfi_pdk_4_4::CFiPrivateDataPtr findPrivateData(kfi_domain* node) override {
        const std::lock_guard<std::mutex> guard(lock);
        const auto found = records.find(node->objid->name);
        return found != records.end() ? found->second : kzfi_pdk_4_4::CFiPrivateDataPtr();
    }

    kzfi_pdk_4_4::CFiPrivateDataPtr createPrivateData(kfi_domain* node, int altNode) override {
        const std::lock_guard<std::mutex> guard(lock);
        kzfi_pdk_4_4::CFiPrivateDataPtr& record = records[node->objid->name];
        if (!record) {
            record = new kzfi_pdk_4_4::CFiPrivateData(node->objid);
            record->registerTraceLog(traceLog);
            record->setIsAltNode(altNode != 0);
        }
        return record;
    }

    void deletePrivateData(kfi_domain* node) override {
        const std::lock_guard<std::mutex> guard(lock);
        records.erase(node->objid->name);
    }

  private:
    std::mutex lock;
    std::map<std::string, kzfi_pdk_4_4::CFiPrivateDataPtr> records;
    kzfi_pdk_4_4::CFiTraceLogPtr traceLog;
};

} // namespace samples

#endif
