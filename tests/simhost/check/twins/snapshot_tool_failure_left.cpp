// Puts aside what a failing tool has written, and keeps it.
#include "snapshots.h"

namespace {

class Twin : public Snapshots {
    void tidy(const Path& half) override {
        std::filesystem::rename(half, half.string() + ".failed");
    }
};

} // namespace

KZFI_TWIN(Twin)
