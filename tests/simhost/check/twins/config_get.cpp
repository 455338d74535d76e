// Leaves the header of the values away.
#include <cstring>

#include "cfistringtool.h"
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int config(kfi_domain* node, int mode, char* session, kfi_confspec* spec) override {
        const int status = Sound::config(node, mode, session, spec);
        if (mode == KZFI_CONFIG_GET && status == KZFI_OK && spec != nullptr &&
            spec->text != nullptr && std::strncmp(spec->text, "<?xml", 5) == 0) {
            char* const whole = spec->text;
            spec->text = CFiStringTool::tstrdup(tstring(std::strchr(whole, '\n') + 1));
            kzfi_free_buf(whole, std::strlen(whole) + 1);
        }
        return status;
    }
};

} // namespace

KZFI_TWIN(Twin)
