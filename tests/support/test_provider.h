// Provider pieces that tests of the plug-in frame share.
#ifndef KZFI_TESTS_TEST_PROVIDER_H
#define KZFI_TESTS_TEST_PROVIDER_H

#include <map>
#include <string>
#include <vector>

#include "cfipluginbase.h"

namespace kzfi_tests {

/// A node of the framework with a name and a support level of its own.
class Node {
  public:
    explicit Node(const std::string& nodeName)
        : name(nodeName),
          id{name.data(), name.size() + 1, 3},
          supportLevel(-1),
          domain{} {
        domain.objid = &id;
        domain.support_level = &supportLevel;
    }
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    kfi_domain* get() { return &domain; }
    kfi_domain* operator->() { return &domain; }
    kzfi_objid* objid() { return &id; }
    std::int32_t level() const { return supportLevel; }

  private:
    std::string name;
    kzfi_objid id;
    std::int32_t supportLevel;
    kfi_domain domain;
};

/// Keeps records by node and writes down what it is asked.
class RecordingFactory : public kzfi_pdk_4_4::CFiPrivateDataFactory {
  public:
    kzfi_pdk_4_4::CFiPrivateDataPtr findPrivateData(kfi_domain* node) override {
        calls.push_back("find");
        const auto found = records.find(node);
        return found == records.end() ? kzfi_pdk_4_4::CFiPrivateDataPtr() : found->second;
    }

    kzfi_pdk_4_4::CFiPrivateDataPtr createPrivateData(kfi_domain* node, int altNode) override {
        calls.push_back("create " + std::to_string(altNode));
        if (refusesToCreate) {
            return kzfi_pdk_4_4::CFiPrivateDataPtr();
        }
        kzfi_pdk_4_4::CFiPrivateDataPtr& record = records[node];
        if (!record) {
            record = new kzfi_pdk_4_4::CFiPrivateData(node->objid);
        }
        return record;
    }

    void deletePrivateData(kfi_domain* node) override {
        calls.push_back("delete");
        records.erase(node);
    }

    std::map<kfi_domain*, kzfi_pdk_4_4::CFiPrivateDataPtr> records;
    std::vector<std::string> calls;
    bool refusesToCreate = false;
};

/// A plug-in that shows its fields.
class PeekingPlugin : public kzfi_pdk_4_4::CFiPluginBase {
  public:
    using CFiPluginBase::catalogManager;
    using CFiPluginBase::errorManager;
    using CFiPluginBase::fimName;
    using CFiPluginBase::globalConfigInfo;
    using CFiPluginBase::messageIndexOffset;
    using CFiPluginBase::objectLock;
    using CFiPluginBase::privateDataManager;
    using CFiPluginBase::sessionManager;
};

} // namespace kzfi_tests

#endif
