#include "common/strings/split.h"

namespace {

template <typename Text, typename Regex>
std::vector<Text> SplitAtMatches(Text const& text, Regex const& separator) {
    using Pieces = std::regex_token_iterator<typename Text::const_iterator>;
    int const between_matches = -1;
    return {Pieces(text.begin(), text.end(), separator, between_matches), Pieces()};
}

}  // namespace

std::vector<std::string> split(std::string const& text, std::regex const& separator) {
    return SplitAtMatches(text, separator);
}

std::vector<std::wstring> split(std::wstring const& text, std::wregex const& separator) {
    return SplitAtMatches(text, separator);
}
