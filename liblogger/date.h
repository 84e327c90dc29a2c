// The calendar of the log's timestamps.

#ifndef LIBLOGGER_DATE_H
#define LIBLOGGER_DATE_H

namespace liblogger {

struct Date {
    int year;
    int month;
    int day;
};

// Returns the Gregorian date `days` days after 1970-01-01; `days` is not negative.
//
// gmtime_r would do the same, but some C libraries take a lock in it. A fork can leave
// that lock held for ever in the child.
Date DateOfDay(long long days) noexcept;

}  // namespace liblogger

#endif
