#include "statuses.h"

#include <algorithm>
#include <map>

namespace kzfi_simhost {
namespace {

const int LEAST_OWN = 100;

/// Reaches a provider's protected offset; never made itself.
class OffsetPeek : public kzfi_pdk_4_4::CFiPluginBase {
  public:
    static int offsetIn(kzfi_pdk_4_4::CFiPluginBase& provider) {
        return provider.*(&OffsetPeek::messageIndexOffset);
    }
};

bool isAnswer(const std::string& operation, int status) {
    static const std::map<std::string, int> positive = {
        {"claim", KZFI_CLAIM_SECONDARY}, {"supportsFiType", 1}, {"interpose", KZFI_INTERPOSE_DONE}};
    const auto found = positive.find(operation);
    return status == KZFI_OK || (found != positive.end() && found->second == status);
}

bool isFrameworkError(int status) {
    static const int errors[] = {KZFI_ERR_INVALID, KZFI_ERR_NOT_IMPLEMENTED,
                                 KZFI_ERR_FAILED,  KZFI_ERR_NO_FILE,
                                 KZFI_ERR_UDID,    KZFI_ERR_OWNER};
    return std::find(std::begin(errors), std::end(errors), status) != std::end(errors);
}

} // namespace

StatusKind kindOf(const std::string& operation, int status, int offset) {
    if (status < 0) {
        return StatusKind::NEGATIVE;
    }
    if (isAnswer(operation, status)) {
        return StatusKind::ANSWER;
    }
    if (isFrameworkError(status)) {
        return StatusKind::ERROR;
    }
    const bool own = offset > 0 ? status > offset : status >= LEAST_OWN;
    return own ? StatusKind::OWN : StatusKind::UNKNOWN;
}

bool isFailure(const std::string& operation, int status) {
    return !isAnswer(operation, status);
}

int messageIndexOffsetOf(kzfi_pdk_4_4::CFiPluginBase& provider) {
    return OffsetPeek::offsetIn(provider);
}

} // namespace kzfi_simhost
