// Leaves a file behind when there is no memory.
#include "snapshots.h"

namespace {

class Twin : public Snapshots {
    bool hasRoom(kzfi_objid** list) override {
        if (list == nullptr) {
            std::ofstream(diskOf("half").string()) << "half";
        }
        return list != nullptr;
    }
};

} // namespace

KZFI_TWIN(Twin)
