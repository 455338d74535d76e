#include "text_tools.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdio>

#include "json.h"

namespace kzfi_simhost {
namespace {

/// Columns of a terminal that a character takes.
std::size_t columnsOf(UChar32 character) {
    const int kind = U_GET_GC_MASK(character);
    if ((kind & (U_GC_MN_MASK | U_GC_ME_MASK | U_GC_CF_MASK)) != 0) {
        return 0;
    }
    const int width = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

/// Goes over the character at place, a byte that is none included, and answers its columns.
std::size_t pass(const std::string& text, std::size_t& place) {
    UChar32 character = 0;
    U8_NEXT(text.data(), place, text.size(), character);
    return columnsOf(character < 0 ? UChar32(0xFFFD) : character);
}

/// What of the text fits into so many columns.
std::string cut(const std::string& text, std::size_t columns) {
    std::size_t end = 0;
    for (std::size_t next = 0, used = 0; next < text.size(); end = next) {
        used += pass(text, next);
        if (used > columns) {
            break;
        }
    }
    return text.substr(0, end);
}

/// Control characters but for line ends, and what no XML file may hold.
bool isHarmful(UChar32 character) {
    const bool control = character < 0x20 || (character >= 0x7F && character < 0xA0);
    return (control && character != '\n') || character == 0xFFFE || character == 0xFFFF;
}

std::string lineAt(const std::vector<std::string>& lines, std::size_t index) {
    return index < lines.size() ? lines[index] : std::string();
}

/// How many characters lines that differ only beyond width lose in front, so that the difference
/// is seen.
std::size_t sharedLead(const std::string& left, const std::string& right, std::size_t width) {
    const auto differs = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
    const std::size_t shared = static_cast<std::size_t>(differs.first - left.begin());
    return left == right || shared + 3 < width ? 0 : shared - width / 2;
}

std::string withoutLead(const std::string& line, std::size_t lead) {
    // A character is never cut in two: continuation bytes go as well.
    while (lead > 0 && lead < line.size() && (line[lead] & 0xC0) == 0x80) {
        ++lead;
    }
    return lead == 0 ? line : "..." + line.substr(std::min(lead, line.size()));
}

} // namespace

std::size_t lengthOf(const std::string& text) {
    std::size_t columns = 0;
    for (std::size_t place = 0; place < text.size();) {
        columns += pass(text, place);
    }
    return columns;
}

std::string fitted(const std::string& text, std::size_t width) {
    const std::size_t length = lengthOf(text);
    if (length <= width) {
        return text + std::string(width - length, ' ');
    }
    const std::string shown = width > 3 ? cut(text, width - 3) + "..." : cut(text, width);
    return shown + std::string(width - lengthOf(shown), ' ');
}

bool startsWith(const std::string& text, const std::string& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    for (std::size_t end = text.find('\n'); end != std::string::npos;
         end = text.find('\n', start)) {
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    if (start < text.size() || lines.empty()) {
        lines.push_back(text.substr(start));
    }
    return lines;
}

std::string harmless(const std::string& text) {
    std::string shown;
    const std::string valid = Json::parse(oneLine(Json(text))).get<std::string>();
    for (std::size_t place = 0; place < valid.size();) {
        const std::size_t start = place;
        UChar32 character = 0;
        U8_NEXT(valid.data(), place, valid.size(), character);
        if (character == '\t') {
            shown += "    ";
        } else if (isHarmful(character)) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, character < 0x100 ? "\\x%02x" : "\\u%04x",
                          static_cast<unsigned>(character));
            shown += escaped;
        } else {
            shown.append(valid, start, place - start);
        }
    }
    return shown;
}

std::string oneRow(const std::string& text) {
    std::string row = harmless(text);
    std::replace(row.begin(), row.end(), '\n', ' ');
    return row;
}

bool isFileName(const std::string& text) {
    return !text.empty() && text != "." && text != ".." && text.find('/') == std::string::npos;
}

std::vector<std::string> sideBySide(const std::string& left, const std::string& right,
                                    std::size_t width) {
    const std::vector<std::string> lefts = linesOf(left);
    const std::vector<std::string> rights = linesOf(right);
    std::vector<std::string> rows;
    for (std::size_t i = 0; i < std::max(lefts.size(), rights.size()); ++i) {
        const std::string wholeLeft = lineAt(lefts, i);
        const std::string wholeRight = lineAt(rights, i);
        const std::size_t lead = sharedLead(wholeLeft, wholeRight, width);
        const std::string l = withoutLead(wholeLeft, lead);
        const std::string r = withoutLead(wholeRight, lead);
        const bool cutAway = lengthOf(r) > width;
        rows.push_back(fitted(l, width) + (l == r ? "   " : " | ") +
                       (cutAway ? fitted(r, width) : r));
    }
    return rows;
}

std::string timeText(double seconds) {
    char text[32];
    if (seconds < 1) {
        const double milliseconds = seconds * 1000;
        std::snprintf(text, sizeof text, milliseconds < 10 ? "%.2f ms" : "%.0f ms", milliseconds);
    } else {
        std::snprintf(text, sizeof text, "%.2f s", seconds);
    }
    return text;
}

std::string sizeText(std::uintmax_t bytes) {
    static const char* const units[] = {"B", "KiB", "MiB", "GiB", "TiB"};
    double number = static_cast<double>(bytes);
    std::size_t unit = 0;
    // What would be rounded to 1024.0 counts as the next unit.
    for (; number >= 1023.95 && unit + 1 < std::size(units); ++unit) {
        number /= 1024;
    }
    char text[32];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", number, units[unit]);
    return text;
}

} // namespace kzfi_simhost
