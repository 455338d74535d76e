#include "cficredentials.h"

#include <algorithm>
#include <cstring>

#include "cfistringtool.h"
#include "diag/tracing.h"
#include "host/credentialkeys.h"
#include "host/hosttext.h"
#include "kzfi_framework.h"

namespace kzfi_pdk_4_4 {

namespace {

constexpr char SERVICE[] = "STORAGE_MANAGEMENT_SERVICE";
constexpr char SECTION_DELIMITERS[] = "\t\r[]\\ \n";
constexpr char DWORD[] = "dword:";

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/// Which arrays a caller asks for.
struct Wanted {
    std::string vendor;
    std::string product;
    bool openArray;
};

/// Takes a credentials text line by line and appends the wanted credentials to a list.
class CredentialsReader {
  public:
    CredentialsReader(CFiCredentialsParser& quoteRemover, const CFiTraceLogPtr& traceLog,
                      const Wanted& wantedArrays, std::vector<SFiCredential>& list)
        : parser(quoteRemover),
          log(traceLog),
          wanted(wantedArrays),
          credentials(list) {}
    CredentialsReader(const CredentialsReader&) = delete;
    CredentialsReader& operator=(const CredentialsReader&) = delete;

    /// A line with both brackets begins a section wherever they stand, also inside a value; kept on
    /// purpose.
    void take(const std::string& line) {
        if (contains(line, "[") && contains(line, "]")) {
            finishSection();
            record = SFiCredential();
            accepted = accepts(line);
        } else if (accepted && contains(line, "=")) {
            takeValue(line);
        }
    }

    void finishSection() {
        if (!accepted) {
            return;
        }
        if (!wanted.openArray && !isComplete(record)) {
            traceTo(log, TRACE_WARNING, "WARNING: skipping invalid credentials for vendor %s",
                    wanted.vendor.c_str());
            return;
        }
        credentials.push_back(record);
        traceTo(log, TRACE_INFO,
                "INFO: adding array credentials for: vendor %s, product %s, server %s, username %s",
                wanted.vendor.c_str(), wanted.product.c_str(), record.hostname.c_str(),
                record.username.c_str());
    }

  private:
    bool accepts(const std::string& line) const {
        const std::vector<std::string> parts = CFiStringTool::tokenize(line, SECTION_DELIMITERS);
        if (parts.size() != 3 || !CFiStringTool::CompareNoCase(parts[0], SERVICE)) {
            return false;
        }
        const std::string& arrayType = parts[1];
        if (!contains(arrayType, wanted.vendor) || !contains(arrayType, wanted.product)) {
            return false;
        }
        if (contains(arrayType, OPENARRAY) == wanted.openArray) {
            return true;
        }
        traceTo(log, TRACE_INFO,
                wanted.openArray ? "INFO: Skipping non OPENARRAY credentials section '%s'"
                                 : "INFO: Skipping OPENARRAY credentials section '%s'",
                line.c_str());
        return false;
    }

    void takeValue(const std::string& line) {
        const std::size_t equals = line.find('=');
        std::string name = line.substr(0, equals);
        std::string value = line.substr(equals + 1);
        if (!parser.removeQuotes(name)) {
            traceTo(log, TRACE_WARNING, "WARNING: Invalid credentials section '%s'", line.c_str());
            return;
        }
        const std::size_t dword = value.find(DWORD);
        if (dword != std::string::npos) {
            value.erase(0, dword + std::strlen(DWORD));
        } else if (!parser.removeQuotes(value)) {
            traceTo(log, TRACE_WARNING, "WARNING: Invalid value '%s' for key section '%s'",
                    value.c_str(), name.c_str());
            return;
        }
        store(name, value);
    }

    void store(const std::string& name, const std::string& value) {
        if (name == KEY_PORT) {
            storePort(name, value);
        } else if (tstring* field = textField(name)) {
            *field = CFiStringTool::str2tstr(value);
        }
    }

    tstring* textField(const std::string& name) {
        if (name == KEY_HOSTNAME) {
            return &record.hostname;
        }
        if (name == KEY_USERNAME) {
            return &record.username;
        }
        if (name == KEY_PASSWORD) {
            return &record.password;
        }
        return name == KEY_DATA ? &record.data : nullptr;
    }

    // The digits are read as a decimal number on purpose: existing texts count on it.
    void storePort(const std::string& name, const std::string& value) {
        if (CFiStringTool::isDigit(value)) {
            CFiStringTool::str2int(value, record.port);
        } else {
            traceTo(log, TRACE_WARNING, "WARNING: Invalid dword value '%s' for key section '%s'",
                    value.c_str(), name.c_str());
        }
    }

    CFiCredentialsParser& parser;
    const CFiTraceLogPtr& log;
    const Wanted& wanted;
    std::vector<SFiCredential>& credentials;
    SFiCredential record;
    bool accepted = false;
};

} // namespace

CFiCredentialsParser::CFiCredentialsParser() = default;

CFiCredentialsParser::~CFiCredentialsParser() = default;

int CFiCredentialsParser::parse(std::string vendor, std::string product,
                                std::vector<SFiCredential>& credentials, bool openArray) {
    HostText blob;
    kzfi_get_credential_blob(&blob.text, &blob.length);
    if (blob.text == nullptr) {
        traceTo(traceLog, TRACE_INFO, " CFiCredentialsParser::parse - No credentials found.");
        return 0;
    }
    return parse(blob.upToNul(), vendor, product, credentials, openArray);
}

int CFiCredentialsParser::parse(std::string text, std::string vendor, std::string product,
                                std::vector<SFiCredential>& credentials, bool openArray) {
    traceTo(traceLog, TRACE_FUNCTION, "CFiCredentialsParser::parse - parsing credentails");
    const Wanted wanted = {vendor, product, openArray};
    CredentialsReader reader(*this, traceLog, wanted, credentials);
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        reader.take(text.substr(start, end - start));
        start = end + 1;
    }
    reader.finishSection();
    return 0;
}

bool CFiCredentialsParser::removeQuotes(std::string& text) {
    if (!contains(text, "\"")) {
        return false;
    }
    // Whatever the first character is, also a blank; kept on purpose.
    text.erase(0, 1);
    const std::size_t closing = text.rfind('"');
    if (closing == std::string::npos) {
        return false;
    }
    text.erase(closing);
    return true;
}

} // namespace kzfi_pdk_4_4
