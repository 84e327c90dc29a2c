// Writing metrics to a file, once or again and again.

#ifndef TOOLS_LAUNCHLOG_REPORT_METRICS_OUTPUT_H
#define TOOLS_LAUNCHLOG_REPORT_METRICS_OUTPUT_H

#include <functional>
#include <string>
#include <vector>

#include "tools/launchlog_report/options.h"

namespace launchlog_report {

// Reads the logs and writes the metrics to the file that the options name; with --follow
// again whenever they change, and every 15 seconds, until a signal ends that. The list of
// the options, if any, can be read. Passes what goes wrong to `complain`. Returns the
// exit code of the program.
int WriteMetrics(std::vector<std::string> const& paths, Options const& options,
                 std::function<void(std::string const& problem)> const& complain);

}  // namespace launchlog_report

#endif
