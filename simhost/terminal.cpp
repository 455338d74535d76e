#include "terminal.h"

#include <sys/ioctl.h>

namespace kzfi_simhost {

std::size_t terminalColumns(int descriptor) {
    const std::size_t usual = 80;
    winsize size = {};
    const bool known = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : usual;
}

std::string inColour(const char* code, const std::string& text) {
    return std::string("\033[") + code + "m" + text + "\033[0m";
}

} // namespace kzfi_simhost
