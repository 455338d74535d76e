// The adapters that need more than a line, and what all adapters share. Internal to operations.
#ifndef KZFI_SIMHOST_ADAPTERS_H
#define KZFI_SIMHOST_ADAPTERS_H

#include "call.h"
#include "outcome.h"

namespace kzfi_simhost {

/// The outcome of an operation that answers a status.
Outcome answered(int status);

/// The same with one value.
Outcome answered(int status, const std::string& name, Json value);

/// The names of object ids that a provider gave; the list goes back to it when it is the host's to
/// give back.
Json namesOf(kzfi_objid** list, long count);
Json takeNames(kzfi_objid** list, long count);

/// Texts that a provider gave.
Json textsOf(char** list, long count);

/// Adds what the node's record says after the call; nothing for a null node.
void addState(Outcome& outcome, const kfi_domain* node);

Outcome callInitNode(Call& call);
Outcome callInitAltNode(Call& call);
Outcome callReAccessTmpObj(Call& call);
Outcome callReAccessAltNode(Call& call);
Outcome callDeInitNode(Call& call);
Outcome callInterpose(Call& call);
Outcome callIsReady(Call& call);
Outcome callEnableAccess(Call& call);
Outcome callDisableAccess(Call& call);

Outcome callGlobalConfigInfoList(Call& call);
Outcome callConfig(Call& call);
Outcome callErrMsg(Call& call);
Outcome callGetLastError(Call& call);
Outcome callDelLastError(Call& call);
Outcome callGetLocaleMessage(Call& call);
Outcome callDelLocaleMessage(Call& call);

} // namespace kzfi_simhost

#endif
