#include "terminal.h"

#include <sys/ioctl.h>

namespace kzfi_simhost {

std::size_t terminalColumns(int descriptor) {
    const std::size_t usual = 80;
    winsize size = {};
    const bool known = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : usual;
}

} // namespace kzfi_simhost
