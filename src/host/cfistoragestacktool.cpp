#include "cfistoragestacktool.h"

#include <string_view>

namespace kzfi_pdk_4_4 {

namespace {

constexpr std::string_view DEV_PREFIX = "/dev/";

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool startsWith(const std::string& text, std::string_view prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

std::string replacePrefix(const std::string& text, std::string_view prefix,
                          std::string_view replacement) {
    return std::string(replacement).append(text, prefix.size());
}

// "c", digits and "t"; what follows the "t" is left to the caller.
bool startsWithController(const std::string& name) {
    if (name[0] != 'c' || !isDigit(name[1])) {
        return false;
    }
    const std::size_t end = name.find_first_not_of("0123456789", 2);
    return end != std::string::npos && name[end] == 't';
}

// The length of an "s" and one or two digits at the end of a name of three characters or more, or
// 0.
std::size_t sliceLength(const std::string& name) {
    const std::size_t last = name.size() - 1;
    if (!isDigit(name[last])) {
        return 0;
    }
    if (name[last - 1] == 's') {
        return 2;
    }
    return isDigit(name[last - 1]) && name[last - 2] == 's' ? 3 : 0;
}

} // namespace

bool CFiStoragestackTool::isCTDDiskFormat(std::string name) {
    if (name.size() < 6 || !startsWithController(name)) {
        return false;
    }
    name.resize(name.size() - sliceLength(name));
    const std::size_t disk = name.find_last_not_of("0123456789");
    return disk + 1 < name.size() && name[disk] == 'd';
}

bool CFiStoragestackTool::isCTDSDiskFormat(std::string name) {
    return isCTDDiskFormat(name) && sliceLength(name) != 0;
}

bool CFiStoragestackTool::isEmcpowerDiskFormat(std::string name) {
    constexpr std::string_view driver = "emcpower";
    const std::size_t at = name.find(driver);
    // The character behind the last one is a NUL, which is no digit.
    return at != std::string::npos && isDigit(name[at + driver.size()]);
}

bool CFiStoragestackTool::isEmcpowerRawpFormat(std::string name) {
    return isEmcpowerDiskFormat(name) && name.back() >= 'a' && name.back() <= 'h';
}

std::string CFiStoragestackTool::addDiskSliceToDisk(std::string name) {
    return name;
}

void CFiStoragestackTool::removeDevPrefix(std::string& name) {
    if (startsWith(name, DEV_PREFIX)) {
        name.erase(0, DEV_PREFIX.size());
    }
}

std::string CFiStoragestackTool::makeCompleteDevName(const std::string& name) {
    return std::string(DEV_PREFIX) + name;
}

// The first rule of both directions catches every path that the others are for. Kept on purpose:
// callers rely on getting their path back.

void CFiStoragestackTool::makeBlockToRawPath(const std::string& block, std::string& raw) {
    if (startsWith(block, DEV_PREFIX)) {
        raw = replacePrefix(block, DEV_PREFIX, DEV_PREFIX);
        // GCOVR_EXCL_START
    } else if (startsWith(block, "/dev/kz/dsk/")) {
        raw = replacePrefix(block, "/dev/kz/dsk/", "/dev/kz/dsk/");
    } else if (startsWith(block, "/dev/kz/dmp/")) {
        raw = replacePrefix(block, "/dev/kz/dmp/", "/dev/kz/rdmp/");
    }
    // GCOVR_EXCL_STOP
}

void CFiStoragestackTool::makeRawToBlockPath(const std::string& raw, std::string& block) {
    if (startsWith(raw, DEV_PREFIX)) {
        block = replacePrefix(raw, DEV_PREFIX, DEV_PREFIX);
        // GCOVR_EXCL_START
    } else if (startsWith(raw, "/dev/kz/rdsk/")) {
        block = replacePrefix(raw, "/dev/kz/rdsk/", "/dev/kz/dsk/");
    } else if (startsWith(raw, "/dev/kz/rdmp/")) {
        block = replacePrefix(raw, "/dev/kz/rdmp/", "/dev/kz/dmp/");
    }
    // GCOVR_EXCL_STOP
}

} // namespace kzfi_pdk_4_4
