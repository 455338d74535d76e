// A small provider that keeps all the rules, and what twins are made of: each derives from it and
// breaks one rule.
//
//     #include "twin.h"
//
//     namespace {
//
//     class Twin : public Sound {
//       public:
//         int isReady(char*, kfi_splitnode**, int) override { std::abort(); }
//     };
//
//     } // namespace
//
//     KZFI_TWIN(Twin)
#ifndef KZFI_TESTS_TWIN_H
#define KZFI_TESTS_TWIN_H

#include <algorithm>
#include <initializer_list>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

#include "cfipluginbase.h"

using namespace kzfi_pdk_4_4;

/// The node's name; empty for a node that has none.
inline std::string nameOf(const kfi_domain* node) {
    const bool named = node != nullptr && node->objid != nullptr && node->objid->name != nullptr;
    return named ? node->objid->name : "";
}

/// Whether this sets values from a text that cannot be read.
inline bool isUnreadable(int mode, const kfi_confspec* spec) {
    CFiConfigParamDataList values;
    return mode == KZFI_CONFIG_SET && spec != nullptr && spec->text != nullptr &&
           values.parse(spec->text) != KZFI_OK;
}

/// A record for each node that was initialised, by name.
class SoundRecords : public CFiPrivateDataFactory {
  public:
    explicit SoundRecords(const CFiTraceLogPtr& log) : traceLog(log) {}

    CFiPrivateDataPtr findPrivateData(kfi_domain* node) override {
        const std::lock_guard<std::mutex> guard(lock);
        const auto found = records.find(nameOf(node));
        return found != records.end() ? found->second : CFiPrivateDataPtr();
    }

