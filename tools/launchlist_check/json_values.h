// Values of a launch list as the launcher reads them.

#ifndef TOOLS_LAUNCHLIST_CHECK_JSON_VALUES_H
#define TOOLS_LAUNCHLIST_CHECK_JSON_VALUES_H

#include <json/value.h>

#include <optional>
#include <string>

// Returns what the value is, for a message: "a string", "null", ...
std::string TypeName(Json::Value const& value);

// Returns the name of an item for the findings about it; empty if it has none that is
// text.
std::string NameOf(Json::Value const& item);

// Returns what the launcher reads where it wants text; std::nullopt if that throws.
std::optional<std::string> TextOf(Json::Value& value);

// Returns what the launcher reads where it wants a number; std::nullopt if that throws.
std::optional<int> IntegerOf(Json::Value& value);

#endif
