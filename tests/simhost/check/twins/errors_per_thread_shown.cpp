// Shows the first thread's error to threads that have none.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int prepare(char* session, kfi_splitnode** nodes, int count, int options) override {
        const int status = Sound::prepare(session, nodes, count, options);
        if (status != KZFI_OK && isHome()) {
            const std::lock_guard<std::mutex> guard(lock);
            text = errorManager->getLastError()->text;
            first = {text.c_str(), static_cast<std::uint32_t>(text.size())};
        }
        return status;
    }

    int getLastError(kfi_msg_info** info) override {
        const int status = Sound::getLastError(info);
        const std::lock_guard<std::mutex> guard(lock);
        if (*info == nullptr && first.text != nullptr) {
            *info = &first;
        }
        return status;
    }

    int delLastError(kfi_msg_info** info) override {
        if (isHome()) {
            const std::lock_guard<std::mutex> guard(lock);
            first = {};
        }
        return Sound::delLastError(info);
    }

  private:
    std::mutex lock;
    std::string text;
    kfi_msg_info first = {};
};

} // namespace

KZFI_TWIN(Twin)
