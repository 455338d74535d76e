// A run's report: as text for people while it goes on, and as JSON and JUnit files for machines.
#ifndef KZFI_SIMHOST_REPORT_H
#define KZFI_SIMHOST_REPORT_H

#include <map>
#include <ostream>
#include <set>
#include <string>

#include "run.h"

namespace kzfi_simhost {

/// Writes a line for every stage, what was expected and what came where they differ, and a summary.
class ConsoleReport {
  public:
    ConsoleReport(std::ostream& out, bool withColours) : stream(out), colours(withColours) {}

    void begin(const Scenario& scenario, const HostRoot& root);
    void stage(const Stage& stage);
    void end(const RunReport& report);
    /// The nodes, those that lie below others indented under them.
    void tree(const RunReport& report);

  private:
    using NodesByName = std::map<std::string, const Json*>;

    std::string coloured(const char* code, const std::string& text) const;
    void label(const char* name, const std::string& value);
    void difference(const Mismatch& mismatch);
    void branch(const NodesByName& nodes, const Json& node, std::size_t depth,
                std::set<std::string>& shown);

    std::ostream& stream;
    const bool colours;
    std::string scenarioFile;
    std::size_t titleWidth = 0;
};

// The headings of what a provider said last.
inline constexpr char LAST_TRACE[] = "last lines of the trace:";
inline constexpr char LAST_OUTPUT[] = "last lines of the provider's output:";

/// An empty line, the heading and the lines, made harmless; nothing without lines.
void writeExcerpt(std::ostream& out, const std::string& heading,
                  const std::vector<std::string>& lines);

Json toJson(const RunReport& report);
std::string toJunit(const RunReport& report);

/// The text of a JSON report file.
std::string jsonText(const Json& report);

/// Writes a report file. Throws CannotRun.
void writeReport(const std::string& path, const std::string& text);

} // namespace kzfi_simhost

#endif
