// The report for machines.

#ifndef TOOLS_LAUNCHLOG_REPORT_JSON_H
#define TOOLS_LAUNCHLOG_REPORT_JSON_H

#include <json/forwards.h>

#include <string>

#include "tools/launchlog_report/ends.h"
#include "tools/launchlog_report/summary.h"

namespace launchlog_report {

// Returns the report as one JSON document on one line, in ASCII, with a line feed.
std::string ToJson(Report const& report);

// Returns an item of the document.
Json::Value ToValue(Row const& row);

// Returns an end as a JSON object on one line, in ASCII, with a line feed.
std::string ToJson(ProgramRunEnd const& end);

}  // namespace launchlog_report

#endif
