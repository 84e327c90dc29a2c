// The walk through the items of a launch list, as the launcher makes it.

#ifndef TOOLS_LAUNCHLIST_CHECK_LIST_WALK_H
#define TOOLS_LAUNCHLIST_CHECK_LIST_WALK_H

#include <json/value.h>

#include <string>

#include "tools/launchlist_check/check_result.h"
#include "tools/launchlist_check/list_report.h"

struct WalkResult {
    Outcome outcome = Outcome::Runs;
    // How many items the launcher supervises; 0 unless it runs.
    std::size_t programs = 0;
    // The first number that is missing, where the walk ends at the latest.
    std::string end = {};
};

// Checks the items of `list`, an object, and adds what is found to `report`. If the
// machine is asked, also whether it lets its user have so many processes.
WalkResult WalkItems(Json::Value& list, bool asks_machine, ListReport& report);

#endif
