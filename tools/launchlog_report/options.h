// The command line of launchlog-report.

#ifndef TOOLS_LAUNCHLOG_REPORT_OPTIONS_H
#define TOOLS_LAUNCHLOG_REPORT_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "tools/common/command_line.h"
#include "tools/launchlog_report/order.h"
#include "tools/launchlog_report/time_stamp.h"

struct Options {
    // As it was read. Its error also tells of values and options that do not fit.
    tools::CommandLine line;
    bool follow = false;
    bool json = false;
    bool fail_if_marked = false;
    std::optional<SortKey> sort;
    // Without a time, now is always now.
    std::optional<Time> now;
    std::vector<std::string> logs;
};

Options ReadOptions(int argc, char* const* argv);

// Returns the text of --help.
std::string HelpText();

#endif
