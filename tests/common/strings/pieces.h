// What tests of functions that cut text share.

#ifndef TESTS_COMMON_STRINGS_PIECES_H
#define TESTS_COMMON_STRINGS_PIECES_H

#include <string>
#include <vector>

using Pieces = std::vector<std::string>;
using WidePieces = std::vector<std::wstring>;

// A transform that leaves each piece as it is.
inline std::string Same(std::string& piece) {
    return piece;
}

// The same for wide text.
inline std::wstring WideSame(std::wstring& piece) {
    return piece;
}

// Returns ASCII text as wide text.
inline std::wstring Wide(std::string const& ascii) {
    return std::wstring(ascii.begin(), ascii.end());
}

#endif
