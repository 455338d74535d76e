// What the numbers mean that operations answer.
#ifndef KZFI_SIMHOST_CHECK_STATUSES_H
#define KZFI_SIMHOST_CHECK_STATUSES_H

#include <string>

#include "cfipluginbase.h"

namespace kzfi_simhost {

enum class StatusKind {
    ANSWER,  ///< the operation's own: 0 of all, and what claim, supportsFiType and interpose have
    ERROR,   ///< one of the framework's
    OWN,     ///< one of the provider's
    UNKNOWN, ///< neither, and so nothing that anybody could act on
    NEGATIVE ///< never a status
};

/// offset: the provider's message index offset. Its own statuses lie above it or, without one, well
/// apart from the framework's: from 100 on.
StatusKind kindOf(const std::string& operation, int status, int offset);

/// ERROR, OWN, UNKNOWN or NEGATIVE.
bool isFailure(const std::string& operation, int status);

int messageIndexOffsetOf(kzfi_pdk_4_4::CFiPluginBase& provider);

} // namespace kzfi_simhost

#endif
