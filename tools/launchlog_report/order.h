// The order of the items of a report.
//
//   NaturallyLess("item2", "item10")  -> true

#ifndef TOOLS_LAUNCHLOG_REPORT_ORDER_H
#define TOOLS_LAUNCHLOG_REPORT_ORDER_H

#include <optional>
#include <string>
#include <vector>

#include "tools/launchlog_report/summary.h"

enum class SortKey {
    Marked,  // the marked ones first
    Name,
    Restarts,   // the most first
    PerMinute,  // the most first
    FirstEnd,   // the newest first
    LastEnd,    // the newest first
};

// Returns the key of this name: "marked", "name", "restarts", "per-minute", "first-end"
// or "last-end"; std::nullopt if there is none.
std::optional<SortKey> ParseSortKey(std::string const& name);

// Orders names as people count: runs of digits by their numbers, everything else by
// bytes.
bool NaturallyLess(std::string const& a, std::string const& b);

// Orders rows by the key. Rows without a value come last, equal ones by their names.
void Sort(std::vector<Row>& rows, SortKey key);

#endif
