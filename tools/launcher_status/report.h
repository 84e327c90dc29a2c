// What launcher-status prints.

#ifndef TOOLS_LAUNCHER_STATUS_REPORT_H
#define TOOLS_LAUNCHER_STATUS_REPORT_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "tools/launchlog_report/table.h"
#include "tools/running/item_status.h"
#include "tools/running/launcher.h"

namespace launcher_status {

// What the log says about an item since the start of its launcher.
struct ItemLog {
    // How often its program ended and was started again.
    long long restarts = 0;
    // How its program last ended, in words; empty if it has not.
    std::string last_end;
};

// A launcher and what its items do.
struct LauncherReport {
    running::Launcher launcher;
    running::LauncherStatus status;
    // By the names of the items. An item is missing if the log has no line about it.
    std::map<std::string, ItemLog> logs;
    // Why not all items are known, in words; empty if they are.
    std::string problem;
    // What else there is to say about it; empty if nothing.
    std::string note;
};

// What launchers with the list at `list` have left when they died.
struct Leftovers {
    // The path of the list.
    std::string list;
    // The programs of items. All are left behind.
    std::vector<running::ItemStatus> items;
    // How many links of chains.
    std::size_t links = 0;

    bool IsEmpty() const { return items.empty() && links == 0; }
};

// All that is printed at a time.
struct Report {
    // The oldest launcher first.
    std::vector<LauncherReport> launchers;
    std::vector<Leftovers> left;
};

// Returns the exit code that the report stands for: 0 if all items run, 1 if some do not,
// 3 without a launcher, 4 if nothing can be told.
int ExitCodeOf(Report const& report);

// Returns a paragraph with a line for each item, for each launcher and for what was left.
// "!" marks items that do not run, and "?" those of which nothing is known. Lines are cut
// to the columns of `space`.
std::string ToTable(Report const& report, launchlog_report::Space const& space);

// Returns the report as one JSON document on one line, in ASCII, with a line feed.
std::string ToJson(Report const& report);

}  // namespace launcher_status

#endif
