// Exceptions that leave a provider, in words.
#ifndef KZFI_SIMHOST_EXCEPTION_TEXT_H
#define KZFI_SIMHOST_EXCEPTION_TEXT_H

#include <functional>
#include <string>

namespace kzfi_simhost {

/// Calls call. Returns "TYPE: TEXT" of the exception that left it, TYPE alone where it has no text,
/// and the empty text when none did. The exception itself is gone by then, so that its code may be
/// unloaded.
std::string exceptionOf(const std::function<void()>& call);

} // namespace kzfi_simhost

#endif
