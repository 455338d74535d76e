// Pieces that the report files of runs and of checks are made of.
#ifndef KZFI_SIMHOST_REPORT_TEXT_H
#define KZFI_SIMHOST_REPORT_TEXT_H

#include <string>
#include <vector>

namespace kzfi_simhost {

/// The text as element content or attribute value of XML.
std::string xmlText(const std::string& text);
/// ` name="value"`.
std::string xmlAttribute(const char* name, const std::string& value);
/// A time as JUnit files have it.
std::string xmlSeconds(double seconds);
/// The lines with a line end behind each.
std::string joinedLines(const std::vector<std::string>& lines);

} // namespace kzfi_simhost

#endif
