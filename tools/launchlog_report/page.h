// The report as a page for a browser.

#ifndef TOOLS_LAUNCHLOG_REPORT_PAGE_H
#define TOOLS_LAUNCHLOG_REPORT_PAGE_H

#include <string>
#include <vector>

#include "tools/launchlog_report/summary.h"
#include "tools/launchlog_report/timeline.h"

namespace launchlog_report {

// Returns the page, which is one HTML document that loads nothing. It is the template
// page.html, filled in. `logs` are the paths of the logs by their numbers, for the
// reader.
//
// The browser runs only the template's script: the page names it by a random number. So
// what a name of an item holds is shown, and never run.
std::string ToPage(Report const& report, Timeline const& timeline,
                   std::vector<std::string> const& logs);

}  // namespace launchlog_report

#endif
