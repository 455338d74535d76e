// What a provider keeps for every node, and who makes and keeps these records.
#ifndef CFIPRIVATEDATA_H
#define CFIPRIVATEDATA_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "cficonfigparam.h"
#include "cfitraceable.h"
#include "cfiudid.h"
#include "kzfi_framework.h"

namespace kzfi_pdk_4_4 {

/// State of one node: identity, session, split type and intent, hosts, sub-objects, candidate and
/// chosen snapshot targets, and the node's configuration parameters.
///
/// A provider's CFiPrivateDataFactory makes one for every node that the framework hands over, as
/// this class or as one derived from it; the base operations of the plug-in fill and read it.
/// Configuration lists exist twice, for list index 0 and 1; an index is not checked.
///
/// Threads: none of its operations locks; a record is used by the thread that works on its node.
/// Ownership: the object id and the sub-objects stay the framework's; the lists are the record's.
/// Errors: only getNodeState and the target selection can fail, as told there.
class KZFI_PDK_API CFiPrivateData : public virtual CFiRefCount, public virtual CFiTraceable {
  public:
    /// A record of the node that objectId names; it is not copied and must outlive the record.
    explicit CFiPrivateData(kzfi_objid* objectId)
        : object(objectId),
          isAltNode(false),
          transportable(false),
          intent(0) {}
    CFiPrivateData(const CFiPrivateData&) = delete;
    CFiPrivateData& operator=(const CFiPrivateData&) = delete;
    virtual ~CFiPrivateData();

    /// Whether the list of this index exists; neither call creates it.
    virtual bool hasConfigInfoList(int mode);
    virtual bool hasConfigDataList(int mode);

    /// Completes the values of index mode with the defaults of infoList or, when that is null, of
    /// the node's own descriptions of that index (which are thereby created). Without values all
    /// defaults are taken over. A default is skipped when its name is part of the name of a value
    /// that was there before: "snapshot_mode" hides "mode", kept so on purpose.
    virtual void addDefaultConfigParamsToDataList(int mode, CFiConfigParamInfoList* infoList);

    /// The list of this index, created empty on the first call; never null, owned by the record.
    virtual CFiConfigParamInfoList* configInfoList(int mode);
    virtual CFiConfigParamDataList* configDataList(int mode);

    /// Why the framework works on the node.
    virtual void setIntent(kfi_intent newIntent);
    virtual kfi_intent getIntent();

    /// type must not be null.
    virtual void setSplitType(const char* type);
    virtual std::string getSplitType();

    /// A null id leaves the old one.
    virtual void setSessionId(const char* id);
    virtual std::string getSessionId();

    /// The hosts that snapshots of the node will be imported on.
    virtual std::vector<tstring> getHostList();
    /// Appends the names of list in order; a null name or a null list adds nothing. What is there
    /// stays.
    virtual void setHostList(kfi_host_infn* list);

    /// Whether the snapshots can be taken to another host.
    virtual bool getTransportable();
    virtual void setTransportable(bool isTransportable);

    /// Does nothing and returns 0: state is written for the framework and never read back, on
    /// purpose.
    virtual int setNodeState(kfi_blob* blob);

    /// Puts the node's state as a tagged text into a new buffer of kzfi_alloc_buf: blob->data, its
    /// size with the NUL, and flag 1. The buffer belongs to the framework; what blob held before
    /// is not freed. Returns 0.
    ///
    ///     <NODE_NAME>/dev/sdb</NODE_NAME>
    ///     <IS_ALT_NODE>false</IS_ALT_NODE>
    ///     <SESSION_ID>S1</SESSION_ID>
    ///
    /// Throws std::bad_alloc when there is no buffer; blob is then unchanged. The object id's name
    /// must not be null.
    virtual int getNodeState(kfi_blob* blob);

    /// The node's name: the object id's own text.
    virtual char* getObjName();