    CFiPrivateDataPtr createPrivateData(kfi_domain* node, int altNode) override {
        if (nameOf(node).empty()) {
            return CFiPrivateDataPtr();
        }
        const std::lock_guard<std::mutex> guard(lock);
        CFiPrivateDataPtr& record = records[nameOf(node)];
        if (!record) {
            record = new CFiPrivateData(node->objid);
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
    const CFiTraceLogPtr traceLog;
    std::mutex lock;
    std::map<std::string, CFiPrivateDataPtr> records;
};

/// Finds the messages of the catalogue "sound".
class SoundMessages : public CFiMessageCatalogFactory {
  public:
    CFiMessageCatalogPtr createCatalog(std::string language) override {
        return new CFiIcuMessageCatalog(language.c_str(), "sound");
    }
    std::string getDefaultLanguage() override { return "en"; }
    CFiMessagePtr createMessage(kfi_msg_info* info) override {
        CFiMessagePtr message(new CFiIcuMessage);
        try {
            message->deserialize(info);
        } catch (const std::out_of_range&) {
            // A text that ends too early: the message has what came before.
        }
        return message;
    }
};

#define KZFI_TWIN_SCOPE const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__)

/// Claims what lies below /dev/sound and takes images of type "copy" of everything, whose
/// preparation it refuses for an empty request.
class Sound : public CFiPluginBase {
  public:
    Sound() {
        setProviderName("sound");
        setFimName("copy");
        setMessageIndexOffset(1000);
    }

    int init() override {
        KZFI_TWIN_SCOPE;
        describeParameters();
        CFiPrivateDataFactoryPtr records(new SoundRecords(traceLog));
        privateDataManager->registerFactory(records);
        catalogManager->registerFactory(&messages);
        return KZFI_OK;
    }

    void fini() override {
        KZFI_TWIN_SCOPE;
        catalogManager->registerFactory(nullptr);
    }

    int claim(kzfi_objid* object, kzfi_objid***, int*) override {
        KZFI_TWIN_SCOPE;
        const bool named = object != nullptr && object->name != nullptr;
        const bool mine = named && std::string(object->name).rfind("/dev/sound", 0) == 0;
        return mine ? KZFI_CLAIM_SECONDARY : KZFI_CLAIM_NONE;
    }

    int supportsFiType(kfi_domain* node, char* type) override {
        KZFI_TWIN_SCOPE;
        if (node == nullptr || node->support_level == nullptr) {
            return 0;
        }
        const bool supported = type != nullptr && std::string(type) == "copy";
        *node->support_level = supported ? 1 : 0;
        return supported ? 1 : 0;
    }

    int initNode(kfi_domain* node, kfi_domain**, int, kzfi_objid*) override {
        KZFI_TWIN_SCOPE;
        return createRecord(node) ? KZFI_OK : KZFI_ERR_INVALID;
    }

    int config(kfi_domain* node, int mode, char* session, kfi_confspec* spec) override {
        const bool set = mode == KZFI_CONFIG_SET || mode == KZFI_CONFIG_SET_AGAIN;
        if (set && spec != nullptr && spec->text != nullptr && !isAllowed(spec->text)) {
            spec->text = nullptr;
            return KZFI_ERR_INVALID;
        }
        return CFiPluginBase::config(node, mode, session, spec);
    }

    int prepare(char*, kfi_splitnode** nodes, int count, int) override {
        KZFI_TWIN_SCOPE;
        if (nodes != nullptr && count > 0) {
            return KZFI_OK;
        }
        return refuse(count);
    }

  protected:
    /// Whether the thread is the one that made the provider. A rule that is broken there alone
    /// stays the only one when others work beside it.
    bool isHome() const { return std::this_thread::get_id() == home; }

    int refuse(int count) {
        errorManager->pushError(CFiMessagePtr(new CFiIcuMessage(
            "MSG_ERROR_SOUND_0001", 3, __FILE__, __LINE__, {icu::Formattable(count)})));
        return 1001;
    }
    CFiPrivateDataPtr createRecord(kfi_domain* node) {
        const CFiPrivateDataFactoryPtr records = privateDataManager->getFactory();
        return records ? records->createPrivateData(node, 0) : CFiPrivateDataPtr();
    }
    CFiPrivateDataPtr recordOf(kfi_domain* node) {
        const CFiPrivateDataFactoryPtr records = privateDataManager->getFactory();
        return records ? records->findPrivateData(node) : CFiPrivateDataPtr();
    }

  private:
    void describeParameters() {
        CFiConfigParamInfoList& list = globalConfigInfo[0][0];
        list.clear();
        describe(list, "retries", FI_DATA_INT, "3");
        list.entries()["retries"].rangeMin = 1;
        list.entries()["retries"].rangeMax = 5;
        describe(list, "verify", FI_DATA_BOOLEAN, "true");
        describe(list, "speed", FI_DATA_STRING_LIST, "normal");
        for (const char* const choice : {"slow", "normal", "fast"}) {
            list.entries()["speed"].addSelectionItem(choice);
        }
        list.updateXML();
    }

    /// A text that cannot be read is left to the base.
    static bool isAllowed(const char* text) {
        CFiConfigParamDataList values(text);
        const auto isOneOf = [&](const char* key, std::initializer_list<const char*> choices) {
            const auto found = values.entries().find(key);
            return found == values.entries().end() ||
                   std::find(choices.begin(), choices.end(), found->second.value) != choices.end();
        };
        return isOneOf("retries", {"1", "2", "3", "4", "5"}) &&
               isOneOf("verify", {"true", "false"}) && isOneOf("speed", {"slow", "normal", "fast"});
    }

    static void describe(CFiConfigParamInfoList& list, const std::string& key,
                         FiConfigDataType type, const std::string& value) {
        CFiConfigParamInfo& info = list.entries()[key];
        info.key = key;
        info.dataType = type;
        info.usageType = FI_USAGE_SELECT;
        info.defaultValue = value;
    }

    const std::thread::id home = std::this_thread::get_id();
    SoundMessages messages;
};

// NOLINTBEGIN(bugprone-macro-parentheses): neither a type nor a declaration takes any.
#define KZFI_TWIN(Class)                                                                           \
    extern "C" KZFI_PDK_API CFiPluginBase* kzfi_create_provider(void) {                            \
        return new Class;                                                                          \
    }
// NOLINTEND(bugprone-macro-parentheses)

#endif
