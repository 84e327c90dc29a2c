// Cutting text into pieces at the matches of a regular expression.
//
//   split("a//b/", std::regex("/"))  -> {"a", "", "b"}
//   split("/a",    std::regex("/"))  -> {"", "a"}
//   split("",      std::regex("/"))  -> {""}

#ifndef COMMON_STRINGS_SPLIT_H
#define COMMON_STRINGS_SPLIT_H

#include <regex>
#include <string>
#include <vector>

// Cuts `text` at every match of `separator` and returns what lies between the matches,
// in order. A piece before a match is kept even if it is empty; the piece after the last
// match is kept only if it is not. Text without a match, the empty text included, is
// one piece.
//
// The standard library's matcher recurses for repetitions: an expression such as ".*"
// on a text of some 100,000 characters can exhaust the stack.
std::vector<std::string> split(std::string const& text, std::regex const& separator);
std::vector<std::wstring> split(std::wstring const& text, std::wregex const& separator);

#endif
