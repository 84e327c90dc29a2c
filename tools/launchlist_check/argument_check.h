// The check of the arguments of one item.

#ifndef TOOLS_LAUNCHLIST_CHECK_ARGUMENT_CHECK_H
#define TOOLS_LAUNCHLIST_CHECK_ARGUMENT_CHECK_H

#include <json/value.h>

#include <optional>
#include <string>
#include <vector>

#include "tools/launchlist_check/item_report.h"

namespace launchlist_check {

// Checks the members "argc" and "args" of the item, which is an object. Returns the
// argument vector that the launcher makes for `program`, which comes first in it.
// Returns std::nullopt if the launcher's child ends abnormally instead.
std::optional<std::vector<std::string>> CheckArguments(Json::Value& item,
                                                       std::string const& program,
                                                       ItemReport& report);

}  // namespace launchlist_check

#endif
