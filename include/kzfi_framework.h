/*
 * The frozen-image framework's C interface: the records that it hands to a provider plug-in, the
 * helpers that it defines, and names for the numbers that travel between the two.
 *
 * Compiles as C11 and as C++17. All records are those of an LP64 platform. A record that is only
 * declared here is opaque: the kit passes it on and never looks inside.
 *
 * Ownership: the framework owns every record that it hands over. Text that a plug-in hands back
 * comes from kzfi_alloc_buf() and then belongs to the framework.
 */
#ifndef KZFI_FRAMEWORK_H
#define KZFI_FRAMEWORK_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Enumerations: 32-bit numbers, so that literals and casts both work ---- */

/** Why the framework works on a node; 0 is no particular intent. */
typedef int32_t kfi_intent;
/** Severity of a message, 1 to 7. */
typedef int32_t kfi_eseverity;
/** What becomes of a snapshot that is disposed of or brought online. */
typedef int32_t kfi_disposition;
/** What processProviderState is asked for; see KZFI_PROVIDERSTATE_PRODUCE. */
typedef int32_t kfi_op_providerstate;

/* ---- Opaque records ---- */

typedef struct kfi_accessnode kfi_accessnode;
typedef struct kfi_quiescenode kfi_quiescenode;
typedef struct kfi_attributes kfi_attributes;
typedef struct kfi_provider_list kfi_provider_list;
typedef struct kfi_node kfi_node;
typedef struct kfi_node_list kfi_node_list;
typedef struct kfi_assoc kfi_assoc;
typedef struct kfi_assoc_list kfi_assoc_list;
typedef struct kfi_group_node_list kfi_group_node_list;
typedef struct kfi_fim_list kfi_fim_list;
typedef struct kfi_pgn_node_list kfi_pgn_node_list;
typedef struct kfi_enclosure_node_list kfi_enclosure_node_list;
typedef struct kfi_host_node_list kfi_host_node_list;
typedef struct kfi_resource kfi_resource;
typedef struct kfi_bkupset kfi_bkupset;
typedef struct kfi_snapreplica_ele kfi_snapreplica_ele;
typedef struct TrieNode_ TrieNode_;

/* ---- Records with fields ---- */

typedef struct kzfi_objid kzfi_objid;
typedef struct kfi_domain kfi_domain;
typedef struct kfi_domain_owner kfi_domain_owner;
typedef struct kfi_domain_assoc kfi_domain_assoc;
typedef struct kfi_domain_assoc_entry kfi_domain_assoc_entry;
typedef struct kfi_splitnode kfi_splitnode;
typedef struct kfi_node_subobj_list kfi_node_subobj_list;
typedef struct kfi_blob kfi_blob;
typedef struct kfi_confspec kfi_confspec;
typedef struct kfi_host_infn kfi_host_infn;
typedef struct kfi_msg_info kfi_msg_info;

/** Identity of a framework object. */
struct kzfi_objid {
    char* name;      /**< the object's name; may be null */
    uint64_t length; /**< size of the name with its NUL; read by the framework only */
    int32_t kind;    /**< kind of object; read by the framework only */
};

/** The nodes that one owner holds together: count entries follow inline. */
struct kfi_domain_owner {
    int32_t count;        /**< number of nodes */
    kfi_domain* nodes[1]; /**< the nodes themselves */
};

/** One side of an association between a node and a frozen-image method. */
struct kfi_domain_assoc_entry {
    char* name;        /**< malloc'ed copy; not freed with the entry */
    kfi_domain* node;  /**< the node */
    kfi_domain* group; /**< its group node, or null */
};

/** Element of a node's association list; element and entries are allocated with new. */
struct kfi_domain_assoc {
    kfi_domain_assoc* next;         /**< null ends the list */
    kfi_domain_assoc_entry* first;  /**< one side */
    kfi_domain_assoc_entry* second; /**< the other */
};

