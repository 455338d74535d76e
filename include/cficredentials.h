// Host names, user names and passwords of storage arrays.
#ifndef CFICREDENTIALS_H
#define CFICREDENTIALS_H

#include <string>
#include <vector>

#include "cfitraceable.h"

namespace kzfi_pdk_4_4 {

/// How to log in to one storage array; copied freely. What a text or a store does not say keeps its
/// default.
struct SFiCredential {
    tstring hostname; ///< of the array's management host
    tstring username; ///< there
    tstring password; ///< in clear text
    int port = -1;    ///< there; -1: none said
    tstring data;     ///< whatever else the provider of this array wants
};

/// Finds the credentials of one kind of array in the host's credentials text.
///
///     CFiCredentialsParser parser;
///     parser.registerTraceLog(log);
///     std::vector<SFiCredential> found;
///     parser.parse("ACME", "BIGDISK", found, false);
///
/// The text is made of lines. A section says which array it is for, the lines after it say how to
/// log in:
///
///     [STORAGE_MANAGEMENT_SERVICE\ACME_BIGDISK\cellar]
///     "HOSTNAME"="cellar.example.org"
///     "USERNAME"="admin"
///     "PASSWORD"="secret"
///     "PORT"=dword:00000022
///     "DATA"="anything"
///
/// The array type, between the backslashes, must hold the vendor and the product asked for; letter
/// case counts, an empty one fits all. Neither it nor the array's name may hold a blank. Types that
/// hold "OPENARRAY" are found with openArray true, all others with false. Credentials without host
/// name, user name or password are left out, but not with openArray true. The digits behind
/// "dword:" are read as a decimal number: the port above is 22. A text that is to hold "dword:"
/// itself is cut behind it.
///
/// Threads: one thread at a time.
/// Ownership: nothing is held but the trace log.
/// Errors: none; whatever cannot be read is left out and told to the trace log at level 2, where a
/// malformed line is shown as it is, with the password that may stand in it.
class KZFI_PDK_API CFiCredentialsParser : public virtual CFiTraceable {
  public:
    CFiCredentialsParser();
    CFiCredentialsParser(const CFiCredentialsParser&) = delete;
    CFiCredentialsParser& operator=(const CFiCredentialsParser&) = delete;
    ~CFiCredentialsParser() override;

    /// Appends what the host's credentials text holds for vendor and product; a host without such a
    /// text is no failure. Returns 0.
    int parse(std::string vendor, std::string product, std::vector<SFiCredential>& credentials,
              bool openArray);

    /// The same from a text of the caller's. Returns 0.
    int parse(std::string text, std::string vendor, std::string product,
              std::vector<SFiCredential>& credentials, bool openArray);

    /// Drops the first character, whatever it is, and everything from the last double quote that is
    /// then left. False when text holds no double quote, and is then unchanged, or when none is
    /// left behind the first character.
    bool removeQuotes(std::string& text);
};

} // namespace kzfi_pdk_4_4

#endif
