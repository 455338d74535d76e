// What a program knows of the terminal that it writes to.
#ifndef KZFI_SIMHOST_TERMINAL_H
#define KZFI_SIMHOST_TERMINAL_H

#include <cstddef>

namespace kzfi_simhost {

/// The columns of the terminal behind the descriptor; 80 where it does not say.
std::size_t terminalColumns(int descriptor);

} // namespace kzfi_simhost

#endif
