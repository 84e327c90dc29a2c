// Printing a report whenever it changes.

#ifndef TOOLS_LAUNCHLOG_REPORT_FOLLOW_H
#define TOOLS_LAUNCHLOG_REPORT_FOLLOW_H

#include <functional>
#include <string>

#include "tools/launchlog_report/table.h"

namespace launchlog_report {

// Returns the report as it is now, fitted into this space.
using ReportMaker = std::function<std::string(Space const& space)>;

// Prints the report whenever it changes, until SIGINT or SIGTERM. Returns false if
// something could not be written, after a message in the name of `program`.
//
// On a terminal (`on_screen`) each report replaces the last one and fits the screen, and
// is printed again when the terminal's size changes. Elsewhere `gap` is printed between
// two reports.
bool Follow(ReportMaker const& make, bool on_screen, std::string const& gap,
            std::string const& program);

}  // namespace launchlog_report

#endif
