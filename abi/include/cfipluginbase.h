// The class that every snapshot provider plug-in derives from.
#ifndef CFIPLUGINBASE_H
#define CFIPLUGINBASE_H

#include <ace/Recursive_Thread_Mutex.h>

#include <cstdint>
#include <string>

#include "cficonfigparam.h"
#include "cfierrormgr.h"
#include "cfiicucatalog.h"
#include "cfiprivatedata.h"
#include "cfitraceable.h"
#include "cfitracelog.h"
#include "kzfi_framework.h"

namespace kzfi_pdk_4_4 {

/// One request of the session-style operations; providers derive their own from it.
class KZFI_PDK_API CFiSession : public virtual CFiRefCount {
  public:
    virtual ~CFiSession();
};

using CFiSessionPtr = CFiSmartPtr<CFiSession, CFiNullAllocator<CFiSession>>;

/// Keeps the sessions of a plug-in context; the kit only holds it.
class KZFI_PDK_API CFiSessionManager : public virtual CFiRefCount {
  public:
    virtual ~CFiSessionManager();
};

using CFiSessionManagerPtr =
    CFiSmartPtr<CFiSessionManager, CFiContextSingletonAllocator<CFiSessionManager>>;

/// Arguments of objctl; providers and the framework agree on what derives from it.
class KZFI_PDK_API CFiObjctlArgs {};

/// A snapshot provider as the framework sees it: 82 operations, each with a default, so that a
/// provider overrides only what it supports.
///
/// The order of a provider's life:
///     1. the provider's entry makes the object with new; the host holds it by smart pointer;
///     2. the host calls registerTraceLog and the four register...Manager operations, and sets the
///        provider name, the FIM name and the message index offset;
///     3. init: the provider registers its factories with the registered managers; delayedInit
///        later, for what takes long;
///     4. operations on nodes, in any number and order;
///     5. fini; the last smart pointer destroys the object.
///
/// Results are statuses: KZFI_OK, KZFI_ERR_INVALID where a required pointer is null (config
/// also: where the node has no private data), KZFI_ERR_NOT_IMPLEMENTED from the defaults of what a
/// provider must bring itself. Which default answers what looks uneven between neighbours and is
/// kept so on purpose. Where a default is said to do nothing, it answers KZFI_OK and leaves every
/// argument alone.
///
/// Every operation but the destructor, delayedInit and globalConfigInfoList traces its entry and
/// its exit at level 6.
///
/// Threads: the framework may call from several threads. The defaults keep no state of their own
/// and take no lock; the managers are registered before the first call.
/// Ownership: records and texts that come in stay the framework's. Texts that go out come from
/// kzfi_alloc_buf and become the framework's.
/// Errors: no default pushes to the error manager. An exception of a manager, a factory or the XML
/// reader passes through the operation; its exit is traced all the same.
class KZFI_PDK_API CFiPluginBase : public virtual CFiRefCount, public virtual CFiTraceable {
  public:
    /// No names, no managers, empty lists, offset 0.
    CFiPluginBase() : messageIndexOffset(0) {}
    CFiPluginBase(const CFiPluginBase&) = delete;
    CFiPluginBase& operator=(const CFiPluginBase&) = delete;

    /// Name of the frozen-image method; null sets "KzFI".
    void setFimName(const char* name);
    /// What errMsg takes off error codes. Only the low 32 bits are kept, on purpose.
    void setMessageIndexOffset(long offset);

    /// From now on the plug-in uses manager; what it used before is let go of. An empty pointer is
    /// allowed and leaves the plug-in without that manager.
    void registerErrorManager(CFiErrorManagerPtr& manager);
    void registerCatalogManager(CFiMessageCatalogManagerPtr& manager);
    void registerPrivateDataManager(CFiPrivateDataManagerPtr& manager);
    void registerSessionManager(CFiSessionManagerPtr& manager);

    /// Whether the process shuts down: true for good, in all plug-ins, once called with true.
    static bool isShuttingDown(bool set);

    tstring getProviderName();
    void setProviderName(const tstring& name);

    // ---- The framework's operations. Their order is the interface: never insert, only append. --

    virtual ~CFiPluginBase();

    /// Work put off until after loading. Default: does nothing.
    virtual int delayedInit();

