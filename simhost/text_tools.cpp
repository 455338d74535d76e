#include "text_tools.h"

#include <algorithm>
#include <cstdio>

#include "json.h"

namespace kzfi_simhost {
namespace {

bool continuesCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

/// The first count characters.
std::string cut(const std::string& text, std::size_t count) {
    std::size_t end = 0;
    for (; end < text.size(); ++end) {
        if (!continuesCharacter(text[end]) && count-- == 0) {
            break;
        }
    }
    return text.substr(0, end);
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
    return text.size() -
           static_cast<std::size_t>(std::count_if(text.begin(), text.end(), continuesCharacter));
}

std::string fitted(const std::string& text, std::size_t width) {
    const std::size_t length = lengthOf(text);
    if (length <= width) {
        return text + std::string(width - length, ' ');
    }
    return width > 3 ? cut(text, width - 3) + "..." : cut(text, width);
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
    for (const char c : Json::parse(oneLine(Json(text))).get<std::string>()) {
        const unsigned char code = static_cast<unsigned char>(c);
        if (c == '\t') {
            shown += "    ";
        } else if ((code < 0x20 && c != '\n') || code == 0x7F) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", code);
            shown += escaped;
        } else {
            shown += c;
        }
    }
    return shown;
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

} // namespace kzfi_simhost
