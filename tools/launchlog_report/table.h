// The report for people.

#ifndef TOOLS_LAUNCHLOG_REPORT_TABLE_H
#define TOOLS_LAUNCHLOG_REPORT_TABLE_H

#include <cstddef>
#include <optional>
#include <string>

#include "tools/launchlog_report/summary.h"

namespace launchlog_report {

// What a text has to fit into. Without a number there is no limit.
struct Space {
    std::optional<std::size_t> columns;
    std::optional<std::size_t> lines;
};

// Returns a table with a line for each item, and below it messages of launchers about
// themselves and problems. Marked items have "!".
//
// If there are fewer columns than the table needs, times become shorter, then columns are
// left out, and names and last statuses end with an ellipsis. If there are fewer lines,
// the lines below the items are left out first, then items without a mark, and a line
// tells how many items are missing. The title stays.
std::string ToTable(Report const& report, Space const& space = {});

}  // namespace launchlog_report

#endif
