// The report for people.

#ifndef TOOLS_LAUNCHLOG_REPORT_TABLE_H
#define TOOLS_LAUNCHLOG_REPORT_TABLE_H

#include <cstddef>
#include <optional>
#include <string>

#include "tools/launchlog_report/summary.h"

// What a text has to fit into; where there is no number there is no limit.
struct Space {
    std::optional<std::size_t> columns;
    std::optional<std::size_t> lines;
};

// Returns a table with a line for each item, marked ones with "!", and below it what the
// launchers said about themselves.
//
// If there are fewer columns than it needs, times become shorter, then columns are left
// out, and names and states end with an ellipsis. If there are fewer lines, what stands
// below the table goes first, then items without a mark, and a line tells how many; the
// title stays.
std::string ToTable(Report const& report, Space const& space = {});

#endif
