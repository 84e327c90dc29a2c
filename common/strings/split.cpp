#include "common/strings/split.h"

#include <sstream>

namespace {

// Cuts as std::regex_token_iterator should. The iterator of some standard libraries loses
// text if the expression matches the empty text.
template <typename Text, typename Regex>
std::vector<Text> SplitAtMatches(Text const& text, Regex const& separator) {
    using Matches = std::regex_iterator<typename Text::const_iterator>;
    std::vector<Text> pieces;
    auto begin = text.begin();
    for (Matches match(begin, text.end(), separator); match != Matches(); ++match) {
        pieces.emplace_back(begin, (*match)[0].first);
        begin = (*match)[0].second;
    }
    // Contract: an empty last piece is dropped, unless it is the only one.
    if (begin != text.end() || pieces.empty()) {
        pieces.emplace_back(begin, text.end());
    }
    return pieces;
}

template <typename Text, typename Transform>
std::vector<Text> SplitAtRuns(Text const& text, Text const& delimiters,
                              Transform const& transform) {
    std::vector<Text> pieces;
    auto begin = text.find_first_not_of(delimiters);
    while (begin != Text::npos) {
        auto const end = text.find_first_of(delimiters, begin);
        Text piece = text.substr(begin, end - begin);
        pieces.push_back(transform(piece));
        begin = text.find_first_not_of(delimiters, end);
    }
    return pieces;
}

template <typename Text, typename Transform>
std::vector<Text> ReadLines(Text const& text, typename Text::value_type line_end,
                            Transform const& transform) {
    std::vector<Text> pieces;
    std::basic_istringstream<typename Text::value_type> stream(text);
    // Otherwise a lack of memory would count as the end of the text.
    stream.exceptions(std::ios_base::badbit);
    // Contract: no piece follows a delimiter at the end, and an empty text has none.
    for (Text piece; std::getline(stream, piece, line_end);) {
        pieces.push_back(transform(piece));
    }
    return pieces;
}

template <typename Text, typename Transform>
std::vector<Text> SplitAtText(Text const& text, Text const& delimiter,
                              Transform const& transform) {
    std::vector<Text> pieces;
    typename Text::size_type begin = 0;
    // Contract: a delimiter at the end is followed by an empty piece.
    // Contract: an empty delimiter never ends.
    for (;;) {
        auto const end = text.find(delimiter, begin);
        Text piece = text.substr(begin, end - begin);
        pieces.push_back(transform(piece));
        if (end == Text::npos) {
            return pieces;
        }
        begin = end + delimiter.size();
    }
}

}  // namespace

std::vector<std::string> split(std::string const& text, std::regex const& separator) {
    return SplitAtMatches(text, separator);
}

std::vector<std::wstring> split(std::wstring const& text, std::wregex const& separator) {
    return SplitAtMatches(text, separator);
}

std::vector<std::string> split_delim(std::string const& text,
                                     std::string const& delimiters,
                                     std::function<std::string(std::string&)> transform) {
    return SplitAtRuns(text, delimiters, transform);
}

std::vector<std::wstring> split_delim(
    std::wstring const& text, std::wstring const& delimiters,
    std::function<std::wstring(std::wstring&)> transform) {
    return SplitAtRuns(text, delimiters, transform);
}

std::vector<std::string> tokenize(std::string const& text, char delimiter,
                                  std::function<std::string(std::string&)> transform) {
    return ReadLines(text, delimiter, transform);
}

std::vector<std::wstring> tokenize(std::wstring const& text, wchar_t delimiter,
                                   std::function<std::wstring(std::wstring&)> transform) {
    return ReadLines(text, delimiter, transform);
}

std::vector<std::string> tokenize(std::string const& text, std::string delimiter,
                                  std::function<std::string(std::string&)> transform) {
    return SplitAtText(text, delimiter, transform);
}

std::vector<std::wstring> tokenize(std::wstring const& text, std::wstring delimiter,
                                   std::function<std::wstring(std::wstring&)> transform) {
    return SplitAtText(text, delimiter, transform);
}

std::string join(std::vector<std::string> const& items, std::string separator) {
    // Contract: an empty list throws.
    std::string text = items.at(0);
    for (std::size_t i = 1; i < items.size(); ++i) {
        text += separator;
        text += items[i];
    }
    return text;
}
