// The command line of launchlog-report.

#ifndef TOOLS_LAUNCHLOG_REPORT_OPTIONS_H
#define TOOLS_LAUNCHLOG_REPORT_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "tools/launchlog_report/order.h"
#include "tools/launchlog_report/time_stamp.h"

struct Options {
    bool help = false;
    bool version = false;
    bool follow = false;
    bool json = false;
    bool fail_if_marked = false;
    std::optional<SortKey> sort;
    // Without a time, now is always now.
    std::optional<Time> now;
    std::vector<std::string> logs;
    // What is wrong with the command line, in words; empty if nothing is.
    std::string error;
};

Options ReadOptions(int argc, char const* const* argv);

// Returns the text of --help.
std::string HelpText();

#endif
