// Remembers each error that it was asked for.
#include <list>

#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int getLastError(kfi_msg_info** info) override {
        const int status = Sound::getLastError(info);
        if (info != nullptr && *info != nullptr) {
            const std::lock_guard<std::mutex> guard(lock);
            history.emplace_back((*info)->text);
        }
        return status;
    }

  private:
    std::mutex lock;
    std::list<std::string> history;
};

} // namespace

KZFI_TWIN(Twin)
