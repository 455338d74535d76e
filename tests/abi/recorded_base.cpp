// A provider as it was built against the recorded release's headers; it runs with the library as it
// is now. What it overrides, calls, keeps on its stack and reads of the library's objects is laid
// out as that release had it. Its scenario asks for one check after the other through objctl; a
// check that fails is in the trace, and its line is the status.
#include <map>
#include <string>
#include <vector>

#include "cficonfiguration.h"
#include "cfiexecpipe.h"
#include "cfiformatoption.h"
#include "cfimessagedigest5.h"
#include "cfipluginbase.h"
#include "cfistringtool.h"
#include "cfiutf8string.h"
#include "fenced.h"

using namespace kzfi_pdk_4_4;
using Quillon::Stoneleaf::Framework::UTF8String;

#define CHECK(condition)                                                                           \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            return failed(#condition, __LINE__);                                                   \
        }                                                                                          \
    } while (false)

namespace {

const int MESSAGE_OFFSET = 1000;
const kfi_eseverity SEVERITY = 3;

const char VALUES[] = "<ConfigValueList><ConfigValue><key>size</key><value>17</value></ConfigValue>"
                      "</ConfigValueList>";
const char CREDENTIALS[] = "[STORAGE_MANAGEMENT_SERVICE\\ACME_DISK\\cellar]\n\"HOSTNAME\"=\"h1\"\n"
                           "\"USERNAME\"=\"u1\"\n\"PASSWORD\"=\"p1\"\n\"PORT\"=dword:00000022\n"
                           "\"DATA\"=\"d1\"\n";

/// Remembers what the error manager hands on.
class Listener : public CFiErrorHandlerBase {
  public:
    void handleMessage(CFiMessagePtr pushed) override { message = pushed; }
    void handleText(const char* pushed, kfi_eseverity) override { text = pushed; }

    CFiMessagePtr message;
    std::string text;
};

class Catalog : public CFiMessageCatalog {
  public:
    ~Catalog() override {}
    int init() override { return 0; }
    tstring getMessage(const std::string& id, const char*) const override {
        return tstring(("text of " + id).c_str());
    }
};

class Messages : public CFiMessageCatalogFactory {
  public:
    CFiMessageCatalogPtr createCatalog(std::string) override { return new Catalog; }
    std::string getDefaultLanguage() override { return "en"; }
    CFiMessagePtr createMessage(kfi_msg_info* info) override {
        CFiMessagePtr message(new CFiIcuMessage);
        message->deserialize(info);
        return message;
    }
};

/// A node's record that shows the fields which its operations, called by the library, filled.
class Record : public CFiPrivateData {
  public:
    explicit Record(kzfi_objid* id) : CFiPrivateData(id) {}

    void setTransportable(bool value) override {
        CFiPrivateData::setTransportable(value);
        ++calls;
    }
    void setSplitType(const char* type) override {
        CFiPrivateData::setSplitType(type);
        ++calls;
    }

    using CFiPrivateData::configDataLists;
    using CFiPrivateData::configuredTarget;
    using CFiPrivateData::hostList;
    using CFiPrivateData::intent;
    using CFiPrivateData::isAltNode;
    using CFiPrivateData::object;
    using CFiPrivateData::sessionId;
    using CFiPrivateData::splitType;
    using CFiPrivateData::subObjects;
    using CFiPrivateData::targets;
    using CFiPrivateData::transportable;

    int calls = 0;
};

/// Keeps one record, whatever the node.
class Records : public CFiPrivateDataFactory {
  public:
    CFiPrivateDataPtr findPrivateData(kfi_domain*) override { return kept; }
    CFiPrivateDataPtr createPrivateData(kfi_domain* node, int) override {
        if (!kept) {
            record = new Record(node->objid);
            kept = record;
        }
        return kept;
    }
    void deletePrivateData(kfi_domain*) override { kept = CFiPrivateDataPtr(); }

    Record* record = nullptr;
    CFiPrivateDataPtr kept;
};

class Runner : public CFiExecPipePosix {
  public:
    Runner() : CFiExecPipePosix(1) {}

    bool ReadLine(char* buffer, int size, unsigned char* timedOut, long timeout) override {
        ++reads;
        return CFiExecPipePosix::ReadLine(buffer, size, timedOut, timeout);
    }

    using CFiExecPipeBase::execFlags;
    using CFiExecPipeBase::lastError;

    int reads = 0;
};

class RecordedBase : public CFiPluginBase {
  public:
    RecordedBase() { setMessageIndexOffset(MESSAGE_OFFSET); }

