// Which enclosures this provider may use, and where the devices in them lie.
#ifndef DISKIMAGE_ENCLOSURES_H
#define DISKIMAGE_ENCLOSURES_H

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "cficonfiguration.h"

namespace diskimage {

/// A device as its identifier names it, UDID##ACME##DISKIMAGE##ENC1##00A3: enclosure ENC1, name
/// 00A3. All in upper case, as identifiers are compared that way; so are the names of its files.
struct Device {
    /// Throws a Failure when identifier is none, or another provider's, or cannot name a file.
    explicit Device(const std::string& identifier);

    std::string udid;
    std::string enclosure;
    std::string name;
};

/// The enclosures for which there are credentials. An enclosure is a folder, and a credential says
/// which one: its host name is the enclosure's name, in any case, and its data the folder, from
/// the install root on if it does not begin with "/"; without data it is enclosures/HOSTNAME there.
/// User name and password must be there, and are what an array would be asked with.
///
/// They come from the framework's text,
///
///     [STORAGE_MANAGEMENT_SERVICE\ACME_DISKIMAGE\ENC1]
///     "HOSTNAME"="ENC1"
///     "USERNAME"="backup"
///     "PASSWORD"="secret"
///     "DATA"="/srv/images"
///
/// and, without data, from the section CREDENTIALS of the plug-in's configuration:
///
///     [CREDENTIALS\cellar]
///     "HOSTNAME"="ENC2"
///     "USERNAME"="backup"
///     "PASSWORD"="secret"
///
/// Of two for the same enclosure the first one counts, the framework's before the configuration's.
class Enclosures {
  public:
    Enclosures() = default;
    explicit Enclosures(kzfi_pdk_4_4::CFiConfiguration& configuration);

    /// Throws a Failure for an enclosure without credentials.
    const std::filesystem::path& folderOf(const Device& device) const;

    std::vector<std::filesystem::path> folders() const;

  private:
    std::map<std::string, std::filesystem::path> folderByName;
};

} // namespace diskimage

#endif
