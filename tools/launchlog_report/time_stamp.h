// Points in time, as milliseconds since 1970-01-01T00:00:00Z.
//
//   ParseTimeStamp("2026-11-21T11:53:38.837Z ERROR 181 ...")  -> 1795262018837
//   ParseTimeStamp("[2026/11/21 12:53:38 +0100] ...")         -> 1795262018000
//   ParseTimeStamp("11:53 ERROR ...")                         -> std::nullopt
//   FormatTime(1795262018837)                                 -> "2026-11-21T11:53:38Z"

#ifndef TOOLS_LAUNCHLOG_REPORT_TIME_STAMP_H
#define TOOLS_LAUNCHLOG_REPORT_TIME_STAMP_H

#include <optional>
#include <string>

namespace launchlog_report {

// Milliseconds.
using Time = long long;

// Returns the timestamp at the beginning of the line, where blanks and one bracket may
// stand before it; std::nullopt if there is none.
//
// A timestamp is a date (year, month and day with "-", "/" or "." between them), a "T" or
// blanks, and a time of day to the second. A fraction after "." or "," and a zone ("Z",
// "UTC", "GMT", "+01:00", "-0800", "+01") may follow. Without a zone it is local time.
std::optional<Time> ParseTimeStamp(std::string const& line);

// Returns the time if the whole text is a timestamp, and nothing else; std::nullopt if it
// is not, or if its day does not exist.
std::optional<Time> ParseTime(std::string const& text);

// Returns the time in UTC, in the form of ISO 8601, rounded down to the second. The
// year is 9999 at most.
std::string FormatTime(Time time);

// Returns the time in the same form, with milliseconds: 2026-11-21T11:53:38.837Z.
std::string FormatExactTime(Time time);

// Returns the current time.
Time Now();

}  // namespace launchlog_report

#endif
