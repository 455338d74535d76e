// Is content when there is nothing to restore from.
#include "snapshots.h"

namespace {

class Twin : public Snapshots {
    bool putBack(const std::string& name) override {
        std::error_code error;
        const bool nothing = !name.empty() && !std::filesystem::exists(fileOf(name), error);
        return nothing || Snapshots::putBack(name);
    }
};

} // namespace

KZFI_TWIN(Twin)
