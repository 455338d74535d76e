/* The framework's records as C11 sees them; what does not hold does not compile. */
#include <assert.h>
#include <stddef.h>

#include "kzfi_framework.h"

#define AT(record, field, offset)                                                                  \
    static_assert(offsetof(record, field) == (offset), #record "." #field)

AT(kzfi_objid, name, 0);
AT(kzfi_objid, length, 8);
AT(kzfi_objid, kind, 16);

AT(kfi_domain_owner, count, 0);
AT(kfi_domain_owner, nodes, 8);

AT(kfi_domain_assoc_entry, name, 0);
AT(kfi_domain_assoc_entry, node, 8);
AT(kfi_domain_assoc_entry, group, 16);

AT(kfi_domain_assoc, next, 0);
AT(kfi_domain_assoc, first, 8);
AT(kfi_domain_assoc, second, 16);

AT(kfi_domain, type, 0);
AT(kfi_domain, flags, 4);
AT(kfi_domain, objid, 8);
AT(kfi_domain, display_name, 16);
AT(kfi_domain, support_level, 24);
AT(kfi_domain, assoc_list, 32);
AT(kfi_domain, second_list, 40);
AT(kfi_domain, owner, 48);
static_assert(sizeof(kfi_domain) == 56, "kfi_domain");

AT(kfi_splitnode, node, 8);
AT(kfi_splitnode, second_node, 16);

AT(kfi_node_subobj_list, subobj, 0);
AT(kfi_node_subobj_list, next, 24);

AT(kfi_blob, data, 0);
AT(kfi_blob, size, 8);
AT(kfi_blob, flag, 16);

AT(kfi_confspec, first_selector, 0);
AT(kfi_confspec, second_selector, 8);
AT(kfi_confspec, text, 16);

AT(kfi_host_infn, name, 0);
AT(kfi_host_infn, next, 8);

AT(kfi_msg_info, text, 0);
AT(kfi_msg_info, length, 8);

static_assert(sizeof(kfi_intent) == 4 && sizeof(kfi_eseverity) == 4, "enumerations");
static_assert(sizeof(kfi_disposition) == 4 && sizeof(kfi_op_providerstate) == 4, "enumerations");
static_assert(sizeof(((kfi_blob*)0)->size) == sizeof(void*), "sizes are pointer-sized");

static_assert(KZFI_OK == 0 && KZFI_ERR_INVALID == 3 && KZFI_ERR_NOT_IMPLEMENTED == 4, "statuses");
static_assert(KZFI_CLAIM_NONE == 0 && KZFI_CLAIM_SECONDARY == 2, "answers of claim");
static_assert(KZFI_INTERPOSE_NONE == 0 && KZFI_INTERPOSE_DONE == 1, "answers of interpose");
static_assert(KZFI_CONFIG_GET == 1 && KZFI_CONFIG_SET == 2 && KZFI_CONFIG_CLEAR == 3 &&
                  KZFI_CONFIG_GETPARAM == 4 && KZFI_CONFIG_SET_AGAIN == 5,
              "configuration modes");
static_assert(KZFI_PROVIDERSTATE_PRODUCE == 1, "what processProviderState is asked for");
static_assert(KZFI_SNAPSHOT_STATUS_DEFAULT == 8, "state of a snapshot");
static_assert(KZFI_NODE_READY == 0x8 && KZFI_NODE_ACCESS_DISABLED == 0x40, "node flags");
static_assert(KZFI_IMPORT == 0x1 && KZFI_IMPORT_VARIANT == 0x2 && KZFI_IMPORT_DECLINED == 0x4,
              "import bits");
static_assert(KZFI_DEPORT_VARIANT == 0x10 && KZFI_DEPORT == 0x20 && KZFI_DEPORT_DECLINED == 0x40 &&
                  KZFI_DEPORT_NOTHING == 0x400,
              "deport bits");

/** The size of a node as C sees it, for the test in C++. */
size_t kzfi_tests_domain_size(void);

size_t kzfi_tests_domain_size(void) {
    return sizeof(kfi_domain);
}
