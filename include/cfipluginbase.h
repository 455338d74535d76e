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
/// Results are statuses: KZFI_OK when done, KZFI_ERR_INVALID where a required pointer is null,
/// KZFI_ERR_NOT_IMPLEMENTED where the provider does not bring the operation, or one of the
/// provider's own. Which default answers what looks uneven between neighbours and is kept so on
/// purpose. Where a default is said to do nothing, it answers KZFI_OK and leaves every argument
/// alone.
///
/// An operation's comment says when it is called or what it asks; arguments of its own ("name:",
/// with a star when it is written to); what it answers ("Answers", beside the above); its default.
/// Arguments that mean the same everywhere:
///
///     node, domain          the node that is worked on
///     obj                   its object id
///     parent                the node above it
///     primary               the original
///     primaries             the originals, a list
///     alternate             what the original's snapshot is seen as
///     secondaries, snapshots  the snapshots of the primaries, entry by entry
///     split                 the node and its counterpart in the request
///     nodes                 the nodes of the request with their counterparts, a list
///     count                 number of entries of each list
///     parentCount           number of entries of parents
///     access                how the tree was made accessible
///     session               the request; its object carries what the provider keeps for it
///     sessionId             the request's session
///     intent                why the framework works on the node
///     disposition           what becomes of the snapshot
///     options, flags        bits, of the framework's own meaning
///     filter                which entries are asked for
///     resources             names of resources, a list
///     udid                  the device identifier of the resource
///     hostname              the host that is meant; null for none in particular
///     fileSystem            the kind of file system
///     parameters            further parameters of the file system
///     replica               the replica's record
///     *list                 what was asked for, a list
///     *count                number of entries of the list
///     *out                  the object id of what came of it
///     *status               the state, a number
///     *results              texts about what was done, a list; of importResource one text
///     *resultCount          number of entries of *results
///
/// Every operation but the destructor, delayedInit and globalConfigInfoList traces its entry and
/// its exit at level 6.
///
/// Threads: the framework may call from several threads. The defaults keep no state of their own
/// and take no lock; the managers are registered before the first call.
/// Ownership: records, lists and texts that come in stay the framework's, and so do object ids
/// everywhere. Lists and texts that go out come from kzfi_alloc_buf and become the framework's,
/// unless the operation says otherwise.
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

    /// The name goes into keys of messages, in upper case, and into names of a router's nodes.
    tstring getProviderName();
    void setProviderName(const tstring& name);

    // ---- The framework's operations. Their order is the interface: never insert, only append. --
    // Each has its own comment in the form that the class comment tells: its page is made from it.

    virtual ~CFiPluginBase();

    /// Work put off until after loading, when init is done. Default: does nothing.
    virtual int delayedInit();

    /// Asks for the plug-in's own parameter descriptions; config GETPARAM does so.
    ///   index: the list index, 0 or 1; not checked
    ///   second: selects those that are asked for a node that leads its owner
    /// Answers a list that the plug-in owns, never null. Default: globalConfigInfo[second][index].
    virtual CFiConfigParamInfoList* globalConfigInfoList(int index, bool second);

    /// First call after names and managers are set. Default: does nothing.
    virtual int init();

    /// Last call before unloading. Default: does nothing.
    virtual void fini();

    /// Asks whether the provider takes an object on that the framework has come upon.
    ///   primary: the object asked about
    ///   *secondaries: the objects claimed, a list; may be null with *count 0
    /// Answers KZFI_CLAIM_NONE, or KZFI_CLAIM_SECONDARY with the list written. Default:
    /// KZFI_CLAIM_NONE, arguments untouched.
    virtual int claim(kzfi_objid* primary, kzfi_objid*** secondaries, int* count);

    /// Asks whether the provider can take a frozen image of the node, and how far: that goes to
    /// *domain->support_level.
    ///   fiType: the type of frozen image; routers take "any" for any
    /// Answers 1 for yes, 0 for no. Default: 0, and 0 written there.
    virtual int supportsFiType(kfi_domain* domain, char* fiType);

    /// Takes an imported tree away again, after its use. Default: does nothing.
    virtual int deportTree(kfi_domain* primary, kfi_domain* alternate, kfi_accessnode* access);

    /// Makes a snapshot's node accessible on this host, for its use. Default: does nothing.
    virtual int importTreeNode(kfi_domain* node, kzfi_objid** primaries, kzfi_objid** secondaries,
                               int count, kzfi_objid** out);

    /// The framework begins to use a node, before any work on it.
    ///   parents: the nodes above it, a list of parentCount
    /// Default: does nothing.
    virtual int initNode(kfi_domain* domain, kfi_domain** parents, int parentCount,
                         kzfi_objid* obj);

    /// Reads and writes a node's configuration parameters as XML.
    ///   mode: a kzfi_config_mode; others do nothing
    ///   sessionId: kept in the node's record, unless it or spec is null
    ///   spec: the text, in and out, and which list is meant: 1 when the first selector is
    ///     non-zero, else 0; with both selectors zero the text becomes null. The text that comes in
    ///     is never written to or freed; the one that comes out is a new buffer for the framework,
    ///     or null when memory is short. A null spec gives 0.
    /// Answers KZFI_ERR_INVALID, and does nothing else, when the node has no private data.
    /// Exceptions of the reader pass. Default: all of this, with the modes
    ///
    ///     KZFI_CONFIG_GET       text = the node's values. Without values: the defaults of its own
    ///                           descriptions (kept as its values), else of the plug-in's. Null
    ///                           when the node's own list that decides is empty.
    ///     KZFI_CONFIG_SET(_AGAIN)  takes the values in text over, completes them with defaults;
    ///                           text = the result. A null text is traced and answered with 0; one
    ///                           that is not accepted gives KZFI_ERR_INVALID and a null text; the
    ///                           values stay, but the next GET hands the rejected text out.
    ///     KZFI_CONFIG_CLEAR     forgets the values; text stays.
    ///     KZFI_CONFIG_GETPARAM  text = the descriptions: the node's own, else those of
    ///                           globalConfigInfoList; null when empty.
    virtual int config(kfi_domain* node, int mode, char* sessionId, kfi_confspec* spec);

    /// The framework begins to use the alternate of a node, what its snapshot is seen as.
    ///   target: the alternate
    ///   skipImport: it is not to be made accessible
    /// Default: does nothing.
    virtual int initAltNode(kfi_domain* node, kfi_domain* parent, kfi_domain* target,
                            bool skipImport);

    /// The framework comes back to a temporary object.
    ///   splitType: the kind of split, as text
    /// Default: keeps intent, session and split type in the node's record, which is made if need
    /// be; a null text keeps the old one. Always 0.
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

    /// Gives a snapshot up that is no longer wanted. Default: does nothing.
    virtual int dispose(kfi_domain* primary, kfi_domain* alternate, kfi_splitnode* split,
                        kfi_disposition disposition);

    /// Brings a snapshot online, for its use. Default: does nothing.
    virtual int online(kfi_domain* primary, kfi_domain* alternate, int options,
                       kfi_disposition disposition);

    /// Asks for the node's sub-objects.
    ///   *list: the list, which stays the provider's
    /// Default: those of the node's record, which keeps the list until the next addSubObject;
    /// without a record both arguments stay.
    virtual int subobjList(kfi_domain* node, kzfi_objid*** list, int* count);

    /// Turns a provider's error code into localised text. The message's key is "MSG_ERROR_" +
    /// provider name in upper case + "_" + number ("%04d"), where the number is code less the
    /// message index offset when code is greater, else code.
    ///   code: the status that an operation answered
    ///   *text: belongs to the catalogue manager, which must be registered, and is valid until it
    ///     is given back through delLocaleMessage or the same key is localised again; an unknown
    ///     key gives a placeholder. A null text is allowed.
    /// Default: all of this. Always 0.
    virtual int errMsg(int code, const char** text);

    /// Builds the tree of an alternate node, after startBuildAltTree. Default: does nothing.
    virtual int buildAltTree(kfi_domain* node, char* sessionId, kzfi_objid** primaries,
                             kzfi_objid** secondaries, int count, kzfi_objid** out);

    /// Quiets what writes to the nodes, before a snapshot.
    ///   nodes: what is to be quiet, a list
    /// Default: does nothing.
    virtual int quiesce(kfi_quiescenode** nodes, int count, char* sessionId);

    /// Lets write again what quiesce stopped.
    ///   nodes: what quiesce was given, a list
    /// Default: does nothing.
    virtual void unquiesce(kfi_quiescenode** nodes, int count);

    /// Takes the snapshots that prepare got ready for.
    ///   *made: the snapshots, a list
    ///   *madeCount: number of entries of *made
    /// Default: KZFI_ERR_NOT_IMPLEMENTED.
    virtual int make(char* sessionId, kfi_splitnode** nodes, int count, kzfi_objid*** made,
                     int* madeCount);

    /// Takes a session's snapshots: the session form of make. Default: KZFI_ERR_NOT_IMPLEMENTED.
    virtual int makeSnapshots(CFiSessionPtr& session);

    /// Gets ready to take the snapshots, after select. Default: KZFI_ERR_NOT_IMPLEMENTED.
    virtual int prepare(char* sessionId, kfi_splitnode** nodes, int count, int options);

    /// Gets ready for a session's snapshots: the session form of prepare. Default: does nothing.
    virtual int prepareSnapshots(CFiSessionPtr& session);

    /// Chooses where the snapshots go, before prepare. Default: KZFI_ERR_NOT_IMPLEMENTED.
    virtual int select(char* sessionId, kfi_splitnode** nodes, int count);

    /// Chooses where a session's snapshots go: the session form of select. Default: does nothing.
    virtual int selectSnapshots(CFiSessionPtr& session);

    /// Asks, after make, whether the snapshots are ready; the nodes' flags tell (KZFI_NODE_READY).
    /// Default: does nothing.
    virtual int isReady(char* sessionId, kfi_splitnode** nodes, int count);

    /// Switches a node's cache off. Default: does nothing.
    virtual int cacheDisable(kfi_domain* node, int options);

    /// Switches a node's cache on again; answers no status, on purpose. Default: does nothing.
    virtual void cacheEnable(kfi_domain* node, int options);

    /// Has a node's cache written back; answers no status, on purpose. Default: does nothing.
    virtual void cacheFlush(kfi_domain* node, int options);

    /// Asks whether the provider puts a node of its own above this one.
    ///   *interposer: the object id of that node
    ///   *lower: the objects below it, a list
    ///   *lowerCount: number of entries of *lower
    /// Answers KZFI_INTERPOSE_DONE with all three written, else KZFI_INTERPOSE_NONE. Default:
    /// KZFI_INTERPOSE_NONE, arguments untouched.
    virtual int interpose(kfi_domain* domain, kzfi_objid** interposer, kzfi_objid*** lower,
                          int* lowerCount);

    /// Asks for attributes of a snapshot.
    ///   attributes: the record to fill
    /// Default: does nothing.
    virtual int getAttr(kfi_domain* primary, kfi_domain* alternate, kfi_splitnode* split,
                        kfi_attributes* attributes);

    /// Asks for the providers behind this one. Default: does nothing; *list stays.
    virtual int getProviderInfo(kfi_provider_list** list);

    /// Asks for the nodes that the provider knows of. Answers KZFI_ERR_INVALID for a null list.
    /// Default: *list = null; *count stays.
    virtual int enumerateNodes(kfi_node_list** list, int* count, int options, char* filter);

    /// Asks for all associations. Answers KZFI_ERR_INVALID for a null list. Default: *list = null.
    virtual int enumerateAssociations(kfi_assoc_list** list);

    /// Asks for all group nodes. Answers KZFI_ERR_INVALID for a null list. Default: *list = null.
    virtual int enumerateGroupNodes(kfi_group_node_list** list);

    /// Asks for all frozen-image methods. Default: *list = null; KZFI_OK even for a null list, on
    /// purpose.
    virtual int enumerateFims(kfi_fim_list** list);

    /// Asks whether an association is possible.
    ///   association: the one asked about
    ///   *valid: whether it is possible
    /// Default: KZFI_ERR_NOT_IMPLEMENTED, *valid untouched.
    virtual int isValidNodeAssociation(kfi_assoc* association, int* valid);

    /// Asks what is associated with a node. Answers KZFI_ERR_INVALID for a null list. Default:
    /// *list = null.
    virtual int getAssociatedNodes(kfi_node* node, kfi_node_list** list);

    /// Asks whether the node still exists, at any time.
    ///   *exists: 1 if it does, else 0
    /// Default: KZFI_ERR_NOT_IMPLEMENTED, *exists untouched.
    virtual int checkNodeExistence(kfi_domain* node, int* exists);

    /// Passes on a command that framework and provider agree on.
    ///   command: its name
    ///   args: what it works on, of a class derived from CFiObjctlArgs
    /// Default: does nothing.
    virtual int objctl(tstring command, CFiObjctlArgs& args);

    /// Hands the provider's state of a node out, or back in.
    ///   state: the buffer; what is put into it comes from kzfi_alloc_buf and becomes the
    ///     framework's
    ///   op: KZFI_PROVIDERSTATE_PRODUCE asks for the state
    /// Default: when asked to produce, data pointer and size become null; nothing is freed.
    virtual int processProviderState(kfi_domain* node, kfi_blob* state, kfi_op_providerstate op);

    /// Asks, after an operation that failed, for the calling thread's last error.
    ///   *info: its record, or null; it stays the message's and is valid until this thread's next
    ///     error or delLastError
    /// Default: asks the error manager, which must be registered. Always 0.
    virtual int getLastError(kfi_msg_info** info);

    /// Drops the calling thread's last error.
    ///   *info: what getLastError handed out; not used
    /// Default: asks the error manager, which must be registered. Always 0.
    virtual int delLastError(kfi_msg_info** info);

    /// Asks for the localised text of a message.
    ///   *status: not written
    ///   info: the message's record, from getLastError
    ///   locale: the language, "native" for the host's own, null for the provider's default
    ///   *text: stays the catalogue manager's until delLocaleMessage
    /// Default: asks the catalogue manager, which must be registered. Always 0.
    virtual int getLocaleMessage(int* status, kfi_msg_info* info, const char* locale, char** text);

    /// Gives a localised text back.
    ///   *text: what getLocaleMessage or errMsg handed out; left as it is
    /// Default: asks the catalogue manager, which must be registered. Always 0.
    virtual int delLocaleMessage(char** text);

    /// Allows access to sub-objects.
    ///   list: the sub-objects; an element without one is skipped
    ///   first, second: the framework's own
    /// Answers KZFI_ERR_INVALID for a null list. Default: clears KZFI_NODE_ACCESS_DISABLED in each.
    virtual int enableAccess(kfi_node_subobj_list* list, long options, int first, int second);

    /// Forbids access to sub-objects.
    ///   list: the sub-objects; an element without one is skipped
    /// Answers KZFI_ERR_INVALID for a null list. Default: sets KZFI_NODE_ACCESS_DISABLED in each.
    virtual int disableAccess(kfi_node_subobj_list* list, long options);

    /// Copies snapshots back over their originals, when these are wanted back.
    ///   options: a text of the framework's own
    ///   *status: how each restore went, an array of count
    /// Default: KZFI_ERR_NOT_IMPLEMENTED.
    virtual int restore(kzfi_objid** primaries, kzfi_objid** snapshots, long count, char* sessionId,
                        char* options, char*** results, long* resultCount, long flags,
                        long* status);

    /// Brings snapshots up to date again.
    ///   options: a text of the framework's own
    ///   *status: how each went, an array of count
    /// Default: does nothing.
    virtual int resync(kzfi_objid** primaries, kzfi_objid** snapshots, long count, char* sessionId,
                       char* options, long flags, long* status);

    /// Asks for the state of each snapshot, at any time after make.
    ///   *statuses: an array of count; may be null
    /// Default: KZFI_SNAPSHOT_STATUS_DEFAULT in each entry.
    virtual int getStatus(kzfi_objid** primaries, kzfi_objid** snapshots, long count,
                          char* sessionId, long flags, long* statuses);

    /// Before any prepare. Default: does nothing.
    virtual int prePrepare(kfi_domain* node);

    /// Asks which devices could be snapshots of the primary.
    ///   primary: its name
    /// Default: *count = 0 unless count is null; *list stays.
    virtual int queryValidSecondaries(char* primary, kzfi_objid*** list, long* count);

    /// Asks for the state of a resource.
    ///   resource: the one asked about
    ///   *info: a message about it
    /// Default: does nothing.
    virtual int resourceStatus(kzfi_objid* resource, long options, long* status,
                               kfi_msg_info** info);

    /// The framework has nodes for the provider to look at again.
    ///   nodes: a list of plug-in nodes
    /// Default: does nothing.
    virtual int revisitPluginNodes(kfi_pgn_node_list* nodes);

    /// Checks combinations of nodes. Default: does nothing.
    virtual int verifyQSCombos(kfi_splitnode** nodes, int count);

    /// Tells where snapshots will be imported.
    ///   hosts: the hosts, a list linked by next
    ///   transportable: any non-zero number says that the snapshots are
    ///   options: a record of the framework's own
    /// Default: for each node that has a record, appends hosts to its host list and keeps whether
    /// it is transportable.
    virtual int setImportOptions(kfi_splitnode** nodes, int count, kfi_host_infn* hosts,
                                 int transportable, void* options);

    /// Before an alternate tree is built by buildAltTree.
    ///   objects: the objects that it is built of
    ///   options: a record of the framework's own
    /// Default: does nothing.
    virtual int startBuildAltTree(kfi_domain* node, kzfi_objid** objects, void* options);

    /// Asks for names of resources as another host knows them.
    ///   names: the names, a list
    ///   *translated: their names there, an array of count
    /// Default: does nothing.
    virtual int translateResourceNames(char** names, int count, char** translated);

    /// Asks for the enclosures that the provider knows. Default: does nothing; *list stays.
    virtual int enumerateEnclosures(kfi_enclosure_node_list** list, int* count, char* filter);

    /// Makes the device of a resource accessible.
    ///   request: bits of kzfi_import_request
    ///   options: a text of the framework's own
    /// Default: does nothing.
    virtual int importResource(char** resources, char* udid, char* hostname, char* sessionId,
                               int request, char** results, char* options);

    /// Puts a file system on resources.
    ///   label: its label
    /// Default: does nothing.
    virtual int format(char** resources, int count, char* fileSystem, char* label, char* parameters,
                       int options, char*** results, int* resultCount);

    /// Asks for the hosts that the provider knows. Default: does nothing; *list stays.
    virtual int enumerateHostNodes(kfi_host_node_list** list, int* count, char* filter);

    /// Brings resources online.
    ///   mountPoint: where they are mounted
    /// Default: does nothing.
    virtual int onlineResource(char** resources, int count, char* hostname, char* mountPoint,
                               char* fileSystem, char* parameters, int options, char*** results,
                               int* resultCount);

    /// Takes the device of a resource away again.
    ///   request: bits of kzfi_deport_request
    ///   options: a text of the framework's own
    /// Default: does nothing.
    virtual int deportResource(char* udid, char* hostname, char* sessionId, char* options,
                               int request);

    /// Asks whether the node's parent is a plug-in node.
    ///   name: the node's name
    ///   *answer: whether it is
    /// Default: does nothing.
    virtual int isParentPgn(char* name, int* answer, int options);

    /// Takes what format made off the resources. Default: does nothing.
    virtual int unformat(char** resources, int count, int options);

    /// Before deportResource of the same resource.
    ///   resource: the resource's name
    /// Default: does nothing.
    virtual int preDeportResource(char* resource, int options, char* hostname);

    /// The tree below a node has changed.
    ///   kind: the kind of change
    ///   resources: what is concerned, count records
    ///   *changed: whether the provider changed something
    ///   context: a record of the framework's own
    /// Default: does nothing.
    virtual int refreshTree(kfi_domain* node, int options, int kind, kfi_resource* resources,
                            int count, int* changed, void* context, int flags);

    /// Asks what belongs into a backup set.
    ///   files: names of files, a list
    ///   backupSet: the record to fill
    /// Default: does nothing.
    virtual int getBackupset(kfi_domain* node, int options, char** files, int count,
                             kfi_bkupset* backupSet);

    /// Asks for the state of the application behind a node.
    ///   *status: a record of the framework's own, to fill
    /// Default: does nothing.
    virtual int getAppStatus(kfi_domain* node, int options, void* status);

    /// Tells how the request went.
    ///   status: its status
    /// Default: does nothing.
    virtual int setOpStatus(kfi_domain* node, int status);

    /// Tells how one component of the request went.
    ///   component: its number
    ///   name: its name
    ///   status: its status
    /// Default: does nothing.
    virtual int setCompStatus(kfi_domain* node, int component, char* name, int status);

    /// Tells where a restore puts things.
    ///   paths: count paths
    /// Default: does nothing.
    virtual int setRestorepaths(kfi_domain* node, char* paths, int count);

    /// Makes the node of a snapshot's replica. Default: does nothing.
    virtual int createSnapReplicaNode(kfi_domain* node, kfi_snapreplica_ele* replica);

    /// Updates a snapshot's identifier from its replica's record. Default: does nothing.
    virtual int updateSnapshotId(kfi_domain* primary, kfi_domain* alternate,
                                 kfi_snapreplica_ele* replica, int options);

    /// Asks for the identifier of the set that a snapshot belongs to.
    ///   *id: the identifier, a text
    /// Default: does nothing; *id stays.
    virtual int getSnapshotSetId(kfi_domain* node, char** id);

    /// Before select.
    ///   node: the node in question and its counterpart
    /// Default: does nothing.
    virtual int preselect(kfi_splitnode* node, char* sessionId, kfi_splitnode** nodes, int count);

    /// Updates identifiers: the session form of updateSnapshotId. Default: does nothing.
    virtual int updateSnapshotHandle(CFiSessionPtr& session, kfi_snapreplica_ele* replica);

    /// Asks what differs between two snapshots of a node.
    ///   older, newer: the records of the two
    ///   differences: the record to fill
    /// Default: does nothing.
    virtual int getSnapdiff(kfi_domain* node, kfi_snapreplica_ele* older,
                            kfi_snapreplica_ele* newer, TrieNode_* differences);

    /// After a tree was deported by deportTree. Default: does nothing.
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
    /// What setProviderName was given.
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
