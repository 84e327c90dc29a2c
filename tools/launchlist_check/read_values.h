// Values of a launch list as the launcher reads them.

#ifndef TOOLS_LAUNCHLIST_CHECK_READ_VALUES_H
#define TOOLS_LAUNCHLIST_CHECK_READ_VALUES_H

#include <json/value.h>

#include <exception>
#include <optional>
#include <string>
#include <utility>

#include "common/json/json_object.h"
#include "launcher/list_rules.h"

namespace launchlist_check {

// Returns what `read`, a function of launcher/list_rules.h, reads of `value`;
// std::nullopt if it throws, that is if the launcher cannot read it.
//
//   AsRead(item, launch_list::Name)                  -> "agent"
//   AsRead(item, launch_list::Argument, number)      -> "--port"
//
// A member that is missing may be added to `value` as null.
template <typename Read, typename... Arguments>
auto AsRead(Json::Value& value, Read const& read, Arguments... arguments)
    -> std::optional<decltype(read(std::declval<JsonObject&>(), arguments...))> {
    try {
        JsonObject handle(value);
        return read(handle, arguments...);
    } catch (std::exception const&) {
        return std::nullopt;
    }
}

// Returns the name of an item for findings about it; an empty string if it has none that
// is a string.
inline std::string NameOf(Json::Value const& item) {
    return item.isObject() && item["name"].isString() ? item["name"].asString() : "";
}

}  // namespace launchlist_check

#endif
