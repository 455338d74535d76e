// Leaves a file behind when there is nothing to dispose of.
#include "snapshots.h"

namespace {

class Twin : public Snapshots {
  public:
    int dispose(kfi_domain* primary, kfi_domain* snapshot, kfi_splitnode* split,
                kfi_disposition disposition) override {
        const int status = Snapshots::dispose(primary, snapshot, split, disposition);
        if (status == 1001) {
            std::ofstream(fileOf(nameOf(primary)).string() + ".lost") << "lost";
        }
        return status;
    }
};

} // namespace

KZFI_TWIN(Twin)
