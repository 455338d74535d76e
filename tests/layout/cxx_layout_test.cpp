// Field order and virtual slots of the exported classes, measured from what the compiler made.
#include <gtest/gtest.h>

#include <vector>

#include "cfierrormgr.h"
#include "cfiicucatalog.h"
#include "cfipluginbase.h"
#include "cfiprivatedata.h"
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

TEST(MessageLayout, SlotsFollowThoseOfTheCount) {
    expectConsecutive({SLOT(CFiMessage, increment), SLOT(CFiMessage, decrement),
                       SLOT(CFiMessage, getCount), SLOT(CFiMessage, serialize),
                       SLOT(CFiMessage, deserialize), SLOT(CFiMessage, getSeverity),
                       SLOT(CFiMessage, getLineNumber), SLOT(CFiMessage, getFileName),
                       SLOT(CFiMessage, getMessageId), SLOT(CFiMessage, formatMessage)},
                      2);
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

const std::vector<Slot>& pluginSlots() {
    static const std::vector<Slot> slots = {
        SLOT(CFiPluginBase, delayedInit),
        SLOT(CFiPluginBase, globalConfigInfoList),
        SLOT(CFiPluginBase, init),
        SLOT(CFiPluginBase, fini),
        SLOT(CFiPluginBase, claim),
        SLOT(CFiPluginBase, supportsFiType),
        SLOT(CFiPluginBase, deportTree),
        SLOT(CFiPluginBase, importTreeNode),
        SLOT(CFiPluginBase, initNode),
        SLOT(CFiPluginBase, config),
        SLOT(CFiPluginBase, initAltNode),
        SLOT(CFiPluginBase, reAccessTmpObj),
        SLOT(CFiPluginBase, reAccessAltNode),
        SLOT(CFiPluginBase, deInitNode),
        SLOT(CFiPluginBase, dispose),
        SLOT(CFiPluginBase, online),
        SLOT(CFiPluginBase, subobjList),
        SLOT(CFiPluginBase, errMsg),
        SLOT(CFiPluginBase, buildAltTree),
        SLOT(CFiPluginBase, quiesce),
        SLOT(CFiPluginBase, unquiesce),
        SLOT(CFiPluginBase, make),
        SLOT(CFiPluginBase, makeSnapshots),
        SLOT(CFiPluginBase, prepare),
        SLOT(CFiPluginBase, prepareSnapshots),
        SLOT(CFiPluginBase, select),
        SLOT(CFiPluginBase, selectSnapshots),
        SLOT(CFiPluginBase, isReady),
        SLOT(CFiPluginBase, cacheDisable),
        SLOT(CFiPluginBase, cacheEnable),
        SLOT(CFiPluginBase, cacheFlush),
        SLOT(CFiPluginBase, interpose),
        SLOT(CFiPluginBase, getAttr),
        SLOT(CFiPluginBase, getProviderInfo),
        SLOT(CFiPluginBase, enumerateNodes),
        SLOT(CFiPluginBase, enumerateAssociations),
        SLOT(CFiPluginBase, enumerateGroupNodes),
        SLOT(CFiPluginBase, enumerateFims),
        SLOT(CFiPluginBase, isValidNodeAssociation),
        SLOT(CFiPluginBase, getAssociatedNodes),
        SLOT(CFiPluginBase, checkNodeExistence),
        SLOT(CFiPluginBase, objctl),
        SLOT(CFiPluginBase, processProviderState),
        SLOT(CFiPluginBase, getLastError),
        SLOT(CFiPluginBase, delLastError),
        SLOT(CFiPluginBase, getLocaleMessage),
        SLOT(CFiPluginBase, delLocaleMessage),
        SLOT(CFiPluginBase, enableAccess),
        SLOT(CFiPluginBase, disableAccess),
        SLOT(CFiPluginBase, restore),
        SLOT(CFiPluginBase, resync),
        SLOT(CFiPluginBase, getStatus),
        SLOT(CFiPluginBase, prePrepare),
        SLOT(CFiPluginBase, queryValidSecondaries),
        SLOT(CFiPluginBase, resourceStatus),
        SLOT(CFiPluginBase, revisitPluginNodes),
        SLOT(CFiPluginBase, verifyQSCombos),
        SLOT(CFiPluginBase, setImportOptions),
        SLOT(CFiPluginBase, startBuildAltTree),
        SLOT(CFiPluginBase, translateResourceNames),
        SLOT(CFiPluginBase, enumerateEnclosures),
        SLOT(CFiPluginBase, importResource),
        SLOT(CFiPluginBase, format),
        SLOT(CFiPluginBase, enumerateHostNodes),
        SLOT(CFiPluginBase, onlineResource),
        SLOT(CFiPluginBase, deportResource),
        SLOT(CFiPluginBase, isParentPgn),
        SLOT(CFiPluginBase, unformat),
        SLOT(CFiPluginBase, preDeportResource),
        SLOT(CFiPluginBase, refreshTree),
        SLOT(CFiPluginBase, getBackupset),
        SLOT(CFiPluginBase, getAppStatus),
        SLOT(CFiPluginBase, setOpStatus),
        SLOT(CFiPluginBase, setCompStatus),
        SLOT(CFiPluginBase, setRestorepaths),
        SLOT(CFiPluginBase, createSnapReplicaNode),
        SLOT(CFiPluginBase, updateSnapshotId),
        SLOT(CFiPluginBase, getSnapshotSetId),
        SLOT(CFiPluginBase, preselect),
        SLOT(CFiPluginBase, updateSnapshotHandle),
        SLOT(CFiPluginBase, getSnapdiff),
        SLOT(CFiPluginBase, postDeport),
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

} // namespace
} // namespace kzfi_pdk_4_4
