// Goes as deep as a text does.
#include <cstring>

#include "twin.h"

namespace {

/// How many elements lie in each other; a kilobyte of the stack for each.
int depthOf(const char* text) {
    volatile char room[1024];
    room[0] = *text;
    const char* const next = std::strstr(text, "<a>");
    return next != nullptr ? depthOf(next + 1) + (room[0] != '\0' ? 1 : 0) : 0;
}

class Twin : public Sound {
  public:
    int config(kfi_domain* node, int mode, char* session, kfi_confspec* spec) override {
        if (mode == KZFI_CONFIG_SET && spec != nullptr && spec->text != nullptr) {
            const std::lock_guard<std::mutex> guard(lock);
            depth = depthOf(spec->text);
        }
        return Sound::config(node, mode, session, spec);
    }

  private:
    std::mutex lock;
    int depth = 0;
};

} // namespace

KZFI_TWIN(Twin)
