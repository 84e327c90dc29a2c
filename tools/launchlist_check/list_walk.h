// The walk through the items of a launch list, as the launcher makes it.

#ifndef TOOLS_LAUNCHLIST_CHECK_LIST_WALK_H
#define TOOLS_LAUNCHLIST_CHECK_LIST_WALK_H

#include <json/value.h>

#include <string>

#include "tools/launchlist_check/check_result.h"
#include "tools/launchlist_check/list_report.h"

namespace launchlist_check {

// Where the walk ends, and what it starts.
struct WalkResult {
    // What becomes of the launcher.
    Outcome outcome = Outcome::Runs;
    // How many items the launcher supervises; 0 unless it runs.
    std::size_t programs = 0;
    // The first number that is missing. The launcher goes no further than that.
    std::string end = {};
};

// Checks the items of `list`, an object, and adds what is found to `report`. With
// `asks_machine` it also asks whether the user may have as many processes as they need.
WalkResult WalkItems(Json::Value& list, bool asks_machine, ListReport& report);

}  // namespace launchlist_check

#endif