    /// The plug-in's own parameter descriptions of list index 0 or 1 (not checked); second selects
    /// those that are asked for a node that leads its owner. Owned by the plug-in, never null.
    virtual CFiConfigParamInfoList* globalConfigInfoList(int index, bool second);

    /// First call after names and managers are set. Default: does nothing.
    virtual int init();

    /// Last call before unloading. Default: does nothing.
    virtual void fini();

    /// Asks whether the provider takes the object on: KZFI_CLAIM_NONE, or KZFI_CLAIM_SECONDARY with
    /// count objects in *secondaries. Default: KZFI_CLAIM_NONE, arguments untouched.
    virtual int claim(kzfi_objid* primary, kzfi_objid*** secondaries, int* count);

    /// Asks whether the provider can take a frozen image of type fiType of the node: 1 for yes, 0
    /// for no, and how far in *domain->support_level. Default: 0, and 0 written there.
    virtual int supportsFiType(kfi_domain* domain, char* fiType);

    /// Takes an imported tree away again. Default: does nothing.
    virtual int deportTree(kfi_domain* primary, kfi_domain* alternate, kfi_accessnode* access);

    /// Makes a snapshot's node accessible on this host; what came of it goes to *out.
    /// Default: does nothing.
    virtual int importTreeNode(kfi_domain* node, kzfi_objid** primaries, kzfi_objid** secondaries,
                               int count, kzfi_objid** out);

    /// The framework begins to use a node. Default: does nothing.
    virtual int initNode(kfi_domain* domain, kfi_domain** parents, int parentCount,
                         kzfi_objid* obj);

    /// Reads and writes a node's configuration parameters as XML in spec->text. The list index is 1
    /// when spec's first selector is non-zero, else 0; with both selectors zero the text becomes
    /// null and the result is 0. The session id is kept in the node's record unless it is null.
    ///
    ///   KZFI_CONFIG_GET       text = the node's values. Without values: the defaults of its own
    ///                         descriptions (kept as its values), else of the plug-in's. Null when
    ///                         the node's own list that decides is empty.
    ///   KZFI_CONFIG_SET(_AGAIN)  takes the values in text over, completes them with defaults;
    ///                         text = the result. A null text is traced and answered with 0; one
    ///                         that is not accepted gives KZFI_ERR_INVALID and a null text; the
    ///                         values stay, but the next GET hands the rejected text out.
    ///   KZFI_CONFIG_CLEAR     forgets the values; text stays.
    ///   KZFI_CONFIG_GETPARAM  text = the descriptions: the node's own, else those of
    ///                         globalConfigInfoList; null when empty.
    ///   other modes           nothing.
    ///
    /// KZFI_ERR_INVALID and nothing else when the node has no private data; a null spec gives 0.
    /// The text that comes in is never written to or freed; the one that comes out is a new buffer
    /// for the framework, or null when memory is short. Exceptions of the reader pass.
    virtual int config(kfi_domain* node, int mode, char* sessionId, kfi_confspec* spec);

    /// The framework begins to use the alternate of a node. Default: does nothing.
    virtual int initAltNode(kfi_domain* node, kfi_domain* parent, kfi_domain* target,
                            bool skipImport);

    /// The framework comes back to a temporary object. Default: keeps intent, session and split
    /// type in the node's record, which is made if need be; a null text keeps the old one. Always
    /// 0.
    virtual int reAccessTmpObj(kfi_domain* node, kzfi_objid* obj, char* splitType,
                               kfi_domain* parent, char* sessionId, kfi_intent intent);

    /// The framework comes back to an alternate node. Default: keeps intent and session in the
    /// node's record, which is made if need be; a null text keeps the old one. Always 0.
    virtual int reAccessAltNode(kfi_domain* node, kzfi_objid* primary, kzfi_objid* alternate,
                                char* sessionId, kzfi_objid** primaries, kzfi_objid** secondaries,
                                int count, kfi_intent intent);

    /// The framework is done with a node. Default: frees the node's association list (the copied
    /// names in it stay, on purpose) and has the node's record discarded.
    virtual void deInitNode(kfi_domain* node);

