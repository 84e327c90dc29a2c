// The lines of a table that show items.

#ifndef TOOLS_LAUNCHLOG_REPORT_ITEM_TABLE_H
#define TOOLS_LAUNCHLOG_REPORT_ITEM_TABLE_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/launchlog_report/summary.h"

namespace launchlog_report {

// Returns the title and a line for each row.
//
// If there are fewer columns than the table needs, times become shorter, then columns are
// left out, and names and last statuses end with an ellipsis. Lines may still be too wide
// if even that does not fit. Without a number of columns there is no limit.
std::vector<std::string> MakeItemTable(std::vector<Row const*> const& rows,
                                       std::optional<std::size_t> columns, Time now);

}  // namespace launchlog_report

#endif
