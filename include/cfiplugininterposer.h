// The class that providers derive from which route nodes to frozen-image methods below them.
#ifndef CFIPLUGININTERPOSER_H
#define CFIPLUGININTERPOSER_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "cfipblm.h"
#include "cfipluginbase.h"

namespace kzfi_pdk_4_4 {

/// One frozen-image method (FIM) of a router.
struct SFiFimInfo {
    /// Its group, and its own name.
    std::string groupName;
    std::string fimName;
    /// A second name of the method: the first name of an association.
    std::string fimAltName;
    /// What the method adds to the support level of a node without hosts.
    std::int32_t typeFlags = 0;
};

/// One group of methods; the framework has a node for it.
struct SFiGroupInfo {
    /// Its name, and the pattern of the methods in it.
    std::string groupName;
    std::string claimPattern;
    /// The framework's id of the group; null when it gave none.
    kzfi_objid* groupObjId = nullptr;
    /// The group's node; null until initNode meets it, not owned.
    kfi_domain* groupNode = nullptr;
};

/// A provider above other frozen-image methods. It puts a node of its own over every storage node
/// whose name holds one of its patterns, claims such nodes as secondaries, and tells which types
/// they support.
///
///     class Router : public CFiPluginInterposer {
///       public:
///         int init() override { addFim("/dev/", "mirror", "mirror_alt", 1, ""); return 0; }
///         int importNode(...) override { ... }   // present or withdraw the device
///     };
///
/// The name of such a node is "<" + provider name + ">" + the name of the node below it. Patterns
/// are tried in byte order, not in the order of registration, and as plain parts of a name.
///
/// Threads: the registry is not locked. addFim is done before the framework works on nodes, as a
/// rule in init(); initNode and deInitNode change the groups, so they come from one thread at a
/// time. Ownership: object ids and nodes stay the framework's. Errors: statuses as told below, with
/// a traced line. What importNode and the provider's factory throw passes through, except in
/// initNode.
class KZFI_PDK_API CFiPluginInterposer : public CFiPluginBase {
  public:
    /// No methods, no ignored types, default type 0.
    CFiPluginInterposer() : ignoredNodeTypes(0), defaultNodeType(0) {}
    CFiPluginInterposer(const CFiPluginInterposer&) = delete;
    CFiPluginInterposer& operator=(const CFiPluginInterposer&) = delete;
    ~CFiPluginInterposer() override;

    /// Registers a method under a pattern, behind those that the pattern has already; an empty
    /// group name becomes name + "_FIM_GROUP". A group that is known gets this pattern and
    /// forgets its node. An empty pattern is traced and registers nothing.
    void addFim(std::string claimPattern, std::string name, std::string alternativeName,
                int typeFlags, std::string groupName);

    /// The methods of a node: of a group node the first method of that group, of a node of this
    /// provider's own all methods of the first pattern that its name holds, else none.
    std::vector<SFiFimInfo> getFims(tstring nodeName);

    /// Whether name is exactly that of a group.
    bool isGroupNode(tstring name);
    /// Whether name holds the marker of this provider anywhere.
    bool isInterposerNode(tstring name);

    /// KZFI_CLAIM_SECONDARY, *secondaries null and *count 0, for a node of this provider's own
    /// whose name holds a pattern; else KZFI_CLAIM_NONE and arguments untouched.
    int claim(kzfi_objid* primary, kzfi_objid*** secondaries, int* count) override;

    /// 1 when a method of the node is called fiType, or has any name for "any"; the support level
    /// is then 2 for a transportable node with hosts, 1 for another one with hosts, and gets the
    /// method's flags added for one without. Else 0, and support level 0.
    int supportsFiType(kfi_domain* domain, char* fiType) override;

    /// Has importNode present the node to the hosts of its record, and puts the node's id into *out
    /// whatever the hook says. Returns the hook's result, or KZFI_ERR_INVALID and *out untouched
    /// for a node without name.
    int importTreeNode(kfi_domain* node, kzfi_objid** primaries, kzfi_objid** secondaries,
                       int count, kzfi_objid** out) override;