    /// Appends an id, which stays the framework's.
    virtual void addSubObject(kzfi_objid* subObject);
    /// The first of the sub-objects, valid until the next addSubObject; null when there are none.
    virtual kzfi_objid** getSubObjectList();
    virtual std::size_t getSubObjectListLength();

    /// Whether this is the record of an alternate node.
    virtual void setIsAltNode(bool isAlternate);
    virtual bool getIsAltNode();

    /// The target that the selection chose, as a device identifier in upper case; empty without.
    virtual std::string getConfiguredTarget();
    /// The candidates, in the order of the configuration.
    virtual std::vector<std::string> getTargets();
    virtual void addTarget(std::string target);
    virtual void setConfiguredTarget(std::string& target);

    /// Chooses the node's snapshot target from the value "snapshot_resource_spec" of index 1: the
    /// first group whose source is the node's own device gives the candidates, and its first target
    /// becomes the configured one.
    ///
    /// Returns KZFI_OK when a target was configured, else KZFI_ERR_FAILED with the reason traced at
    /// level 1; the configured target is then unchanged, and the candidates are those found so far
    /// once the groups were reached. Throws CFiUdidException when the node's name is no device
    /// identifier.
    virtual int selectTargetFromConfigData();

  protected:
    /// What the operations above read and write; a derived class may use it.
    kzfi_objid* object;
    std::vector<kzfi_objid*> subObjects;
    bool isAltNode;
    std::string sessionId;
    std::string splitType;
    std::string configuredTarget;
    std::vector<std::string> targets;
    bool transportable;
    std::vector<tstring> hostList;
    kfi_intent intent;
    std::unique_ptr<CFiConfigParamInfoList> configInfoLists[2];
    std::unique_ptr<CFiConfigParamDataList> configDataLists[2];
};

using CFiPrivateDataPtr = CFiSmartPtr<CFiPrivateData, CFiNullAllocator<CFiPrivateData>>;

/// Makes, finds and discards a provider's node records; the provider implements it and registers it
/// with the CFiPrivateDataManager in its init().
///
/// Threads: called from every thread that the framework calls the provider from.
/// Errors: an empty pointer says that there is no record; an exception passes to the framework.
class KZFI_PDK_API CFiPrivateDataFactory : public virtual CFiRefCount {
  public:
    virtual ~CFiPrivateDataFactory();

    /// The node's record, or an empty pointer.
    virtual CFiPrivateDataPtr findPrivateData(kfi_domain* node) = 0;
    /// The node's record, made if need be; altNode is 1 for an alternate node, else 0.
    virtual CFiPrivateDataPtr createPrivateData(kfi_domain* node, int altNode) = 0;
    /// Forgets the node's record; the framework is done with the node.
    virtual void deletePrivateData(kfi_domain* node) = 0;
};

using CFiPrivateDataFactoryPtr =
    CFiSmartPtr<CFiPrivateDataFactory, CFiNullAllocator<CFiPrivateDataFactory>>;

/// Holds the provider's factory for everything in the plug-in context.
///
/// Threads: the factory is registered before the framework works on nodes.
class KZFI_PDK_API CFiPrivateDataManager : public virtual CFiRefCount {
  public:
    /// With a factory, or without one until it is registered.
    CFiPrivateDataManager() {}
    explicit CFiPrivateDataManager(const CFiPrivateDataFactoryPtr& newFactory)
        : factory(newFactory) {}
    virtual ~CFiPrivateDataManager();

    /// The factory that getFactory hands out from now on.
    void registerFactory(const CFiPrivateDataFactoryPtr& newFactory) { factory = newFactory; }
    /// A counted copy; empty when none is registered.
    CFiPrivateDataFactoryPtr getFactory() const { return factory; }

  private:
    CFiPrivateDataFactoryPtr factory;
};

using CFiPrivateDataManagerPtr =
    CFiSmartPtr<CFiPrivateDataManager, CFiContextSingletonAllocator<CFiPrivateDataManager>>;

} // namespace kzfi_pdk_4_4

#endif
