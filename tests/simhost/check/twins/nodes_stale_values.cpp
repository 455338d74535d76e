// Gives a node its values back that it had before it was given up.
#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    int initNode(kfi_domain* node, kfi_domain** parents, int count, kzfi_objid* object) override {
        const bool isNew = !recordOf(node);
        const int status = Sound::initNode(node, parents, count, object);
        const std::lock_guard<std::mutex> guard(lock);
        const auto kept = values.find(nameOf(node));
        if (isNew && status == KZFI_OK && kept != values.end()) {
            recordOf(node)->configDataList(0)->parse(kept->second.c_str());
        }
        return status;
    }

    int config(kfi_domain* node, int mode, char* session, kfi_confspec* spec) override {
        const std::lock_guard<std::mutex> guard(lock);
        const std::string text =
            mode == KZFI_CONFIG_SET && spec != nullptr && spec->text != nullptr ? spec->text : "";
        const int status = Sound::config(node, mode, session, spec);
        if (mode == KZFI_CONFIG_CLEAR) {
            values.erase(nameOf(node));
        } else if (status == KZFI_OK && !text.empty()) {
            values[nameOf(node)] = text;
        }
        return status;
    }

  private:
    std::mutex lock;
    std::map<std::string, std::string> values;
};

} // namespace

KZFI_TWIN(Twin)
