// What credentials are made of, in the host's text and in a plug-in's configuration alike.
#ifndef KZFI_HOST_CREDENTIALKEYS_H
#define KZFI_HOST_CREDENTIALKEYS_H

#include "cficredentials.h"

namespace kzfi_pdk_4_4 {

constexpr char KEY_HOSTNAME[] = "HOSTNAME";
constexpr char KEY_USERNAME[] = "USERNAME";
constexpr char KEY_PASSWORD[] = "PASSWORD";
constexpr char KEY_PORT[] = "PORT";
constexpr char KEY_DATA[] = "DATA";

/// Arrays whose type or section name holds this are kept apart from all others.
constexpr char OPENARRAY[] = "OPENARRAY";

/// Whether a login can be tried with it.
inline bool isComplete(const SFiCredential& credential) {
    return !credential.hostname.empty() && !credential.username.empty() &&
           !credential.password.empty();
}

} // namespace kzfi_pdk_4_4

#endif
