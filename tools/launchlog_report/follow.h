// Printing a report again and again.

#ifndef TOOLS_LAUNCHLOG_REPORT_FOLLOW_H
#define TOOLS_LAUNCHLOG_REPORT_FOLLOW_H

#include <functional>
#include <string>

#include "tools/launchlog_report/table.h"

// Returns the report as it is now, in this space.
using ReportMaker = std::function<std::string(Space const& space)>;

// Prints the report whenever it changes, until SIGINT or SIGTERM. On a terminal
// (`on_screen`) each one is in the place of the last and fits the screen, and is printed
// again if the terminal's size changes; else `gap` is between two. Returns false if
// something could not be written, after a message in the name of `program`.
bool Follow(ReportMaker const& make, bool on_screen, std::string const& gap,
            std::string const& program);

#endif
