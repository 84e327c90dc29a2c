// The lines below the items of a table.

#ifndef TOOLS_LAUNCHLOG_REPORT_FOOTER_H
#define TOOLS_LAUNCHLOG_REPORT_FOOTER_H

#include <cstddef>
#include <string>
#include <vector>

#include "tools/launchlog_report/summary.h"

namespace launchlog_report {

// Returns a line about items that are not shown: "  and 3 more items, 1 marked".
std::string DescribeHidden(std::size_t hidden, std::size_t marked);

// Returns messages of launchers about themselves, problems, and why items are marked, the
// most important first.
std::vector<std::string> MakeFooter(Report const& report);

}  // namespace launchlog_report

#endif