/** A node: the object that the framework takes a frozen image of. Also used for sub-objects. */
struct kfi_domain {
    int32_t type;                 /**< node type */
    uint32_t flags;               /**< KZFI_NODE_... bits */
    kzfi_objid* objid;            /**< identity of the node */
    char* display_name;           /**< name shown to people; not owned by the node */
    int32_t* support_level;       /**< where supportsFiType puts its answer; 0 = not supported */
    kfi_domain_assoc* assoc_list; /**< associations of the node, or null */
    void* second_list;            /**< a list of the framework's own; a plug-in only clears it */
    kfi_domain_owner* owner;      /**< the owner that holds the node, or null */
};

/** A node of a frozen-image request together with its counterpart. */
struct kfi_splitnode {
    void* reserved;          /**< the framework's own */
    kfi_domain* node;        /**< the node */
    kfi_domain* second_node; /**< may be null */
};

/** Singly linked list of sub-objects; null ends it. */
struct kfi_node_subobj_list {
    kfi_domain* subobj;         /**< may be null: the element is skipped */
    void* reserved1;            /**< the framework's own */
    void* reserved2;            /**< the framework's own */
    kfi_node_subobj_list* next; /**< null ends the list */
};

/** A buffer that travels across the plug-in boundary. */
struct kfi_blob {
    void* data;    /**< from kzfi_alloc_buf, or null */
    uint64_t size; /**< bytes in data */
    int32_t flag;  /**< 1 when data is filled */
};

/** A configuration request; what the selectors mean is told at CFiPluginBase::config. */
struct kfi_confspec {
    uintptr_t first_selector;  /**< non-zero: list index 1 */
    uintptr_t second_selector; /**< non-zero: a text is asked for though the first is zero */
    char* text;                /**< XML in and out; what comes out is from kzfi_alloc_buf */
};

/** Singly linked list of host names. */
struct kfi_host_infn {
    char* name;          /**< may be null: the element is skipped */
    kfi_host_infn* next; /**< null ends the list */
};

/** A message in its serialized text form; record and text stay the message's. */
struct kfi_msg_info {
    const char* text; /**< NUL-terminated */
    uint32_t length;  /**< bytes in text without the NUL */
};

/* ---- Helpers that the host defines ----
 * Default visibility, so that a program that defines one of them overrides the library's. */

#define KZFI_HOST_API __attribute__((visibility("default")))

/** Memory that crosses the plug-in boundary, such as free() accepts; null when there is none. */
KZFI_HOST_API void* kzfi_alloc_buf(size_t size);
/** Gives a buffer of kzfi_alloc_buf back; size is the size that was asked for. Null is ignored. */
KZFI_HOST_API void kzfi_free_buf(void* buffer, size_t size);
/**
 * The object id of a name; the framework owns it and keeps it for the life of the process.
 * length counts the NUL. Null on failure.
 */
KZFI_HOST_API kzfi_objid* kzfi_get_objid(const char* name, size_t length, int kind);
/** 0 when both ids name the same object, non-zero otherwise. */
KZFI_HOST_API int kzfi_objidcmp(const kzfi_objid* a, const kzfi_objid* b);
/**
 * Puts the product's install root into *root, a text of kzfi_alloc_buf that the caller gives back
 * with its length + 1, or leaves *root alone. Only *root tells which.
 */
KZFI_HOST_API int kzfi_get_install_root(char** root);
/**
 * Puts the framework's credentials text into *text and its size into *length, or leaves both
 * alone; the caller gives the text back with that size.
 */
KZFI_HOST_API int kzfi_get_credential_blob(char** text, size_t* length);
/** Non-zero when the caller runs in a child of the host that may not start processes itself. */
KZFI_HOST_API int kzfi_is_child_context(void);
/**
 * Has the host run command on behalf of a child context. Puts the command's output into *text and
 * its size into *length; the caller gives it back with that size. 0 on success.
 */
