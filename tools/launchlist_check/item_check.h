// The check of one item of a launch list.

#ifndef TOOLS_LAUNCHLIST_CHECK_ITEM_CHECK_H
#define TOOLS_LAUNCHLIST_CHECK_ITEM_CHECK_H

#include <json/value.h>

#include <optional>
#include <string>

#include "tools/launchlist_check/list_report.h"
#include "tools/launchlist_check/program_check.h"

namespace launchlist_check {

// What the launcher does at an item. If all is false, it skips the item.
struct ItemResult {
    // It supervises the item, under the name that it reads.
    std::optional<std::string> name = {};
    // It goes no further in the list, and stops what it has started.
    bool ends_walk = false;
    // It supervises the item, and its process then ends abnormally.
    bool aborts = false;
    // What launch-with, as the item's program, holds and no second one can; empty if the
    // program is another one.
    std::string lock = {};
};

// Checks the item with the key `number` and adds what is found to `report`.
// `after_started` says that the launcher has started an item before. `programs` is null
// if the machine is not to be asked.
ItemResult CheckItem(Json::Value& item, std::string const& number, bool after_started,
                     ProgramCheck* programs, ListReport& report);

}  // namespace launchlist_check

#endif
