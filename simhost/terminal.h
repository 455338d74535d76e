// What a program knows of the terminal that it writes to.
#ifndef KZFI_SIMHOST_TERMINAL_H
#define KZFI_SIMHOST_TERMINAL_H

#include <cstddef>
#include <string>

namespace kzfi_simhost {

/// The columns of the terminal behind the descriptor; 80 where it does not say.
std::size_t terminalColumns(int descriptor);

/// How a text is shown: codes of ECMA-48, Select Graphic Rendition.
inline constexpr const char* BOLD = "1";
inline constexpr const char* RED = "31";
inline constexpr const char* GREEN = "32";
inline constexpr const char* YELLOW = "33";

/// The text for a terminal, to be shown in that way.
std::string inColour(const char* code, const std::string& text);

} // namespace kzfi_simhost

#endif
