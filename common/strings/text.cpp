#include "common/strings/text.h"

#include <algorithm>

bool ends_with(std::string const& text, std::string const& suffix) {
    return suffix.size() <= text.size() &&
           std::equal(suffix.rbegin(), suffix.rend(), text.rbegin());
}
