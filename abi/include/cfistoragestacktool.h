// Device names and paths: recognising disk names, adding and removing "/dev/".
#ifndef CFISTORAGESTACKTOOL_H
#define CFISTORAGESTACKTOOL_H

#include <string>

#include "kzfi_pdk.h"

namespace kzfi_pdk_4_4 {

/// Static tests and rewritings of the device names that a provider meets. They look at the text
/// only, never at the machine. Digits are 0 to 9, whatever the locale.
///
/// Threads: no state.
/// Errors: nothing is thrown but std::bad_alloc; a name of another form is false or left as it is.
class KZFI_PDK_API CFiStoragestackTool {
  public:
    CFiStoragestackTool() = delete;

    /// A controller-target-disk name, at least six characters, with or without a slice: c0t1d2,
    /// c0t1d2s3. Anything may stand between "t" and "d", so long target identifiers pass.
    static bool isCTDDiskFormat(std::string name);

    /// The same with a slice of one or two digits: c0t1d2s3, c0t1d2s15.
    static bool isCTDSDiskFormat(std::string name);

    /// The first "emcpower" in the name, wherever it stands, is followed by a digit: emcpower12.
    static bool isEmcpowerDiskFormat(std::string name);

    /// The same with a partition letter, a to h, at the end: emcpower12c.
    static bool isEmcpowerRawpFormat(std::string name);

    /// The name as it is: no slice is added.
    static std::string addDiskSliceToDisk(std::string name);

    /// Removes one leading "/dev/".
    static void removeDevPrefix(std::string& name);

    /// "/dev/" and the name; a prefix that is there already is doubled.
    static std::string makeCompleteDevName(const std::string& name);

    /// Set the second argument to the first when that begins with "/dev/", and leave it alone
    /// otherwise. Neither makes the raw or block twin of a path: a caller that needs it builds it.
    /// Both arguments may be the same string.
    static void makeBlockToRawPath(const std::string& block, std::string& raw);
    static void makeRawToBlockPath(const std::string& raw, std::string& block);
};

} // namespace kzfi_pdk_4_4

#endif
