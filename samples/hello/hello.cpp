// A first provider: it describes three parameters, keeps their values for every node, and has one
// operation, prepare, that fails on purpose and says why in the caller's language.
#include <map>
#include <mutex>
#include <string>

#include "cfipluginbase.h"

using namespace kzfi_pdk_4_4;

namespace {

// Statuses of this provider are 1000 + the number of the message that explains them.
const int MESSAGE_OFFSET = 1000;
const int CANNOT_PREPARE = MESSAGE_OFFSET + 2;
const kfi_eseverity SEVERITY_ERROR = 3;

/// The node's name; empty for a node that has none.
std::string nameOf(const kfi_domain* node) {
    const bool named = node != nullptr && node->objid != nullptr && node->objid->name != nullptr;
    return named ? node->objid->name : "";
}

/// Keeps a record for every node, by the node's name.
class NodeRecords : public CFiPrivateDataFactory {
  public:
    explicit NodeRecords(const CFiTraceLogPtr& log) : traceLog(log) {}

    CFiPrivateDataPtr findPrivateData(kfi_domain* node) override {
        const std::lock_guard<std::mutex> guard(lock);
        const auto found = records.find(nameOf(node));
        return found != records.end() ? found->second : CFiPrivateDataPtr();
    }

    CFiPrivateDataPtr createPrivateData(kfi_domain* node, int altNode) override {
        const std::string name = nameOf(node);
        if (name.empty()) {
            return CFiPrivateDataPtr();
        }
        const std::lock_guard<std::mutex> guard(lock);
        CFiPrivateDataPtr& record = records[name];
        if (!record) {
            record = CFiPrivateDataPtr(new CFiPrivateData(node->objid));
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
    std::mutex lock; // the framework calls from several threads
    std::map<std::string, CFiPrivateDataPtr> records;
    CFiTraceLogPtr traceLog;
};

/// Finds this provider's messages: the catalogue "hello", one bundle a language.
class Messages : public CFiMessageCatalogFactory {
  public:
    CFiMessageCatalogPtr createCatalog(std::string language) override {
        return new CFiIcuMessageCatalog(language.c_str(), "hello");
    }

    std::string getDefaultLanguage() override { return "en"; }

    CFiMessagePtr createMessage(kfi_msg_info* info) override {
        CFiMessagePtr message(new CFiIcuMessage);
        message->deserialize(info);
        return message;
    }
};

class HelloProvider : public CFiPluginBase {
  public:
    HelloProvider() {
        setProviderName("hello");
        setFimName("hello");
        setMessageIndexOffset(MESSAGE_OFFSET);
    }

    int init() override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        describeParameters();
        CFiPrivateDataFactoryPtr records(new NodeRecords(traceLog));
        privateDataManager->registerFactory(records);
        catalogManager->registerFactory(&messages);
        return KZFI_OK;
    }

    void fini() override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        catalogManager->registerFactory(nullptr);
    }

    int initNode(kfi_domain* node, kfi_domain**, int, kzfi_objid*) override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        privateDataManager->getFactory()->createPrivateData(node, 0);
        return KZFI_OK;
    }

    /// There is never any room: that is how a failure looks.
    int prepare(char*, kfi_splitnode** nodes, int count, int) override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        if (nodes == nullptr || count <= 0) {
            return KZFI_OK;
        }
        const std::string name = nameOf(nodes[0]->node);
        if (traceLog) {
            traceLog->trace(1, "ERROR: no room for a snapshot of %s", name.c_str());
        }
        errorManager->pushError(CFiMessagePtr(
            new CFiIcuMessage("MSG_ERROR_HELLO_0001", SEVERITY_ERROR, __FILE__, __LINE__,
                              {icu::Formattable(name.c_str()), icu::Formattable(count)})));
        return CANNOT_PREPARE;
    }

  private:
    /// List 0 of the plug-in's own descriptions; nodes without their own get its defaults.
    void describeParameters() {
        CFiConfigParamInfoList& list = globalConfigInfo[0][0];
        add(list, "retries", FI_DATA_INT, "3");
        list.entries()["retries"].rangeMin = 1;
        list.entries()["retries"].rangeMax = 5;
        add(list, "verify", FI_DATA_BOOLEAN, "true");
        add(list, "speed", FI_DATA_STRING_LIST, "normal");
        for (const char* const choice : {"slow", "normal", "fast"}) {
            list.entries()["speed"].addSelectionItem(choice);
        }
        list.updateXML();
    }

    static void add(CFiConfigParamInfoList& list, const std::string& key, FiConfigDataType type,
                    const std::string& value) {
        CFiConfigParamInfo& info = list.entries()[key];
        info.key = key;
        info.dataType = type;
        info.usageType = FI_USAGE_SELECT;
        info.defaultValue = value;
    }

    Messages messages;
};

} // namespace

extern "C" KZFI_PDK_API CFiPluginBase* kzfi_create_provider(void) {
    return new HelloProvider;
}
