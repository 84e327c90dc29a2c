// Questions about text that several tools ask.

#ifndef TOOLS_COMMON_TEXT_H
#define TOOLS_COMMON_TEXT_H

#include <algorithm>
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

}  // namespace tools

#endif
