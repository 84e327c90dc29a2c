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

// What the command line asks for.
struct Options {
    // The command line as it was read. Its error also tells of wrong values, and of
    // options that cannot be combined.
    tools::CommandLine line;
    // Whether to read on until a signal, and the form of the report.
    bool follow = false;
    bool json = false;
    bool ends = false;
    // The file to write the metrics to; empty for no metrics.
    std::string metrics;
    // The launch list whose items are shown, though they never ended; with `metrics` only
    // launchers of this list count as running. Empty for none.
    std::string list;
    // The file to write the page to; empty for no page.
    std::string html;
    // Whether the exit code tells of marked items.
    bool fail_if_marked = false;
    // The order of the items; std::nullopt for the default of the form.
    std::optional<SortKey> sort;
    // The time to use as the current one; std::nullopt for that of the clock.
    std::optional<Time> now;
    // The range of --since and --until.
    TimeRange range;
    // The paths of the logs, as they were named.
    std::vector<std::string> logs;
};

// Reads the arguments of main.
Options ReadOptions(int argc, char* const* argv);

// Returns the text of --help.
std::string HelpText();

}  // namespace launchlog_report

#endif
