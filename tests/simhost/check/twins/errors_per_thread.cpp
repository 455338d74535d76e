// Has one last error for all threads.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int prepare(char* session, kfi_splitnode** nodes, int count, int options) override {
        const int status = Sound::prepare(session, nodes, count, options);
        if (status != KZFI_OK) {
            const std::lock_guard<std::mutex> guard(lock);
            text = errorManager->getLastError()->text;
            last = {text.c_str(), static_cast<std::uint32_t>(text.size())};
        }
        return status;
    }

    int getLastError(kfi_msg_info** info) override {
        KZFI_TWIN_SCOPE;
        const std::lock_guard<std::mutex> guard(lock);
        *info = last.text != nullptr ? &last : nullptr;
        return KZFI_OK;
    }

    int delLastError(kfi_msg_info** info) override {
        const std::lock_guard<std::mutex> guard(lock);
        last = {};
        return Sound::delLastError(info);
    }

  private:
    std::mutex lock;
    std::string text;
    kfi_msg_info last = {};
};

} // namespace

KZFI_TWIN(Twin)
