// The report of a run of checks: for people while it goes on, and as files for machines.
#ifndef KZFI_SIMHOST_CHECK_REPORT_H
#define KZFI_SIMHOST_CHECK_REPORT_H

#include <ostream>
#include <string>

#include "check_run.h"
#include "json.h"

namespace kzfi_simhost {

/// Writes a line for every check, a bar in between when there is a terminal to show it on, and a
/// summary that says what to do about each failure.
class CheckConsole {
  public:
    /// columns: of the terminal that out leads to; 0 when it leads to none.
    CheckConsole(std::ostream& out, bool withColours, std::size_t columns)
        : stream(out),
          colours(withColours),
          width(columns) {}

    void begin(const Check& check, std::size_t index, std::size_t count);
    void end(const CheckResult& result);
    void summary(const CheckReport& report);

  private:
    std::string coloured(const char* code, const std::string& text) const;
    void clearBar();
    void explain(const CheckResult& result);

    std::ostream& stream;
    const bool colours;
    const std::size_t width;
    std::size_t shown = 0; ///< columns of the bar that stands there
};

/// Names and rules.
void listChecks(std::ostream& out, const std::vector<const Check*>& selected);

Json toJson(const CheckReport& report);
std::string toJunit(const CheckReport& report);

} // namespace kzfi_simhost

#endif
