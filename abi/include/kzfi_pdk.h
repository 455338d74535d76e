// What every header of the kit needs: the export mark, the byte string and the release text.
#ifndef KZFI_PDK_H
#define KZFI_PDK_H

#include <ace/SString.h>

/// Marks what the kit's shared library exports; everything else in it is hidden.
#define KZFI_PDK_API __attribute__((visibility("default")))

/// The release text of the kit that is loaded, for example "4.4".
extern "C" KZFI_PDK_API const char SL_STATIC_RELEASE_STR[];

namespace kzfi_pdk_4_4 {

/// The kit's byte string, used at most interfaces.
typedef ACE_String_Base<char> tstring;

} // namespace kzfi_pdk_4_4

#endif
