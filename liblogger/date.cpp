#include "liblogger/date.h"

namespace liblogger {

// Counts years from March, so that the leap day is the last day of a year, and in eras of
// 400 years, which all have 146,097 days.
Date DateOfDay(long long days) noexcept {
    long long const shifted = days + 719468;  // from 0000-03-01
    long long const era = shifted / 146097;
    long long const day_of_era = shifted % 146097;
    long long const year_of_era =
        (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
    long long const day_of_year =
        day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    long long const month = (5 * day_of_year + 2) / 153;  // 0 is March
    return {static_cast<int>(era * 400 + year_of_era + (month >= 10 ? 1 : 0)),
            static_cast<int>(month < 10 ? month + 3 : month - 9),
            static_cast<int>(day_of_year - (153 * month + 2) / 5 + 1)};
}

}  // namespace liblogger
