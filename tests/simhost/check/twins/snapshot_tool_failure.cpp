// Leaves behind what a failing tool has written.
#include "snapshots.h"

namespace {

class Twin : public Snapshots {
    void tidy(const Path&) override {}
};

} // namespace

KZFI_TWIN(Twin)
