// What the report prints.

#ifndef TOOLS_LAUNCHLOG_REPORT_OUTPUT_H
#define TOOLS_LAUNCHLOG_REPORT_OUTPUT_H

#include <string>
#include <vector>

#include "tools/launchlog_report/summary.h"

// Returns a table with a line for each item, those that restart often marked with "!".
std::string ToTable(std::vector<Row> const& rows);

// Returns one JSON document on one line, in ASCII, and its line feed.
std::string ToJson(std::vector<Row> const& rows);

#endif
