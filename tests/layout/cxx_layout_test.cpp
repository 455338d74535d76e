// Field order and virtual slots of the exported classes, measured from what the compiler made.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "cficonfigparam.h"
#include "cfierrormgr.h"
#include "cfiformatoption.h"
#include "cfiicucatalog.h"
#include "cfipluginbase.h"
#include "cfiplugininterposer.h"
#include "cfiprivatedata.h"
#include "cfiudid.h"
#include "layout/virtual_slots.h"

extern "C" std::size_t kzfi_tests_domain_size(void);

namespace kzfi_pdk_4_4 {
namespace {

using kzfi_tests::offsetIn;
using kzfi_tests::slotOf;

struct Slot {
    const char* name;
    long slot;
};

void expectConsecutive(const std::vector<Slot>& slots, long first) {
    for (const Slot& entry : slots) {
        EXPECT_EQ(entry.slot, first) << entry.name;
        ++first;
    }
}

struct Field {
    const char* name;
    std::ptrdiff_t offset;
};

/// Compares neighbours, so that a wrong order names the fields.
void expectOrder(const std::vector<Field>& fields) {
    for (std::size_t i = 1; i < fields.size(); ++i) {
        EXPECT_LT(fields[i - 1].offset, fields[i].offset)
            << fields[i].name << " stands before " << fields[i - 1].name;
    }
}

#define SLOT(Class, operation)                                                                     \
    { #operation, slotOf(&Class::operation) }
#define FIELD(object, name)                                                                        \
    { #name, offsetIn(object, object.name) }

TEST(FrameworkLayout, RecordsAreTheSameInCAndInCxx) {
    EXPECT_EQ(kzfi_tests_domain_size(), sizeof(kfi_domain));
}

TEST(RefCountLayout, SlotsFollowTheDestructorPair) {
    expectConsecutive(
        {SLOT(CFiRefCount, increment), SLOT(CFiRefCount, decrement), SLOT(CFiRefCount, getCount)},
        2);
}

TEST(RefCountLayout, TheCountStandsBeforeTheMutex) {
    CFiRefCount object;
    object.increment();
    std::uint32_t count = 0;
    std::memcpy(&count, reinterpret_cast<const char*>(&object) + sizeof(void*), sizeof count);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(offsetIn(object, object.countMutex()),
              static_cast<std::ptrdiff_t>(2 * sizeof(void*)));
}

TEST(UdidLayout, FieldsAreInOrder) {
    const CFiUdid id(tstring("UDID##a##b##c"));
    expectOrder({FIELD(id, field1), FIELD(id, field2), FIELD(id, field3), FIELD(id, field4),
                 FIELD(id, spareText), FIELD(id, fourFieldFlag), FIELD(id, prefix)});
    EXPECT_EQ(offsetIn(id, id.field1), 0);
}

TEST(TraceableLayout, SlotFollowsTheDestructorPair) {
    EXPECT_EQ(slotOf(&CFiTraceable::registerTraceLog), 2);
}

TEST(TraceableLayout, HoldsOnlyTheTable) {
    EXPECT_EQ(sizeof(CFiTraceable), sizeof(void*) + sizeof(CFiTraceLogPtr));
    EXPECT_EQ(sizeof(CFiTraceLogPtr), sizeof(void*));
}

TEST(ErrorLayout, SlotsFollowTheDestructorPair) {
    expectConsecutive({SLOT(CFiError, getMessageId), SLOT(CFiError, what)}, 2);
}

TEST(ErrorLayout, FieldsAreInOrder) {
    const CFiError error;
    expectOrder({FIELD(error, errorCode), FIELD(error, message), FIELD(error, sourceFile),
                 FIELD(error, lineNumber), FIELD(error, functionName)});
    EXPECT_EQ(offsetIn(error, error.errorCode), static_cast<std::ptrdiff_t>(sizeof(void*)));
}

TEST(ConfigParamLayout, FieldsAreInOrder) {
    const CFiConfigParamInfo info;
    expectOrder({FIELD(info, key), FIELD(info, messageId), FIELD(info, dataType),
                 FIELD(info, usageType), FIELD(info, isSharedParam), FIELD(info, selectionList),
                 FIELD(info, defaultValue), FIELD(info, rangeMin), FIELD(info, rangeMax)});
    EXPECT_EQ(offsetIn(info, info.key), 0);
    const CFiConfigParamData data;
    expectOrder(
        {FIELD(data, key), FIELD(data, value), FIELD(data, valueList), FIELD(data, auxText)});
    EXPECT_EQ(offsetIn(data, data.key), 0);
}

TEST(FormatOptionLayout, FieldsAreInOrder) {
    const CFiFormatOption option;
    expectOrder({FIELD(option, key), FIELD(option, value), FIELD(option, valueList),
                 FIELD(option, auxText)});
    EXPECT_EQ(offsetIn(option, option.key), 0);
}

TEST(MessageLayout, SlotsFollowThoseOfTheCount) {
    expectConsecutive({SLOT(CFiMessage, increment), SLOT(CFiMessage, decrement),
                       SLOT(CFiMessage, getCount), SLOT(CFiMessage, serialize),
                       SLOT(CFiMessage, deserialize), SLOT(CFiMessage, getSeverity),
                       SLOT(CFiMessage, getLineNumber), SLOT(CFiMessage, getFileName),
                       SLOT(CFiMessage, getMessageId), SLOT(CFiMessage, formatMessage)},
                      2);
}

class MessagePeek : public CFiIcuMessage {
  public:
    std::vector<Field> fields() {
        const kfi_msg_info* const info = serialize();
        // A message without arguments has an empty text, whose byte is within the string itself.
        return {FIELD((*this), messageId),
                FIELD((*this), severity),
                FIELD((*this), fileName),
                FIELD((*this), lineNumber),
                {"arguments", offsetIn(*this, getArguments())},
                {"msgInfo", offsetIn(*this, *info)},
                {"serializedText", offsetIn(*this, *info->text)}};
    }
};

TEST(MessageLayout, FieldsAreInOrder) {
    MessagePeek message;
    const std::vector<Field> fields = message.fields();
    expectOrder(fields);
    EXPECT_EQ(fields.front().offset, static_cast<std::ptrdiff_t>(sizeof(CFiRefCount)));
    EXPECT_LT(fields.back().offset, static_cast<std::ptrdiff_t>(sizeof message));
}

TEST(MessageLayout, IcuMessageAddsNoSlot) {
    expectConsecutive({SLOT(CFiIcuMessage, serialize), SLOT(CFiIcuMessage, deserialize)}, 5);
    EXPECT_EQ(slotOf(&CFiIcuMessage::formatMessage), 11);
}

TEST(CatalogLayout, InitAndGetMessageComeBeforeTheDestructorPair) {
    expectConsecutive({SLOT(CFiMessageCatalog, init), SLOT(CFiMessageCatalog, getMessage)}, 0);
}

TEST(HandlerLayout, MessageHandlerComesFirst) {
    expectConsecutive(
        {SLOT(CFiErrorHandlerBase, handleMessage), SLOT(CFiErrorHandlerBase, handleText)}, 2);
}

TEST(PrivateDataFactoryLayout, FindCreateDelete) {
    expectConsecutive({SLOT(CFiPrivateDataFactory, findPrivateData),
                       SLOT(CFiPrivateDataFactory, createPrivateData),
                       SLOT(CFiPrivateDataFactory, deletePrivateData)},
                      2);
}

TEST(PrivateDataLayout, TwentyNineOperationsInOrder) {
    expectConsecutive({SLOT(CFiPrivateData, hasConfigInfoList),
                       SLOT(CFiPrivateData, hasConfigDataList),
                       SLOT(CFiPrivateData, addDefaultConfigParamsToDataList),
                       SLOT(CFiPrivateData, configInfoList),
                       SLOT(CFiPrivateData, configDataList),
                       SLOT(CFiPrivateData, setIntent),
                       SLOT(CFiPrivateData, getIntent),
                       SLOT(CFiPrivateData, setSplitType),
                       SLOT(CFiPrivateData, getSplitType),
                       SLOT(CFiPrivateData, setSessionId),
                       SLOT(CFiPrivateData, getSessionId),
                       SLOT(CFiPrivateData, getHostList),
                       SLOT(CFiPrivateData, setHostList),
                       SLOT(CFiPrivateData, getTransportable),
                       SLOT(CFiPrivateData, setTransportable),
                       SLOT(CFiPrivateData, setNodeState),
                       SLOT(CFiPrivateData, getNodeState),
                       SLOT(CFiPrivateData, getObjName),
                       SLOT(CFiPrivateData, addSubObject),
                       SLOT(CFiPrivateData, getSubObjectList),
                       SLOT(CFiPrivateData, getSubObjectListLength),
                       SLOT(CFiPrivateData, setIsAltNode),
                       SLOT(CFiPrivateData, getIsAltNode),
                       SLOT(CFiPrivateData, getConfiguredTarget),
                       SLOT(CFiPrivateData, getTargets),
                       SLOT(CFiPrivateData, addTarget),
                       SLOT(CFiPrivateData, setConfiguredTarget),
                       SLOT(CFiPrivateData, selectTargetFromConfigData)},
                      2);
}

class PrivateDataPeek : public CFiPrivateData {
  public:
    PrivateDataPeek() : CFiPrivateData(nullptr) {}

    std::vector<Field> fields() const {
        return {FIELD((*this), object),          FIELD((*this), subObjects),
                FIELD((*this), isAltNode),       FIELD((*this), sessionId),
                FIELD((*this), splitType),       FIELD((*this), configuredTarget),
                FIELD((*this), targets),         FIELD((*this), transportable),
                FIELD((*this), hostList),        FIELD((*this), intent),
                FIELD((*this), configInfoLists), FIELD((*this), configDataLists)};
    }
};

TEST(PrivateDataLayout, FieldsAreInOrder) {
    expectOrder(PrivateDataPeek().fields());
    EXPECT_EQ(PrivateDataPeek().fields().front().offset,
              static_cast<std::ptrdiff_t>(sizeof(void*)));
}

class PluginPeek : public CFiPluginBase {
  public:
    std::vector<Field> fields() const {
        return {FIELD((*this), providerName),       FIELD((*this), objectLock),
                FIELD((*this), errorManager),       FIELD((*this), catalogManager),
                FIELD((*this), privateDataManager), FIELD((*this), sessionManager),
                FIELD((*this), globalConfigInfo),   FIELD((*this), fimName),
                FIELD((*this), messageIndexOffset)};
    }
};

TEST(PluginBaseLayout, NineFieldsInOrder) {
    expectOrder(PluginPeek().fields());
    EXPECT_EQ(PluginPeek().fields().front().offset, static_cast<std::ptrdiff_t>(sizeof(void*)));
}

TEST(PluginBaseLayout, SecondaryTablesAreThoseOfTheBases) {
    EXPECT_EQ(slotOf(&CFiPluginBase::increment), 2);
    EXPECT_EQ(slotOf(&CFiPluginBase::registerTraceLog), 2);
}

/// An operation with its result and the types of its arguments; another signature does not compile.
#define OPERATION(Result, operation, arguments)                                                    \
    {                                                                                              \
#operation,                                                                                \
            slotOf(static_cast <Result(CFiPluginBase::*) arguments>(&CFiPluginBase::operation))    \
    }

const std::vector<Slot>& pluginSlots() {
    static const std::vector<Slot> slots = {
        OPERATION(int, delayedInit, ()),
        OPERATION(CFiConfigParamInfoList*, globalConfigInfoList, (int, bool)),
        OPERATION(int, init, ()),
        OPERATION(void, fini, ()),
        OPERATION(int, claim, (kzfi_objid*, kzfi_objid***, int*)),
        OPERATION(int, supportsFiType, (kfi_domain*, char*)),
        OPERATION(int, deportTree, (kfi_domain*, kfi_domain*, kfi_accessnode*)),
        OPERATION(int, importTreeNode,
                  (kfi_domain*, kzfi_objid**, kzfi_objid**, int, kzfi_objid**)),
        OPERATION(int, initNode, (kfi_domain*, kfi_domain**, int, kzfi_objid*)),
        OPERATION(int, config, (kfi_domain*, int, char*, kfi_confspec*)),
        OPERATION(int, initAltNode, (kfi_domain*, kfi_domain*, kfi_domain*, bool)),
        OPERATION(int, reAccessTmpObj,
                  (kfi_domain*, kzfi_objid*, char*, kfi_domain*, char*, kfi_intent)),
        OPERATION(int, reAccessAltNode,
                  (kfi_domain*, kzfi_objid*, kzfi_objid*, char*, kzfi_objid**, kzfi_objid**, int,
                   kfi_intent)),
        OPERATION(void, deInitNode, (kfi_domain*)),
        OPERATION(int, dispose, (kfi_domain*, kfi_domain*, kfi_splitnode*, kfi_disposition)),
        OPERATION(int, online, (kfi_domain*, kfi_domain*, int, kfi_disposition)),
        OPERATION(int, subobjList, (kfi_domain*, kzfi_objid***, int*)),
        OPERATION(int, errMsg, (int, const char**)),
        OPERATION(int, buildAltTree,
                  (kfi_domain*, char*, kzfi_objid**, kzfi_objid**, int, kzfi_objid**)),
        OPERATION(int, quiesce, (kfi_quiescenode**, int, char*)),
        OPERATION(void, unquiesce, (kfi_quiescenode**, int)),
        OPERATION(int, make, (char*, kfi_splitnode**, int, kzfi_objid***, int*)),
        OPERATION(int, makeSnapshots, (CFiSessionPtr&)),
        OPERATION(int, prepare, (char*, kfi_splitnode**, int, int)),
        OPERATION(int, prepareSnapshots, (CFiSessionPtr&)),
        OPERATION(int, select, (char*, kfi_splitnode**, int)),
        OPERATION(int, selectSnapshots, (CFiSessionPtr&)),
        OPERATION(int, isReady, (char*, kfi_splitnode**, int)),
        OPERATION(int, cacheDisable, (kfi_domain*, int)),
        OPERATION(void, cacheEnable, (kfi_domain*, int)),
        OPERATION(void, cacheFlush, (kfi_domain*, int)),
        OPERATION(int, interpose, (kfi_domain*, kzfi_objid**, kzfi_objid***, int*)),
        OPERATION(int, getAttr, (kfi_domain*, kfi_domain*, kfi_splitnode*, kfi_attributes*)),
        OPERATION(int, getProviderInfo, (kfi_provider_list**)),
        OPERATION(int, enumerateNodes, (kfi_node_list**, int*, int, char*)),
        OPERATION(int, enumerateAssociations, (kfi_assoc_list**)),
        OPERATION(int, enumerateGroupNodes, (kfi_group_node_list**)),
        OPERATION(int, enumerateFims, (kfi_fim_list**)),
        OPERATION(int, isValidNodeAssociation, (kfi_assoc*, int*)),
        OPERATION(int, getAssociatedNodes, (kfi_node*, kfi_node_list**)),
        OPERATION(int, checkNodeExistence, (kfi_domain*, int*)),
        OPERATION(int, objctl, (tstring, CFiObjctlArgs&)),
        OPERATION(int, processProviderState, (kfi_domain*, kfi_blob*, kfi_op_providerstate)),
        OPERATION(int, getLastError, (kfi_msg_info**)),
        OPERATION(int, delLastError, (kfi_msg_info**)),
        OPERATION(int, getLocaleMessage, (int*, kfi_msg_info*, const char*, char**)),
        OPERATION(int, delLocaleMessage, (char**)),
        OPERATION(int, enableAccess, (kfi_node_subobj_list*, long, int, int)),
        OPERATION(int, disableAccess, (kfi_node_subobj_list*, long)),
        OPERATION(int, restore,
                  (kzfi_objid**, kzfi_objid**, long, char*, char*, char***, long*, long, long*)),
        OPERATION(int, resync, (kzfi_objid**, kzfi_objid**, long, char*, char*, long, long*)),
        OPERATION(int, getStatus, (kzfi_objid**, kzfi_objid**, long, char*, long, long*)),
        OPERATION(int, prePrepare, (kfi_domain*)),
        OPERATION(int, queryValidSecondaries, (char*, kzfi_objid***, long*)),
        OPERATION(int, resourceStatus, (kzfi_objid*, long, long*, kfi_msg_info**)),
        OPERATION(int, revisitPluginNodes, (kfi_pgn_node_list*)),
        OPERATION(int, verifyQSCombos, (kfi_splitnode**, int)),
        OPERATION(int, setImportOptions, (kfi_splitnode**, int, kfi_host_infn*, int, void*)),
        OPERATION(int, startBuildAltTree, (kfi_domain*, kzfi_objid**, void*)),
        OPERATION(int, translateResourceNames, (char**, int, char**)),
        OPERATION(int, enumerateEnclosures, (kfi_enclosure_node_list**, int*, char*)),
        OPERATION(int, importResource, (char**, char*, char*, char*, int, char**, char*)),
        OPERATION(int, format, (char**, int, char*, char*, char*, int, char***, int*)),
        OPERATION(int, enumerateHostNodes, (kfi_host_node_list**, int*, char*)),
        OPERATION(int, onlineResource,
                  (char**, int, char*, char*, char*, char*, int, char***, int*)),
        OPERATION(int, deportResource, (char*, char*, char*, char*, int)),
        OPERATION(int, isParentPgn, (char*, int*, int)),
        OPERATION(int, unformat, (char**, int, int)),
        OPERATION(int, preDeportResource, (char*, int, char*)),
        OPERATION(int, refreshTree, (kfi_domain*, int, int, kfi_resource*, int, int*, void*, int)),
        OPERATION(int, getBackupset, (kfi_domain*, int, char**, int, kfi_bkupset*)),
        OPERATION(int, getAppStatus, (kfi_domain*, int, void*)),
        OPERATION(int, setOpStatus, (kfi_domain*, int)),
        OPERATION(int, setCompStatus, (kfi_domain*, int, char*, int)),
        OPERATION(int, setRestorepaths, (kfi_domain*, char*, int)),
        OPERATION(int, createSnapReplicaNode, (kfi_domain*, kfi_snapreplica_ele*)),
        OPERATION(int, updateSnapshotId, (kfi_domain*, kfi_domain*, kfi_snapreplica_ele*, int)),
        OPERATION(int, getSnapshotSetId, (kfi_domain*, char**)),
        OPERATION(int, preselect, (kfi_splitnode*, char*, kfi_splitnode**, int)),
        OPERATION(int, updateSnapshotHandle, (CFiSessionPtr&, kfi_snapreplica_ele*)),
        OPERATION(int, getSnapdiff,
                  (kfi_domain*, kfi_snapreplica_ele*, kfi_snapreplica_ele*, TrieNode_*)),
        OPERATION(int, postDeport, (kfi_domain*, kfi_domain*)),
    };
    return slots;
}

TEST(PluginBaseLayout, OperationsFollowTheDestructorPairInOrder) {
    EXPECT_EQ(pluginSlots().size(), 82u);
    expectConsecutive(pluginSlots(), 2);
}

TEST(PluginBaseLayout, ServicesAreNotVirtual) {
    EXPECT_EQ(slotOf(&CFiPluginBase::setFimName), -1);
    EXPECT_EQ(slotOf(&CFiPluginBase::setMessageIndexOffset), -1);
    EXPECT_EQ(slotOf(&CFiPluginBase::registerErrorManager), -1);
    EXPECT_EQ(slotOf(&CFiPluginBase::registerCatalogManager), -1);
    EXPECT_EQ(slotOf(&CFiPluginBase::registerPrivateDataManager), -1);
    EXPECT_EQ(slotOf(&CFiPluginBase::registerSessionManager), -1);
    EXPECT_EQ(slotOf(&CFiPluginBase::getProviderName), -1);
    EXPECT_EQ(slotOf(&CFiPluginBase::setProviderName), -1);
    EXPECT_EQ(slotOf(&CFiPluginBase::setOwnerIds), -1);
}

TEST(PluginBaseLayout, CountComesBeforeTheTraceLog) {
    const PluginPeek plugin;
    EXPECT_LT(offsetIn(plugin, static_cast<const CFiRefCount&>(plugin)),
              offsetIn(plugin, static_cast<const CFiTraceable&>(plugin)));
    const PrivateDataPeek data;
    EXPECT_LT(offsetIn(data, static_cast<const CFiRefCount&>(data)),
              offsetIn(data, static_cast<const CFiTraceable&>(data)));
}

class InterposerPeek : public CFiPluginInterposer {
  public:
    std::vector<Field> fields() const {
        return {FIELD((*this), messageIndexOffset),
                FIELD((*this), ignoredNodeTypes),
                FIELD((*this), defaultNodeType),
                FIELD((*this), lunMap),
                FIELD((*this), groups),
                FIELD((*this), fims)};
    }
};

TEST(InterposerLayout, FiveFieldsFollowThoseOfTheBase) {
    expectOrder(InterposerPeek().fields());
}

TEST(InterposerLayout, ThreeOperationsFollowThoseOfTheBase) {
    expectConsecutive({SLOT(CFiPluginInterposer, addIgnoreNodeType),
                       SLOT(CFiPluginInterposer, setDefaultNodeType),
                       SLOT(CFiPluginInterposer, importNode)},
                      84);
}

TEST(InterposerLayout, OverridesKeepTheirSlots) {
    EXPECT_EQ(slotOf(&CFiPluginInterposer::claim), slotOf(&CFiPluginBase::claim));
    EXPECT_EQ(slotOf(&CFiPluginInterposer::supportsFiType), slotOf(&CFiPluginBase::supportsFiType));
    EXPECT_EQ(slotOf(&CFiPluginInterposer::importTreeNode), slotOf(&CFiPluginBase::importTreeNode));
    EXPECT_EQ(slotOf(&CFiPluginInterposer::initNode), slotOf(&CFiPluginBase::initNode));
    EXPECT_EQ(slotOf(&CFiPluginInterposer::initAltNode), slotOf(&CFiPluginBase::initAltNode));
    EXPECT_EQ(slotOf(&CFiPluginInterposer::deInitNode), slotOf(&CFiPluginBase::deInitNode));
    EXPECT_EQ(slotOf(&CFiPluginInterposer::isReady), slotOf(&CFiPluginBase::isReady));
    EXPECT_EQ(slotOf(&CFiPluginInterposer::interpose), slotOf(&CFiPluginBase::interpose));
    EXPECT_EQ(slotOf(&CFiPluginInterposer::checkNodeExistence),
              slotOf(&CFiPluginBase::checkNodeExistence));
    EXPECT_EQ(slotOf(&CFiPluginInterposer::importResource), slotOf(&CFiPluginBase::importResource));
    EXPECT_EQ(slotOf(&CFiPluginInterposer::deportResource), slotOf(&CFiPluginBase::deportResource));
}

} // namespace
} // namespace kzfi_pdk_4_4
