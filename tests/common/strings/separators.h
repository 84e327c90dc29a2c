// Regular expressions to split at. Each source that compiles one itself takes seconds
// more.

#ifndef TESTS_COMMON_STRINGS_SEPARATORS_H
#define TESTS_COMMON_STRINGS_SEPARATORS_H

#include <regex>
#include <string>

std::regex Separator(std::string const& pattern,
                     std::regex::flag_type grammar = std::regex::ECMAScript);
std::wregex Separator(std::wstring const& pattern);

#endif
