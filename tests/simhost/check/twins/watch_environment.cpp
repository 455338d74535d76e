// Sets the umask of the whole process.
#include <sys/stat.h>

#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int setRestorepaths(kfi_domain*, char* paths, int) override {
        KZFI_TWIN_SCOPE;
        if (paths != nullptr && std::string(paths) == "watch.environment") {
            umask(0);
        }
        return KZFI_OK;
    }
};

} // namespace

KZFI_TWIN(Twin)
