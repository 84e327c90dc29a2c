#include "tools/launchlist_check/item_report.h"

#include "tools/launchlist_check/message.h"

namespace launchlist_check {

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

}  // namespace launchlist_check
