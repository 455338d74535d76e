// Device identifiers (UDIDs).
#ifndef CFIUDID_H
#define CFIUDID_H

#include <string>

#include "kzfi_pdk.h"

namespace kzfi_pdk_4_4 {

/// What CFiUdid throws for a text that is no UDID.
class KZFI_PDK_API CFiUdidException {
  public:
    /// Values of errorCode.
    enum Cause {
        NO_DEVICE = 1,       ///< nothing follows the second field's "##"
        NO_PREFIX = 2,       ///< "UDID##" does not occur in the text
        NO_SECOND_FIELD = 3, ///< no "##" after the first field
        NO_LAST_FIELD = 4    ///< no "##" after the second field
    };

    /// code is a Cause.
    CFiUdidException(const std::string& text, int code) : udid(text), errorCode(code) {}
    CFiUdidException(const CFiUdidException&) = default;
    CFiUdidException& operator=(const CFiUdidException&) = default;

    std::string udid; ///< the whole text that was parsed
    int errorCode;    ///< a Cause
};

/// The identifier of a storage device: "UDID##" and three or four fields with "##" between them.
/// Of four, the third is the enclosure; the last is the device.
///
/// Threads: as a plain value, one object is for one thread at a time.
/// Errors: CFiUdidException leaves the constructor and parse().
class KZFI_PDK_API CFiUdid {
  public:
    /// Parses text.
    CFiUdid(const tstring& text);
    CFiUdid(const CFiUdid&) = default;
    CFiUdid& operator=(const CFiUdid&) = default;

    /// Takes the fields from text, whatever stands before the prefix in it. After an exception the
    /// fields found so far are set and the others empty.
    void parse(const std::string& text);

    /// The identifier in upper case, always with a third field: UDID##a##b##c is printed as
    /// UDID##A##B####C, the form that configurations are matched against.
    std::string getUdidString() const;

    /// Vendor, and product or array.
    std::string field1;
    std::string field2;
    std::string field3;    ///< the enclosure; empty when there were three fields
    std::string field4;    ///< the device
    std::string spareText; ///< always empty
    int fourFieldFlag;     ///< 1 once a text with four fields was parsed; never back to 0
    std::string prefix;    ///< "UDID##"
};

} // namespace kzfi_pdk_4_4

#endif
