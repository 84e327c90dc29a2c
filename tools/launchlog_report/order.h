// The order of the items of a report.
//
//   NaturallyLess("item2", "item10")  -> true

#ifndef TOOLS_LAUNCHLOG_REPORT_ORDER_H
#define TOOLS_LAUNCHLOG_REPORT_ORDER_H

#include <optional>
#include <string>
#include <vector>

#include "tools/launchlog_report/summary.h"

namespace launchlog_report {

// What the rows are ordered by.
enum class SortKey {
    Marked,     // the marked ones first
    Name,       // item2 before item10
    Restarts,   // the most first
    PerMinute,  // the most first
    FirstEnd,   // the newest first
    LastEnd,    // the newest first
};

// Returns the key with this name: "marked", "name", "restarts", "per-minute", "first-end"
// or "last-end"; std::nullopt if no key has it.
std::optional<SortKey> ParseSortKey(std::string const& name);

// Returns whether `a` comes before `b` if digits are compared as numbers, and everything
// else by bytes.
bool NaturallyLess(std::string const& a, std::string const& b);

// Sorts rows by the key. Rows without a value come last, and equal ones are in the order
// of their names.
void Sort(std::vector<Row>& rows, SortKey key);

}  // namespace launchlog_report

#endif
