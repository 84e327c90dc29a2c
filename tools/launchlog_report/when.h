// Times as people write them, and ranges of time.
//
//   ParseWhen("2 hours ago", now)         -> two hours before now
//   ParseWhen("-1h 30min", now)           -> an hour and a half before now
//   ParseWhen("yesterday", now)           -> midnight at the beginning of yesterday
//   ParseWhen("2026-11-21", now)          -> midnight at the beginning of that day
//   ParseWhen("11:53", now)               -> that minute of today
//   ParseWhen("2026-11-21T11:53:38Z", now)
//
// Days, and times of day without a zone, are those of the local time.

#ifndef TOOLS_LAUNCHLOG_REPORT_WHEN_H
#define TOOLS_LAUNCHLOG_REPORT_WHEN_H

#include <optional>
#include <string>

#include "tools/launchlog_report/log_line.h"
#include "tools/launchlog_report/time_stamp.h"

namespace launchlog_report {

// Returns the time that the text means, as journalctl takes it:
//
// - a timestamp (see ParseTime), also without seconds, without a time of day or, for
//   today, without a date;
// - "now", and "today", "yesterday" or "tomorrow", which are midnights;
// - a span before `now`: "2 hours ago" or "-2h"; one after it: "+2h";
// - "@1795262018", seconds since 1970.
//
// A span is one or more numbers, each with a unit: s, min, h, d, w, M (months of 30.44
// days), y (years of 365.25 days), or their names, such as "seconds". Without a unit it
// is seconds. Returns std::nullopt for another text.
std::optional<Time> ParseWhen(std::string const& text, Time now);

// The range of times that a report covers; both ends belong to it.
struct TimeRange {
    std::optional<Time> since;
    std::optional<Time> until;

    bool IsGiven() const { return since || until; }

    // Returns whether a line belongs to the range or comes before it. What is before the
    // range tells in which state an item is when it begins.
    bool IsNotAfter(LogEvent const& event) const {
        return !IsGiven() || (event.time && (!until || *event.time <= *until));
    }

    bool IsNotBefore(Time time) const { return !since || time >= *since; }

    // Returns whether a time belongs to the range. Without a range, any does.
    bool Has(std::optional<Time> const& time) const {
        return !IsGiven() ||
               (time && (!since || *time >= *since) && (!until || *time <= *until));
    }
};

}  // namespace launchlog_report

#endif
