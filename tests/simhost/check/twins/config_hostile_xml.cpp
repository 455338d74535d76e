// Looks at the file that an external entity names.
#include <fstream>

#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int config(kfi_domain* node, int mode, char* session, kfi_confspec* spec) override {
        if (mode == KZFI_CONFIG_SET && spec != nullptr && spec->text != nullptr) {
            const std::string text = spec->text;
            const std::string before = "SYSTEM \"file://";
            const std::size_t place = text.find(before);
            if (place != std::string::npos) {
                const std::size_t start = place + before.size();
                std::ifstream file(text.substr(start, text.find('"', start) - start));
                file.get();
            }
        }
        return Sound::config(node, mode, session, spec);
    }
};

} // namespace

KZFI_TWIN(Twin)
