// The command line of launchlog-report.

#ifndef TOOLS_LAUNCHLOG_REPORT_OPTIONS_H
#define TOOLS_LAUNCHLOG_REPORT_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "tools/common/command_line.h"
#include "tools/launchlog_report/order.h"
#include "tools/launchlog_report/time_stamp.h"
#include "tools/launchlog_report/when.h"

namespace launchlog_report {

struct Options {
    // The command line as it was read. Its error also tells of wrong values, and of
    // options that cannot be combined.
    tools::CommandLine line;
    bool follow = false;
    bool json = false;
    bool ends = false;
    // The file to write the metrics to; empty for no metrics.
    std::string metrics;
    // The launch list whose items are shown, though they never ended; empty for none.
    std::string list;
    // The file to write the page to; empty for no page.
    std::string html;
    bool fail_if_marked = false;
    std::optional<SortKey> sort;
    // The time to use as the current one; std::nullopt for that of the clock.
    std::optional<Time> now;
    TimeRange range;
    std::vector<std::string> logs;
};

// Reads the arguments of main.
Options ReadOptions(int argc, char* const* argv);

// Returns the text of --help.
std::string HelpText();

}  // namespace launchlog_report

#endif
