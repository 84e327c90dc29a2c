// Questions about text that several tools ask.

#ifndef TOOLS_COMMON_TEXT_H
#define TOOLS_COMMON_TEXT_H

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>

namespace tools {

// Returns true for '0' to '9', whatever the locale.
inline bool IsDigit(char letter) {
    return letter >= '0' && letter <= '9';
}

// Returns true if `text` is one digit or more, and nothing else.
inline bool IsDigits(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), IsDigit);
}

// Returns true if `text` begins with `beginning`; every text begins with an empty one.
inline bool BeginsWith(std::string_view text, std::string_view beginning) {
    return text.size() >= beginning.size() &&
           std::equal(beginning.begin(), beginning.end(), text.begin());
}

// Takes a number of at most 18 digits off the beginning of `text`. Returns std::nullopt
// if there is no digit.
inline std::optional<long long> TakeNumber(std::string_view& text) {
    long long number = 0;
    std::size_t digits = 0;
    while (digits < text.size() && digits < 18 && IsDigit(text[digits])) {
        number = number * 10 + (text[digits] - '0');
        ++digits;
    }
    text.remove_prefix(digits);
    return digits > 0 ? std::optional<long long>(number) : std::nullopt;
}

}  // namespace tools

#endif
