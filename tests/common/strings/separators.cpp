#include "tests/common/strings/separators.h"

std::regex Separator(std::string const& pattern, std::regex::flag_type grammar) {
    return std::regex(pattern, grammar);
}

std::wregex Separator(std::wstring const& pattern) {
    return std::wregex(pattern);
}
