// The check of one item of a launch list.

#ifndef TOOLS_LAUNCHLIST_CHECK_ITEM_CHECK_H
#define TOOLS_LAUNCHLIST_CHECK_ITEM_CHECK_H

#include <json/value.h>

#include <optional>
#include <string>

#include "tools/launchlist_check/findings.h"

struct ItemResult {
    Findings findings;
    // The name as the launcher reads it; nothing if it skips the item or ends there.
    std::optional<std::string> name;
    // The launcher goes no further in the list, and stops what it has started.
    bool ends_walk = false;
    // The launcher's process ends abnormally.
    bool aborts = false;
};

// Says whether `key` is a number as the launcher writes it: "0", "7", "10", not "01".
bool IsItemNumber(std::string const& key);

// Says whether a person would take `key` for a number: "01", "+1", " 1", "1.0", and "1".
bool LooksLikeNumber(std::string const& key);

// Returns the member's place among the words of findings: "a string", "null", ...
std::string TypeName(Json::Value const& value);

// Checks the item, which is left as it is. Looks at the program's file, too.
ItemResult CheckItem(Json::Value& item);

#endif
