// A first provider: it describes three parameters, keeps their values for every node, and has one
// operation, prepare, that fails on purpose and says why in the caller's language.
#include <string>

#include "cfipluginbase.h"
#include "node_records.h"

using namespace kzfi_pdk_4_4;

namespace {

// Statuses of this provider are 1000 + the number of the message that explains them.
const int MESSAGE_OFFSET = 1000;
const int CANNOT_PREPARE = MESSAGE_OFFSET + 2;
const kfi_eseverity SEVERITY_ERROR = 3;

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
        CFiPrivateDataFactoryPtr records(new samples::NodeRecords(traceLog));
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
        const CFiPrivateDataFactoryPtr records = privateDataManager->getFactory();
        if (!records) {
            return KZFI_ERR_INVALID; // init() did not run.
        }
        records->createPrivateData(node, 0);
        return KZFI_OK;
    }

    /// There is never any room: that is how a failure looks.
    int prepare(char*, kfi_splitnode** nodes, int count, int) override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        if (nodes == nullptr || count <= 0) {
            return KZFI_OK;
        }
        const std::string name = samples::nameOf(nodes[0]->node);
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
        list.clear(); // init() may have been here before.
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