    int init() override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        describeParameter();
        records = new Records;
        CFiPrivateDataFactoryPtr factory(records);
        privateDataManager->registerFactory(factory);
        catalogManager->registerFactory(&messages);
        errorManager->registerHandler(&listener);
        return KZFI_OK;
    }
    void fini() override { catalogManager->registerFactory(nullptr); }

    // One of every few operations, each with an answer of its own.
    int supportsFiType(kfi_domain* node, char*) override {
        *node->support_level = 5;
        return 1;
    }
    int deportTree(kfi_domain*, kfi_domain*, kfi_accessnode*) override { return 2001; }
    int initNode(kfi_domain* node, kfi_domain**, int, kzfi_objid* id) override {
        privateDataManager->getFactory()->createPrivateData(node, 0);
        node->type += 32;
        node->flags |= KZFI_NODE_READY;
        node->display_name = id->name;
        return KZFI_OK;
    }
    int online(kfi_domain*, kfi_domain*, int, kfi_disposition) override { return 2002; }
    int prepare(char*, kfi_splitnode** nodes, int count, int) override {
        errorManager->pushError(CFiMessagePtr(new CFiIcuMessage(
            "MSG_ERROR_RECORDED_BASE_0001", SEVERITY, __FILE__, __LINE__,
            {icu::Formattable(nodes[0]->node->objid->name), icu::Formattable(count)})));
        return 2003;
    }
    int cacheDisable(kfi_domain*, int options) override { return 2004 + options; }
    int getProviderInfo(kfi_provider_list**) override { return 2006; }
    int checkNodeExistence(kfi_domain*, int* exists) override {
        *exists = 7;
        return KZFI_OK;
    }
    int prePrepare(kfi_domain*) override { return 2007; }
    int verifyQSCombos(kfi_splitnode**, int) override { return 2008; }
    int enumerateEnclosures(kfi_enclosure_node_list**, int*, char*) override { return 2009; }
    int deportResource(char*, char*, char*, char*, int request) override { return request; }
    int unformat(char**, int, int) override { return 2010; }
    int getBackupset(kfi_domain*, int, char**, int, kfi_bkupset*) override { return 2011; }
    int setOpStatus(kfi_domain*, int status) override { return status; }
    int updateSnapshotHandle(CFiSessionPtr&, kfi_snapreplica_ele*) override { return 2012; }
    int postDeport(kfi_domain*, kfi_domain*) override { return 2013; }

    int objctl(tstring command, CFiObjctlArgs&) override {
        const std::map<std::string, int (RecordedBase::*)()> checks = {
            {"fields", &RecordedBase::fields},
            {"trace", &RecordedBase::trace},
            {"errors", &RecordedBase::errors},
            {"configuration lists", &RecordedBase::configurationLists},
            {"format options", &RecordedBase::formatOptions},
            {"tools", &RecordedBase::tools},
            {"tool that fails", &RecordedBase::toolThatFails},
            {"digest", &RecordedBase::digest},
            {"utf8", &RecordedBase::utf8},
            {"strings", &RecordedBase::strings},
            {"identifiers", &RecordedBase::identifiers},
            {"record", &RecordedBase::record},
            {"configuration", &RecordedBase::configuration},
            {"credentials", &RecordedBase::credentials},
        };
        const auto check = checks.find(command.c_str());
        return check == checks.end() ? failed(command.c_str(), __LINE__) : (this->*check->second)();
    }

  private:
    int failed(const char* what, int line) {
        traceLog->trace(1, "ERROR: %s", what);
        return line;
    }

    void describeParameter() {
        CFiConfigParamInfo& info = globalConfigInfo[0][0].entries()["size"];
        info.key = "size";
        info.dataType = FI_DATA_INT;
        info.usageType = FI_USAGE_SELECT;
        info.defaultValue = "3";
        info.rangeMin = 2;
        info.rangeMax = 20;
        globalConfigInfo[0][0].updateXML();
    }

    int fields() {
        CHECK(providerName == "recorded_base");
        CHECK(fimName == "recorded_method");
        CHECK(messageIndexOffset == MESSAGE_OFFSET);
        CHECK(traceLog && errorManager && catalogManager && privateDataManager);
        CHECK(privateDataManager->getFactory().get() == records);
        CHECK(globalConfigInfoList(0, false) == &globalConfigInfo[0][0]);
        CHECK(globalConfigInfoList(1, true) == &globalConfigInfo[1][1]);
        CHECK(objectLock.acquire() == 0 && objectLock.release() == 0);
        CHECK(getCount() >= 1);
        return KZFI_OK;
    }

