// The local time of one traced line, in the two forms that the log needs.
#ifndef KZFI_DIAG_TRACETIME_H
#define KZFI_DIAG_TRACETIME_H

#include <ctime>
#include <string>

namespace kzfi_pdk_4_4 {

/// The moment at which it was made.
class TraceTime {
  public:
    TraceTime();

    /// Date and time with microseconds, as ACE::timestamp writes them ("2026-11-20
    /// 19:53:51.114810"); "<time error>" when there is no local time.
    const char* stamp() const { return text; }

    /// MMDDYY as a number.
    int day() const {
        return ((local.tm_mon + 1) * 100 + local.tm_mday) * 100 + local.tm_year % 100;
    }

    /// MMDDYY, as in the names of trace files.
    std::string date() const;

  private:
    struct tm local;
    char text[32];
};

} // namespace kzfi_pdk_4_4

#endif
