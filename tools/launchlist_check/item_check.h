// The check of one item of a launch list.

#ifndef TOOLS_LAUNCHLIST_CHECK_ITEM_CHECK_H
#define TOOLS_LAUNCHLIST_CHECK_ITEM_CHECK_H

#include <json/value.h>

#include <optional>
#include <string>

#include "tools/launchlist_check/list_report.h"
#include "tools/launchlist_check/program_check.h"

struct ItemResult {
    // The name as the launcher reads it; std::nullopt if it skips the item or ends there.
    std::optional<std::string> name = {};
    // The launcher goes no further in the list, and stops what it has started.
    bool ends_walk = false;
    // The launcher's process ends abnormally.
    bool aborts = false;
};

// Checks the item with the key `number`, which is left as it is, and adds what is found
// to `report`. `after_started` says that the launcher has started an item before.
// `programs` is null if the machine is not to be asked.
ItemResult CheckItem(Json::Value& item, std::string const& number, bool after_started,
                     ProgramCheck* programs, ListReport& report);

#endif