    int trace() {
        {
            Fenced<CFiTraceLogFunction> scope(traceLog, __func__, __LINE__, "a/b.cpp");
            CHECK(scope.isIntact());
            traceLog->trace(1, "number %d", 7);
            CHECK(listener.text.find("number 7") != std::string::npos);
        }
        CHECK(listener.text.find("trace") != std::string::npos);
        Fenced<CFiTraceLog> own;
        own->trace(1, "nowhere");
        CHECK(own.isIntact());
        return KZFI_OK;
    }

    int errors() {
        CFiMessagePtr message(
            new CFiIcuMessage("ID", SEVERITY, "file.cpp", 12, {icu::Formattable("argument")}));
        errorManager->pushError(message);
        CHECK(listener.message.get() == message.get());
        CHECK(message->getMessageId() == "ID" && message->getSeverity() == SEVERITY);
        CHECK(message->getFileName() == "file.cpp" && message->getLineNumber() == 12);
        CHECK(message->formatMessage("[{0}]") == "[argument]");
        kfi_msg_info* info = errorManager->getLastError();
        CHECK(info != nullptr && info->length == std::string(info->text).size());
        errorManager->deleteLastError(&info);

        Fenced<CFiError> error(1003, "text", "file.cpp", 5, "function");
        CHECK(error->errorCode == 1003 && error->message == "text" && error->lineNumber == 5);
        CHECK(error->sourceFile == "file.cpp" && error->functionName == "function");
        CHECK(error->getMessageId("abc", MESSAGE_OFFSET) == "MSG_ERROR_ABC_0003");
        CHECK(error.isIntact());
        Fenced<CFiErrorManager> manager;
        CHECK(!manager->hasHandlers() && manager.isIntact());
        return KZFI_OK;
    }

    int configurationLists() {
        Fenced<CFiConfigParamDataList> values(VALUES);
        CHECK(values->entries().size() == 1 && values->entries().at("size").value == "17");
        CHECK(values->getParamData("size") == &values->entries().at("size"));
        CFiConfigParamData& list = values->entries()["list"];
        list.key = "list";
        list.valueList = {"a", "b"};
        values->updateXML();
        Fenced<CFiConfigParamDataList> again(values->getXML());
        CHECK(again->entries().at("list").valueList == list.valueList);
        CHECK(values.isIntact() && again.isIntact());

        Fenced<CFiConfigParamInfoList> infos(globalConfigInfo[0][0].getXML());
        const CFiConfigParamInfo& size = infos->entries().at("size");
        CHECK(size.key == "size" && size.dataType == FI_DATA_INT && size.defaultValue == "3");
        CHECK(size.usageType == FI_USAGE_SELECT && size.rangeMin == 2 && size.rangeMax == 20);
        CHECK(infos->getDefaultDataList().entries().at("size").value == "3");
        CHECK(infos.isIntact());

        Fenced<CFiConfigParamDataListHandler> handler;
        Fenced<CFiSaxParser> parser(&*handler, nullptr);
        parser->parse(std::string(VALUES));
        CHECK(handler->getList().entries().at("size").value == "17");
        CHECK(handler.isIntact() && parser.isIntact());
        return KZFI_OK;
    }

    int formatOptions() {
        Fenced<CFiFormatOptionList> options;
        CFiFormatOption& option = options->entries()["block"];
        option.key = "block";
        option.value = "4096";
        options->updateXML();
        const CFiFormatOptionList copy(options->getXML());
        CHECK(copy.entries().at("block").value == "4096");
        CHECK(options.isIntact());
        return KZFI_OK;
    }

    int tools() {
        Fenced<Runner> runner;
        runner->registerTraceLog(traceLog);
        std::vector<std::string> output;
        CHECK(runner->execFlags == 1);
        CHECK(runner->Exec("/bin/echo one two", output, "", 10, "", "", "") == 0);
        CHECK(output.size() == 1 && output[0].compare(0, 7, "one two") == 0);
        CHECK(runner->reads == 2);
        CHECK(runner.isIntact());
        return KZFI_OK;
    }

    int toolThatFails() {
        Fenced<Runner> runner;
        std::vector<std::string> output;
        runner->Exec("/bin/ls /nowhere/at/all", output, "", 10, "", "", "");
        CHECK(runner->lastError.code == 11 && runner->lastError.detail == 2);
        const EFiExecPipe last = runner->getLastError();
        CHECK(last.code == 11 && last.detail == 2 && last.command == "/bin/ls /nowhere/at/all");
        CHECK(runner.isIntact());
        return KZFI_OK;
    }