KZFI_HOST_API int kzfi_exec_cmd_in_child_context(const char* command, char** text, size_t* length);

#ifdef __cplusplus
}
#endif

/* ---- Names for the numbers ---- */

/** Status of an operation. */
enum kzfi_status {
    KZFI_OK = 0,                  /**< done */
    KZFI_ERR_INVALID = 3,         /**< a required pointer is null, no private data, a bad text */
    KZFI_ERR_NOT_IMPLEMENTED = 4, /**< the provider does not implement the operation */
    KZFI_ERR_FAILED = 6,          /**< no target, an unknown import request, an exception */
    KZFI_ERR_NO_FILE = 18,        /**< a path cannot be looked at */
    KZFI_ERR_UDID = 21,           /**< a text is no device identifier */
    KZFI_ERR_OWNER = 1091         /**< a path cannot be handed over to another user */
};

/** Answers of claim. */
enum kzfi_claim {
    KZFI_CLAIM_NONE = 0,     /**< not claimed */
    KZFI_CLAIM_SECONDARY = 2 /**< claimed as secondary */
};

/** Answers of interpose. */
enum kzfi_interpose {
    KZFI_INTERPOSE_NONE = 0, /**< left as it is */
    KZFI_INTERPOSE_DONE = 1  /**< interposed */
};

/** Modes of config; others leave text and values alone. */
enum kzfi_config_mode {
    KZFI_CONFIG_GET = 1,      /**< values, or their defaults */
    KZFI_CONFIG_SET = 2,      /**< take values over */
    KZFI_CONFIG_CLEAR = 3,    /**< forget the values */
    KZFI_CONFIG_GETPARAM = 4, /**< descriptions of the parameters */
    KZFI_CONFIG_SET_AGAIN = 5 /**< as KZFI_CONFIG_SET */
};

/** Bits of kfi_domain::flags. */
enum kzfi_node_flag {
    KZFI_NODE_READY = 0x8,           /**< ready */
    KZFI_NODE_ACCESS_DISABLED = 0x40 /**< access disabled */
};

/** Support levels that a router gives; a node without hosts gets its methods' own flags instead. */
enum kzfi_support_level {
    KZFI_SUPPORT_NONE = 0,         /**< not supported */
    KZFI_SUPPORT_HOSTS = 1,        /**< for the node's hosts */
    KZFI_SUPPORT_TRANSPORTABLE = 2 /**< for the node's hosts, and transportable */
};

/** Who calls a router's importNode. */
enum kzfi_import_caller {
    KZFI_IMPORT_FROM_NODE = 1,    /**< importTreeNode, initAltNode */
    KZFI_IMPORT_FROM_RESOURCE = 2 /**< importResource, deportResource */
};

/** Bits of importResource's request, in order of precedence. */
enum kzfi_import_request {
    KZFI_IMPORT_DECLINED = 0x4, /**< answered with KZFI_ERR_NOT_IMPLEMENTED */
    KZFI_IMPORT = 0x1,          /**< present the device */
    KZFI_IMPORT_VARIANT = 0x2   /**< present it, with the hook's second flag set */
};

/** Bits of deportResource's request, in order of precedence. */
enum kzfi_deport_request {
    KZFI_DEPORT_NOTHING = 0x400, /**< answered with KZFI_OK at once */
    KZFI_DEPORT_VARIANT = 0x10,  /**< withdraw the device, with the hook's second flag set */
    KZFI_DEPORT = 0x20,          /**< withdraw the device */
    KZFI_DEPORT_DECLINED = 0x40  /**< answered with KZFI_ERR_NOT_IMPLEMENTED */
};

/** Operation of processProviderState that asks for state; others touch nothing. */
enum kzfi_providerstate { KZFI_PROVIDERSTATE_PRODUCE = 1 };

/** What getStatus writes for every entry by default. */
enum kzfi_snapshot_status { KZFI_SNAPSHOT_STATUS_DEFAULT = 8 };

#endif
