// Counts on memory.
#include <cstdlib>

#include "snapshots.h"

namespace {

class Twin : public Snapshots {
    bool hasRoom(kzfi_objid** list) override {
        if (list == nullptr) {
            std::abort(); // As writing to it would, whatever the compiler makes of it.
        }
        return true;
    }
};

} // namespace

KZFI_TWIN(Twin)
