#include "tools/launchlist_check/item_keys.h"

#include <algorithm>
#include <cstddef>

#include "tools/common/text.h"

namespace launchlist_check {

bool IsItemNumber(std::string const& key) {
    return tools::IsDigits(key) && (key.size() == 1 || key.front() != '0');
}

bool LooksLikeNumber(std::string const& key) {
    std::size_t const begin = std::min(key.find_first_not_of(" \t\r\n"), key.size());
    std::string digits = key.substr(begin);
    digits.erase(digits.find_last_not_of(" \t\r\n") + 1);
    if (!digits.empty() && (digits[0] == '+' || digits[0] == '-')) {
        digits.erase(0, 1);
    }
    std::size_t const point = std::min(digits.find('.'), digits.size());
    std::string const fraction = digits.substr(std::min(point + 1, digits.size()));
    return tools::IsDigits(digits.substr(0, point)) &&
           (fraction.empty() || tools::IsDigits(fraction));
}

bool IsSmallerNumber(std::string const& a, std::string const& b) {
    return a.size() != b.size() ? a.size() < b.size() : a < b;
}

}  // namespace launchlist_check
