// Sets values for more nodes than it is told to.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int initNode(kfi_domain* node, kfi_domain** parents, int count, kzfi_objid* object) override {
        const int status = Sound::initNode(node, parents, count, object);
        if (isHome() && nameOf(node) == "/dev/sound2") {
            second = recordOf(node);
        }
        return status;
    }

    int config(kfi_domain* node, int mode, char* session, kfi_confspec* spec) override {
        const bool copies = isHome() && mode == KZFI_CONFIG_SET && second && spec != nullptr &&
                            spec->text != nullptr && nameOf(node) == "/dev/sound1";
        if (copies) {
            second->configDataList(0)->parse(spec->text);
        }
        return Sound::config(node, mode, session, spec);
    }

  private:
    CFiPrivateDataPtr second;
};

} // namespace

KZFI_TWIN(Twin)
