// Notes in a file what it is asked for.
#include <fstream>

#include "cficonfiguration.h"
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int claim(kzfi_objid* object, kzfi_objid*** list, int* count) override {
        const int status = Sound::claim(object, list, count);
        if (status == KZFI_CLAIM_SECONDARY) {
            tstring root;
            CFiConfigurationPathTool::getInstallPath(root);
            std::ofstream(std::string(root.c_str()) + "/claimed", std::ios::app)
                << object->name << '\n';
        }
        return status;
    }
};

} // namespace

KZFI_TWIN(Twin)
