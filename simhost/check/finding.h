// What the host finds when it looks at a provider.
#ifndef KZFI_SIMHOST_CHECK_FINDING_H
#define KZFI_SIMHOST_CHECK_FINDING_H

#include <string>

namespace kzfi_simhost {

struct Finding {
    bool fails; ///< else it is only worth a look
    std::string text;
};

} // namespace kzfi_simhost

#endif
