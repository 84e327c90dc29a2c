// The keys of items and of arguments.

#ifndef TOOLS_LAUNCHLIST_CHECK_ITEM_KEYS_H
#define TOOLS_LAUNCHLIST_CHECK_ITEM_KEYS_H

#include <string>

namespace launchlist_check {

// Returns true if `key` is a number as the launcher writes it: "0", "7", "10", not "01".
bool IsItemNumber(std::string const& key);

// Returns true if a person would take `key` for a number: "1", "01", "+1", " 1", "1.0".
bool LooksLikeNumber(std::string const& key);

// Orders item numbers by their values. They may have any number of digits.
bool IsSmallerNumber(std::string const& a, std::string const& b);

}  // namespace launchlist_check

#endif
