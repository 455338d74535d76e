// Unfolds what a text names again and again.
#include "twin.h"

namespace {

/// The entity's text, with the entities in it; as large as it comes.
std::string unfolded(const std::string& text, const std::string& entity) {
    const std::size_t place = text.find("<!ENTITY " + entity + " \"");
    if (place == std::string::npos) {
        return "";
    }
    const std::size_t start = text.find('"', place) + 1;
    std::string value = text.substr(start, text.find('"', start) - start);
    if (value[0] != '&') {
        return value;
    }
    const std::string once = unfolded(text, value.substr(1, value.find(';') - 1));
    value.clear();
    for (int i = 0; i < 10; ++i) {
        value += once;
    }
    return value;
}

class Twin : public Sound {
  public:
    int config(kfi_domain* node, int mode, char* session, kfi_confspec* spec) override {
        if (mode == KZFI_CONFIG_SET && spec != nullptr && spec->text != nullptr) {
            const std::lock_guard<std::mutex> guard(lock);
            size = unfolded(spec->text, "e7").size();
        }
        return Sound::config(node, mode, session, spec);
    }

  private:
    std::mutex lock;
    std::size_t size = 0;
};

} // namespace

KZFI_TWIN(Twin)
