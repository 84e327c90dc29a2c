// Metrics in the text format of Prometheus, version 0.0.4, for the textfile collector of
// node_exporter.

#ifndef TOOLS_LAUNCHLOG_REPORT_METRICS_H
#define TOOLS_LAUNCHLOG_REPORT_METRICS_H

#include <map>
#include <optional>
#include <string>

#include "tools/launchlog_report/line_counter.h"
#include "tools/launchlog_report/summary.h"

namespace launchlog_report {

// What is true of an item now.
struct ItemState {
    bool is_running = false;
    bool is_given_up = false;
    bool has_no_program = false;
    bool is_chain = false;
};

// All that the text has.
struct Metrics {
    // The totals, and what the next run of this program needs.
    Carried counted;
    bool is_launcher_up = false;
    // By the names of the items, in UTF-8. Those that are only in the totals have no
    // state now.
    std::map<std::string, ItemState> states;
};

// Returns the text. It also holds, in comments, the positions in the logs, and which
// launchers have given items up.
std::string ToText(Metrics const& metrics);

// Returns the metric that tells when the text is written, to be added to it.
std::string WrittenAt(Time time);

// Reads back from such a text what the next run needs. An empty text has nothing.
// Returns std::nullopt if it is another text.
std::optional<Carried> ReadMetrics(std::string const& text);

}  // namespace launchlog_report

#endif