    /// Gives a snapshot up. Default: does nothing.
    virtual int dispose(kfi_domain* primary, kfi_domain* alternate, kfi_splitnode* split,
                        kfi_disposition disposition);

    /// Brings a snapshot online. Default: does nothing.
    virtual int online(kfi_domain* primary, kfi_domain* alternate, int options,
                       kfi_disposition disposition);

    /// The node's sub-objects. Default: those of the node's record, which keeps the list until the
    /// next addSubObject; without a record both arguments stay.
    virtual int subobjList(kfi_domain* node, kzfi_objid*** list, int* count);

    /// Turns a provider's error code into localised text of the message
    /// "MSG_ERROR_" + provider name in upper case + "_" + number ("%04d"), where the number is code
    /// less the message index offset when code is greater, else code. *text belongs to the
    /// catalogue manager, which must be registered, and is valid until it is given back through
    /// delLocaleMessage or the same key is localised again; an unknown key gives a placeholder. A
    /// null text is allowed. Always 0.
    virtual int errMsg(int code, const char** text);

    /// Builds the tree of an alternate node. Default: does nothing.
    virtual int buildAltTree(kfi_domain* node, char* sessionId, kzfi_objid** primaries,
                             kzfi_objid** secondaries, int count, kzfi_objid** out);

    /// Quiets what writes to the nodes before a snapshot. Default: does nothing.
    virtual int quiesce(kfi_quiescenode** nodes, int count, char* sessionId);
    /// Lets them write again. Default: does nothing.
    virtual void unquiesce(kfi_quiescenode** nodes, int count);

    /// Takes the snapshots. Default: KZFI_ERR_NOT_IMPLEMENTED.
    virtual int make(char* sessionId, kfi_splitnode** nodes, int count, kzfi_objid*** made,
                     int* madeCount);
    virtual int makeSnapshots(CFiSessionPtr& session);

    /// Gets ready to take the snapshots. Default: KZFI_ERR_NOT_IMPLEMENTED; of the session form 0.
    virtual int prepare(char* sessionId, kfi_splitnode** nodes, int count, int options);
    virtual int prepareSnapshots(CFiSessionPtr& session);

    /// Chooses where the snapshots go. Default: KZFI_ERR_NOT_IMPLEMENTED; of the session form 0.
    virtual int select(char* sessionId, kfi_splitnode** nodes, int count);
    virtual int selectSnapshots(CFiSessionPtr& session);

    /// Whether the snapshots are ready. Default: does nothing.
    virtual int isReady(char* sessionId, kfi_splitnode** nodes, int count);

    /// Switch a node's cache off and on, and write it back. Default: do nothing. That only the
    /// first answers a status is kept so on purpose.
    virtual int cacheDisable(kfi_domain* node, int options);
    virtual void cacheEnable(kfi_domain* node, int options);
    virtual void cacheFlush(kfi_domain* node, int options);

    /// Asks whether the provider puts a node of its own above this one: KZFI_INTERPOSE_DONE with
    /// that node in *interposer and lowerCount objects below it in *lower. Default:
    /// KZFI_INTERPOSE_NONE, arguments untouched.
    virtual int interpose(kfi_domain* domain, kzfi_objid** interposer, kzfi_objid*** lower,
                          int* lowerCount);

    /// Attributes of a snapshot. Default: does nothing.
    virtual int getAttr(kfi_domain* primary, kfi_domain* alternate, kfi_splitnode* split,
                        kfi_attributes* attributes);

    /// The providers behind this one. Default: does nothing.
    virtual int getProviderInfo(kfi_provider_list** list);

    /// What the provider knows of. Default: *list = null; a null list gives KZFI_ERR_INVALID,
    /// except that enumerateFims always answers 0.
    virtual int enumerateNodes(kfi_node_list** list, int* count, int options, char* filter);
    virtual int enumerateAssociations(kfi_assoc_list** list);
    virtual int enumerateGroupNodes(kfi_group_node_list** list);
    virtual int enumerateFims(kfi_fim_list** list);

    /// Whether an association is possible. Default: KZFI_ERR_NOT_IMPLEMENTED, *valid untouched.
    virtual int isValidNodeAssociation(kfi_assoc* association, int* valid);

    /// What is associated with a node. Default: *list = null; a null list gives KZFI_ERR_INVALID.
    virtual int getAssociatedNodes(kfi_node* node, kfi_node_list** list);

