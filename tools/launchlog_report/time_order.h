// The order of rotated files by the times in them.

#ifndef TOOLS_LAUNCHLOG_REPORT_TIME_ORDER_H
#define TOOLS_LAUNCHLOG_REPORT_TIME_ORDER_H

#include <string>
#include <vector>

namespace launchlog_report {

// Orders files by the time of the first launcher's line in each. A file without a time
// stays after the one before it.
std::vector<std::string> InOrderOfTimes(std::vector<std::string> const& files);

}  // namespace launchlog_report

#endif