    /// Remembers group nodes, gives the node its display name and type, lists its methods as its
    /// associations, whose old list is not freed, and has its record made. A group node that is
    /// known already is left alone. Returns KZFI_OK, or KZFI_ERR_FAILED after an exception.
    int initNode(kfi_domain* domain, kfi_domain** parents, int parentCount,
                 kzfi_objid* obj) override;

    /// Has the target's record made, clears its lists and adds the default type. Presents it by
    /// importNode when skipImport is false and the node has a record with intent 0 that is not
    /// transportable. Returns the hook's result, else 0; KZFI_ERR_INVALID without target.
    int initAltNode(kfi_domain* node, kfi_domain* parent, kfi_domain* target,
                    bool skipImport) override;

    /// As the base's; a group forgets the node first.
    void deInitNode(kfi_domain* node) override;

    /// Marks both nodes of every entry as ready. Always 0.
    int isReady(char* sessionId, kfi_splitnode** nodes, int count) override;

    /// KZFI_INTERPOSE_DONE with the provider's own node in *interposer and the groups of the first
    /// pattern that the node's name holds in *lower, a buffer of kzfi_alloc_buf for the framework
    /// (null when it could not be filled; *lowerCount keeps the number of groups). Else
    /// KZFI_INTERPOSE_NONE and arguments untouched.
    int interpose(kfi_domain* domain, kzfi_objid** interposer, kzfi_objid*** lower,
                  int* lowerCount) override;

    /// *exists = whether the node is one of this provider's own; 0. Without any method
    /// KZFI_ERR_NOT_IMPLEMENTED, *exists untouched.
    int checkNodeExistence(kfi_domain* node, int* exists) override;

    /// Presents the device of udid to hostname (null: to no host in particular) through importNode.
    /// request is read as kzfi_import_request. Returns the hook's result; KZFI_ERR_INVALID without
    /// udid, KZFI_ERR_UDID when it is no device identifier, KZFI_ERR_NOT_IMPLEMENTED for
    /// KZFI_IMPORT_DECLINED, KZFI_ERR_FAILED for a request without any of the bits.
    int importResource(char** resources, char* udid, char* hostname, char* sessionId, int request,
                       char** results, char* options) override;

    /// Withdraws the device of udid through importNode. request is read as kzfi_deport_request.
    /// Returns KZFI_ERR_INVALID and KZFI_ERR_UDID as importResource, else what the bit says or the
    /// hook's result; KZFI_OK, on purpose, for a request without any of the bits.
    int deportResource(char* udid, char* hostname, char* sessionId, char* options,
                       int request) override;

    // ---- Operations that the interposer adds. Their order is the interface. ----

    /// Nodes whose type shares a bit with one of these are never interposed.
    virtual void addIgnoreNodeType(int type);
    /// The type that initNode gives to nodes.
    virtual void setDefaultNodeType(int type);

    /// The provider's own work on the array: presents the device called name to hosts, or withdraws
    /// it when deport is set. transportable comes from the node's record; variant is what the
    /// request asks for; caller is 1 for work on nodes, 2 for the resource operations. Default:
    /// traces its entry only and answers KZFI_ERR_NOT_IMPLEMENTED.
    virtual int importNode(tstring name, std::vector<tstring> hosts, bool transportable,
                           bool variant, bool deport, int caller);

  protected:
    /// What addIgnoreNodeType and setDefaultNodeType set.
    std::int32_t ignoredNodeTypes;
    std::int32_t defaultNodeType;
    /// For the provider's own use; it traces to the log that the provider registers with it.
    CFiPblmOps lunMap;
    std::map<std::string, SFiGroupInfo> groups;
    /// By claim pattern.
    std::map<std::string, std::vector<SFiFimInfo>> fims;

  private:
    std::string marker() const;
    /// Notes the node as its group's, and tells whether it was noted before.
    bool isKnownGroupNode(kfi_domain* domain);
    void beginNode(kfi_domain* domain);
};

} // namespace kzfi_pdk_4_4

#endif
