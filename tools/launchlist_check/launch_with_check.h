// The check of an item whose program is launch-with: it sees through to the real program.

#ifndef TOOLS_LAUNCHLIST_CHECK_LAUNCH_WITH_CHECK_H
#define TOOLS_LAUNCHLIST_CHECK_LAUNCH_WITH_CHECK_H

#include <json/value.h>

#include <string>
#include <vector>

#include "tools/launchlist_check/item_report.h"
#include "tools/launchlist_check/program_check.h"

namespace launchlist_check {

// Returns true if the path names launch-with, wherever that is installed.
bool IsLaunchWith(std::string const& program);

// Checks what launch-with makes of its argument vector `arguments`, and adds what is
// found to `report`. `programs` is null if the machine is not to be asked. Returns what
// only one item at a time can hold, as launch-with names it; an empty string if
// launch-with would not get so far.
std::string CheckLaunchWith(Json::Value const& item, std::vector<std::string> arguments,
                            ProgramCheck* programs, ItemReport& report);

}  // namespace launchlist_check

#endif
