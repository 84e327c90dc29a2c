#ifndef TESTS_TOOLS_LAUNCHLOG_REPORT_NOON_H
#define TESTS_TOOLS_LAUNCHLOG_REPORT_NOON_H

#include "tools/launchlog_report/time_stamp.h"

namespace launchlog_report {

// The time of most events of the tests: noon of 2026-11-21, UTC.
inline constexpr Time kNoon = 1795262400000;

}  // namespace launchlog_report

#endif
