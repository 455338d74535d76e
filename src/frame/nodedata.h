// A node's name, and its record through the provider's factory.
#ifndef KZFI_FRAME_NODEDATA_H
#define KZFI_FRAME_NODEDATA_H

#include "cfiprivatedata.h"
#include "util/text.h"

namespace kzfi_pdk_4_4 {

/// The node's name; the empty text for a node without one.
inline const char* nameOf(const kfi_domain* node) {
    return orEmpty(node != nullptr && node->objid != nullptr ? node->objid->name : nullptr);
}

/// The provider's factory for the duration of one operation. Without a manager, a factory or a node
/// there is no private data.
class NodeData {
  public:
    explicit NodeData(const CFiPrivateDataManagerPtr& manager)
        : factory(manager ? manager->getFactory() : CFiPrivateDataFactoryPtr()) {}

    CFiPrivateDataPtr find(kfi_domain* node) const {
        return usable(node) ? factory->findPrivateData(node) : CFiPrivateDataPtr();
    }

    CFiPrivateDataPtr create(kfi_domain* node, int altNode) const {
        return usable(node) ? factory->createPrivateData(node, altNode) : CFiPrivateDataPtr();
    }

    void discard(kfi_domain* node) const {
        if (usable(node)) {
            factory->deletePrivateData(node);
        }
    }

  private:
    bool usable(const kfi_domain* node) const { return node != nullptr && factory; }

    CFiPrivateDataFactoryPtr factory;
};

} // namespace kzfi_pdk_4_4

#endif