    /// Whether the node still exists. Default: KZFI_ERR_NOT_IMPLEMENTED, *exists untouched.
    virtual int checkNodeExistence(kfi_domain* node, int* exists);

    /// A command that framework and provider agree on. Default: does nothing.
    virtual int objctl(tstring command, CFiObjctlArgs& args);

    /// Hands the provider's state of a node out (KZFI_PROVIDERSTATE_PRODUCE) or back in. Default:
    /// when asked to produce, data pointer and size become null; nothing is freed.
    virtual int processProviderState(kfi_domain* node, kfi_blob* state, kfi_op_providerstate op);

    /// getLastError hands out the calling thread's last error, or null; delLastError drops it. The
    /// record stays the message's and is valid until this thread's next error or delLastError. An
    /// error manager must be registered. Always 0.
    virtual int getLastError(kfi_msg_info** info);
    virtual int delLastError(kfi_msg_info** info);

    /// getLocaleMessage hands out the localised text of a message record; delLocaleMessage gives it
    /// back. The text stays the catalogue manager's meanwhile. status is not written. A catalogue
    /// manager must be registered. Always 0.
    virtual int getLocaleMessage(int* status, kfi_msg_info* info, const char* locale, char** text);
    virtual int delLocaleMessage(char** text);

    /// Allow and forbid access to the listed sub-objects: clear and set KZFI_NODE_ACCESS_DISABLED
    /// in each; an element without a sub-object is skipped. A null list gives KZFI_ERR_INVALID.
    virtual int enableAccess(kfi_node_subobj_list* list, long options, int first, int second);
    virtual int disableAccess(kfi_node_subobj_list* list, long options);

    /// Copies snapshots back. Default: KZFI_ERR_NOT_IMPLEMENTED.
    virtual int restore(kzfi_objid** primaries, kzfi_objid** snapshots, long count, char* sessionId,
                        char* options, char*** results, long* resultCount, long flags,
                        long* status);

    /// Brings snapshots up to date again. Default: does nothing.
    virtual int resync(kzfi_objid** primaries, kzfi_objid** snapshots, long count, char* sessionId,
                       char* options, long flags, long* status);

    /// State of each snapshot. Default: KZFI_SNAPSHOT_STATUS_DEFAULT in each of the count entries
    /// of statuses, nothing when that is null.
    virtual int getStatus(kzfi_objid** primaries, kzfi_objid** snapshots, long count,
                          char* sessionId, long flags, long* statuses);

    /// Before any prepare. Default: does nothing.
    virtual int prePrepare(kfi_domain* node);

    /// Devices that could be snapshots of the named one. Default: *count = 0 unless count is null;
    /// *list stays.
    virtual int queryValidSecondaries(char* primary, kzfi_objid*** list, long* count);

    /// State of a resource. Default: does nothing.
    virtual int resourceStatus(kzfi_objid* resource, long options, long* status,
                               kfi_msg_info** info);

    /// The framework has nodes for the provider to look at again. Default: does nothing.
    virtual int revisitPluginNodes(kfi_pgn_node_list* nodes);

    /// Checks combinations of nodes. Default: does nothing.
    virtual int verifyQSCombos(kfi_splitnode** nodes, int count);

    /// Where snapshots will be imported. Default: for each node that has a record, appends hosts to
    /// its host list and keeps whether it is transportable (any non-zero number).
    virtual int setImportOptions(kfi_splitnode** nodes, int count, kfi_host_infn* hosts,
                                 int transportable, void* options);

    /// Before an alternate tree is built. Default: does nothing.
    virtual int startBuildAltTree(kfi_domain* node, kzfi_objid** objects, void* options);

    /// Names of resources as another host knows them. Default: does nothing.
    virtual int translateResourceNames(char** names, int count, char** translated);

    /// The enclosures that the provider knows. Default: does nothing.
    virtual int enumerateEnclosures(kfi_enclosure_node_list** list, int* count, char* filter);

    /// Makes the device of a resource accessible. Default: does nothing.
    virtual int importResource(char** resources, char* udid, char* hostname, char* sessionId,
                               int request, char** results, char* options);