    int digest() {
        Fenced<CFiMessageDigest5> pieces;
        pieces->Update(reinterpret_cast<const unsigned char*>("abc"), 3);
        pieces->Finalize();
        CHECK(std::string(pieces->GetAnsiMessageDigest()) == "900150983cd24fb0d6963f7d28e17f72");
        CHECK((*pieces)[0] == 0x90);
        CHECK(pieces.isIntact());
        return KZFI_OK;
    }

    int utf8() {
        Fenced<UTF8String> text("caf\xC3\xA9");
        CHECK(text->length() == 4 && !text->ascii());
        text->append(255, 16);
        CHECK(text->t_str() == "caf\xC3\xA9"
                               "ff");
        CHECK(text->u_str().length() == 6);
        CHECK(text.isIntact());
        return KZFI_OK;
    }

    int strings() {
        CHECK(CFiStringTool::tokenize("a,b", ",").at(1) == "b");
        CHECK(CFiStringTool::str2wstr(std::string("wide")) == L"wide");
        CHECK(CFiStringTool::str2tstr("narrow") == "narrow");
        CHECK(CFiStringTool::trim("  in  ") == "in");
        return KZFI_OK;
    }

    int identifiers() {
        Fenced<CFiUdid> udid(tstring("UDID##a##b##c##d"));
        CHECK(udid->field1 == "a" && udid->field2 == "b" && udid->field3 == "c");
        CHECK(udid->field4 == "d" && udid->fourFieldFlag == 1 && udid->prefix == "UDID##");
        CHECK(udid.isIntact());
        try {
            const CFiUdid none(tstring("no identifier"));
            return failed("no exception", __LINE__);
        } catch (const CFiUdidException& failure) {
            CHECK(failure.errorCode == CFiUdidException::NO_PREFIX);
            CHECK(failure.udid == "no identifier");
        }
        return KZFI_OK;
    }

    /// Of the first node, behind the scenario's setImportOptions and reAccessTmpObj.
    int record() {
        Record& node = *records->record;
        CHECK(node.calls == 2);
        CHECK(node.transportable && node.hostList.size() == 1 && node.hostList[0] == "alpha");
        CHECK(node.sessionId == "S1" && node.splitType == "mirror" && node.intent == 2);
        CHECK(std::string(node.object->name) == "/dev/disk1");
        CHECK(node.configDataList(0)->entries().at("size").value == "9");
        CHECK(node.configDataLists[0].get() == node.configDataList(0));
        CHECK(!node.configDataLists[1]);
        node.setIsAltNode(true);
        node.addTarget("t1");
        std::string target("t2");
        node.setConfiguredTarget(target);
        node.addSubObject(node.object);
        CHECK(node.isAltNode && node.targets.at(0) == "t1" && node.configuredTarget == "t2");
        CHECK(node.subObjects.at(0) == node.object && node.getSubObjectListLength() == 1);
        Fenced<Record> own(node.object);
        CHECK(own->getIntent() == 0 && own.isIntact());
        return KZFI_OK;
    }

    int configuration() {
        Fenced<CFiConfiguration> store;
        ACE_Configuration_Section_Key key;
        CHECK(store->openSection("LIMITS", key, 1) == 0);
        CHECK(store->setIntegerValue("MOST", 16) == 0);
        unsigned int most = 0;
        CHECK(store->getIntegerValue("LIMITS", "MOST", most) == 0 && most == 16);
        CHECK(store->errorCode == 0);
        Fenced<CFiConfiguration> missing("/nowhere/at/all/", "file", true);
        CHECK(missing->errorCode != 0 && missing->functionName != "");
        CHECK(store.isIntact() && missing.isIntact());
        return KZFI_OK;
    }

    int credentials() {
        Fenced<CFiCredentialsParser> parser;
        parser->registerTraceLog(traceLog);
        std::vector<SFiCredential> found;
        parser->parse(CREDENTIALS, "ACME", "DISK", found, false);
        CHECK(found.size() == 1);
        CHECK(found[0].hostname == "h1" && found[0].username == "u1" && found[0].password == "p1");
        CHECK(found[0].port == 22 && found[0].data == "d1");
        CHECK(parser.isIntact());
        return KZFI_OK;
    }

    Messages messages;
    Listener listener;
    Records* records = nullptr; // the manager's
};

} // namespace

extern "C" KZFI_PDK_API CFiPluginBase* kzfi_create_provider(void) {
    return new RecordedBase;
}
