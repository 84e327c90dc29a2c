// The items of a launch list, and which process executes which.

#ifndef TOOLS_RUNNING_LAUNCH_ITEMS_H
#define TOOLS_RUNNING_LAUNCH_ITEMS_H

#include <string>
#include <vector>

#include "platform/process_table.h"

namespace running {

// An item as the launcher reads it.
struct LaunchItem {
    // Its name, which no other item of the list has.
    std::string name;
    // The path of its program; empty if it has none.
    std::string program;
    // The arguments that its program gets, from its path on. Empty if it has no program,
    // or if a child that reads them ends abnormally.
    std::vector<std::string> arguments;
};

// The items of a list.
struct LaunchItems {
    // In the order of the list. Of two items with one name only the later is there: it
    // replaces the earlier in the launcher, too.
    std::vector<LaunchItem> items;
    // Why not all items are known, in words; empty if all are.
    std::string problem;
    // Items of the list that are not in `items`, each in words.
    std::vector<std::string> skipped = {};
};

// Reads the list by the launcher's rules.
LaunchItems ReadLaunchItems(std::string const& path);

// Returns true if the process executes the item's program with the item's arguments. If
// the program is a script, its interpreter stands before it.
bool ExecutesItem(ProcessInfo const& process, LaunchItem const& item);

// Returns true if the item is a shell that replaces itself by the command of the process:
// "exec /opt/bin/agent --port 7000" stands in one of the item's arguments.
bool ReplacesItselfBy(LaunchItem const& item, ProcessInfo const& process);

}  // namespace running

#endif
