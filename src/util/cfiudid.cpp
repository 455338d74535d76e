#include "cfiudid.h"

#include "cfistringtool.h"

namespace kzfi_pdk_4_4 {

namespace {

const char PREFIX[] = "UDID##";
const char SEPARATOR[] = "##";
const std::size_t SEPARATOR_LENGTH = sizeof(SEPARATOR) - 1;

// Moves what rest begins with, up to the separator, into field; false when there is none.
bool takeField(std::string& rest, std::string& field) {
    const std::size_t end = rest.find(SEPARATOR);
    if (end == std::string::npos) {
        return false;
    }
    field = rest.substr(0, end);
    rest.erase(0, end + SEPARATOR_LENGTH);
    return true;
}

} // namespace

CFiUdid::CFiUdid(const tstring& text) : fourFieldFlag(0), prefix(PREFIX) {
    parse(CFiStringTool::tstr2str(text));
}

void CFiUdid::parse(const std::string& argument) {
    // A copy: the argument may be one of the fields.
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const std::string text = argument;
    field1.clear();
    field2.clear();
    field3.clear();
    field4.clear();
    // The field, where getUdidString() prints the constant: kept so on purpose.
    const std::size_t start = text.find(prefix);
    if (start == std::string::npos) {
        throw CFiUdidException(text, CFiUdidException::NO_PREFIX);
    }
    std::string rest = text.substr(start + prefix.size());
    if (!takeField(rest, field1)) {
        throw CFiUdidException(text, CFiUdidException::NO_SECOND_FIELD);
    }
    if (!takeField(rest, field2)) {
        throw CFiUdidException(text, CFiUdidException::NO_LAST_FIELD);
    }
    if (rest.empty()) {
        throw CFiUdidException(text, CFiUdidException::NO_DEVICE);
    }
    if (takeField(rest, field3)) {
        fourFieldFlag = 1;
    }
    field4 = rest;
}

std::string CFiUdid::getUdidString() const {
    return CFiStringTool::tostrupper(PREFIX + field1 + SEPARATOR + field2 + SEPARATOR + field3 +
                                     SEPARATOR + field4);
}

} // namespace kzfi_pdk_4_4
