#include "tools/launchlist_check/item_report.h"

#include "tools/launchlist_check/json_values.h"

std::string const kChain = "a chain of processes grows, one more every 50 ms";
std::string const kChildAborts =
    "every child ends abnormally before it runs the program, and the next one comes 50 "
    "ms later";

void ItemReport::CheckText(Json::Value const& value, std::string const& read_as,
                           std::string const& what, std::string const& kind) {
    if (!value.isString()) {
        Warning(kind, value,
                what + " is " + TypeName(value) + ": the launcher takes it as " +
                    Quote(read_as));
    } else if (value.asString() != read_as) {
        Warning("zero-character", value,
                what + " is cut at its zero character to " + Quote(read_as));
    }
}
