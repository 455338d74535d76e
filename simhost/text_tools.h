// Texts of a provider made fit to be shown.
#ifndef KZFI_SIMHOST_TEXT_TOOLS_H
#define KZFI_SIMHOST_TEXT_TOOLS_H

#include <cstdint>
#include <string>
#include <vector>

namespace kzfi_simhost {

/// Columns, not bytes, that a UTF-8 text takes on a terminal.
std::size_t lengthOf(const std::string& text);

/// The text with blanks up to width columns, or cut to it with "..." at its end.
std::string fitted(const std::string& text, std::size_t width);

/// Whether text begins with beginning.
bool startsWith(const std::string& text, const std::string& beginning);

/// The lines of a text; one empty line for the empty text.
std::vector<std::string> linesOf(const std::string& text);

/// The text as valid UTF-8 with control characters other than line ends as "\xNN", U+FFFE and
/// U+FFFF as "\uNNNN", so that it can neither command a terminal nor break an XML file. Tabs become
/// blanks.
std::string harmless(const std::string& text);

/// The same with blanks for line ends.
std::string oneRow(const std::string& text);

/// Whether text can be the name of a file in a folder: no folder, and not empty.
bool isFileName(const std::string& text);

/// Two texts next to each other, line by line, each column width columns wide; between lines
/// that differ stands "|". Of lines that differ only beyond width the shared beginning is cut.
std::vector<std::string> sideBySide(const std::string& left, const std::string& right,
                                    std::size_t width);

/// A time for people: "0.4 ms", "1.25 s".
std::string timeText(double seconds);

/// A size for people: "512 B", "1.5 KiB", "64.0 MiB".
std::string sizeText(std::uintmax_t bytes);

} // namespace kzfi_simhost

#endif