    /// Puts a file system on resources. Default: does nothing.
    virtual int format(char** resources, int count, char* fileSystem, char* label, char* parameters,
                       int options, char*** results, int* resultCount);

    /// The hosts that the provider knows. Default: does nothing.
    virtual int enumerateHostNodes(kfi_host_node_list** list, int* count, char* filter);

    /// Brings resources online. Default: does nothing.
    virtual int onlineResource(char** resources, int count, char* hostname, char* mountPoint,
                               char* fileSystem, char* parameters, int options, char*** results,
                               int* resultCount);

    /// Takes the device of a resource away again. Default: does nothing.
    virtual int deportResource(char* udid, char* hostname, char* sessionId, char* options,
                               int request);

    /// Whether the node's parent is a plug-in node. Default: does nothing.
    virtual int isParentPgn(char* name, int* answer, int options);

    /// Takes what format made off the resources. Default: does nothing.
    virtual int unformat(char** resources, int count, int options);

    /// Before deportResource. Default: does nothing.
    virtual int preDeportResource(char* resource, int options, char* hostname);

    /// The tree below a node has changed. Default: does nothing.
    virtual int refreshTree(kfi_domain* node, int options, int kind, kfi_resource* resources,
                            int count, int* changed, void* context, int flags);

    /// What belongs into a backup set. Default: does nothing.
    virtual int getBackupset(kfi_domain* node, int options, char** files, int count,
                             kfi_bkupset* backupSet);

    /// State of the application behind a node. Default: does nothing.
    virtual int getAppStatus(kfi_domain* node, int options, void* status);

    /// How the request, and one component of it, went. Default: do nothing.
    virtual int setOpStatus(kfi_domain* node, int status);
    virtual int setCompStatus(kfi_domain* node, int component, char* name, int status);

    /// Where a restore puts things. Default: does nothing.
    virtual int setRestorepaths(kfi_domain* node, char* paths, int count);

    /// Replicas of snapshots and their identifiers. Default: do nothing.
    virtual int createSnapReplicaNode(kfi_domain* node, kfi_snapreplica_ele* replica);
    virtual int updateSnapshotId(kfi_domain* primary, kfi_domain* alternate,
                                 kfi_snapreplica_ele* replica, int options);
    virtual int getSnapshotSetId(kfi_domain* node, char** id);

    /// Before select. Default: does nothing.
    virtual int preselect(kfi_splitnode* node, char* sessionId, kfi_splitnode** nodes, int count);

    /// The session form of updateSnapshotId. Default: does nothing.
    virtual int updateSnapshotHandle(CFiSessionPtr& session, kfi_snapreplica_ele* replica);

    /// What differs between two snapshots. Default: does nothing.
    virtual int getSnapdiff(kfi_domain* node, kfi_snapreplica_ele* older,
                            kfi_snapreplica_ele* newer, TrieNode_* differences);

    /// After a tree was deported. Default: does nothing.
    virtual int postDeport(kfi_domain* primary, kfi_domain* alternate);

    // ---- Not an operation of the framework ----

    /// Hands path over to another user and group and waits until the file system shows it: up to
    /// ten times it hands the path over once more, looks, and sleeps 30 seconds, so that it may
    /// block the calling thread for 300. -1 leaves an id as it is and is never seen as reached.
    ///
    /// Returns KZFI_OK, also when the ids never showed up, on purpose; KZFI_ERR_INVALID for an
    /// empty path, KZFI_ERR_NO_FILE when the path cannot be looked at, KZFI_ERR_OWNER when it
    /// cannot be handed over, each traced at level 1.
    int setOwnerIds(std::string path, long owner, long group);

  protected:
    tstring providerName;
    /// For the provider's own use; the kit never takes it.
    ACE_Recursive_Thread_Mutex objectLock;
    CFiErrorManagerPtr errorManager;
    CFiMessageCatalogManagerPtr catalogManager;
    CFiPrivateDataManagerPtr privateDataManager;
    CFiSessionManagerPtr sessionManager;
    /// What globalConfigInfoList hands out: [second][index].
    CFiConfigParamInfoList globalConfigInfo[2][2];
    std::string fimName;
    std::int32_t messageIndexOffset;
};

} // namespace kzfi_pdk_4_4

#endif
