// The report for machines.

#ifndef TOOLS_LAUNCHLOG_REPORT_JSON_H
#define TOOLS_LAUNCHLOG_REPORT_JSON_H

#include <string>

#include "tools/launchlog_report/summary.h"

// Returns one JSON document on one line, in ASCII, and its line feed.
std::string ToJson(Report const& report);

#endif
