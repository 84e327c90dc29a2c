// Compares cutting, joining and replacing with models that go through the text character
// by character. An input is a line with the separator, which is also the text to search
// for, a line with the replacement, which also joins, and then the text.

#include <algorithm>
#include <optional>
#include <regex>
#include <stdexcept>
#include <vector>

#include "common/strings/split.h"
#include "common/strings/text.h"
#include "fuzz/fuzzing.h"

namespace {

std::size_t const kLongestText = 512;
std::size_t const kLongestSeparator = 32;

template <typename Text>
bool IsAt(Text const& text, std::size_t position, Text const& part) {
    return position + part.size() <= text.size() &&
           text.compare(position, part.size(), part) == 0;
}

// Cuts at every occurrence of `separator`, which is not empty, and keeps every piece.
template <typename Text>
std::vector<Text> CutEverywhere(Text const& text, Text const& separator) {
    std::vector<Text> pieces(1);
    for (std::size_t i = 0; i < text.size();) {
        if (IsAt(text, i, separator)) {
            pieces.emplace_back();
            i += separator.size();
        } else {
            pieces.back() += text[i++];
        }
    }
    return pieces;
}

template <typename Text>
std::vector<Text> LinesModel(Text const& text, typename Text::value_type line_end) {
    std::vector<Text> pieces = CutEverywhere(text, Text(1, line_end));
    if (pieces.back().empty()) {
        pieces.pop_back();
    }
    return pieces;
}

template <typename Text>
std::vector<Text> RunsModel(Text const& text, Text const& delimiters) {
    std::vector<Text> pieces(1);
    for (auto const c : text) {
        if (delimiters.find(c) == Text::npos) {
            pieces.back() += c;
        } else if (!pieces.back().empty()) {
            pieces.emplace_back();
        }
    }
    if (pieces.back().empty()) {
        pieces.pop_back();
    }
    return pieces;
}

// An expression that matches nothing matches before every character, and at the end.
template <typename Text>
std::vector<Text> SplitModel(Text const& text, Text const& separator) {
    std::vector<Text> pieces(1);
    if (separator.empty()) {
        for (auto const c : text) {
            pieces.emplace_back(1, c);
        }
        return pieces;
    }
    pieces = CutEverywhere(text, separator);
    if (pieces.size() > 1 && pieces.back().empty()) {
        pieces.pop_back();
    }
    return pieces;
}

template <typename Text>
Text JoinModel(std::vector<Text> const& items, Text const& separator) {
    Text text;
    for (Text const& item : items) {
        text += (&item == &items.front() ? Text() : separator) + item;
    }
    return text;
}

// Returns std::nullopt if the replacing may never end, which replace_all's header warns
// of: it has made more replacements than there are characters.
template <typename Text>
std::optional<Text> ReplaceModel(Text text, Text const& searched,
                                 Text const& replacement) {
    std::size_t position = 0;
    for (std::size_t left = text.size() + 10; left > 0; --left) {
        while (position < text.size() && !IsAt(text, position, searched)) {
            ++position;
        }
        if (!IsAt(text, position, searched)) {
            return text;
        }
        text = text.substr(0, position) + replacement +
               text.substr(position + searched.size());
        position += searched.size();
    }
    return std::nullopt;
}

// What the transform below makes of the piece of that number.
template <typename Text>
Text Transformed(Text const& piece, std::size_t number) {
    return number % 3 == 2 ? Text() : piece + piece.substr(0, 1);
}

// Calls `cut` with a transform that also changes the piece itself, which must not count.
// Requires that the transform gets the pieces in order, and that the result is what it
// has returned.
template <typename Text, typename Cut>
void CheckTransformed(std::vector<Text> const& pieces, Cut const& cut,
                      char const* sentence) {
    std::vector<Text> seen;
    std::vector<Text> const result = cut([&seen](Text& piece) {
        Text kept = Transformed(piece, seen.size());
        seen.push_back(piece);
        piece += piece;
        return kept;
    });
    std::vector<Text> expected;
    for (Text const& piece : pieces) {
        expected.push_back(Transformed(piece, expected.size()));
    }
    Require(seen == pieces && result == expected, sentence);
}

// Left out: text with the element at which the line reader ends, as tokenize's header
// says.
template <typename Text>
bool HasEndOfFile(Text const& text) {
    using Traits = typename Text::traits_type;
    return std::any_of(text.begin(), text.end(), [](auto const element) {
        return Traits::eq_int_type(Traits::to_int_type(element), Traits::eof());
    });
}

template <typename Text>
void CheckCutting(Text const& text, Text const& separator) {
    using Transform = std::function<Text(Text&)>;
    CheckTransformed(
        RunsModel(text, separator),
        [&](Transform const& transform) {
            return split_delim(text, separator, transform);
        },
        "split_delim cuts at every run of its delimiters");
    // Left out: an empty delimiter, at which tokenize cuts until memory runs out.
    if (separator.empty()) {
        return;
    }
    CheckTransformed(
        CutEverywhere(text, separator),
        [&](Transform const& transform) { return tokenize(text, separator, transform); },
        "tokenize cuts at every occurrence of a text");
    if (HasEndOfFile(text)) {
        return;
    }
    CheckTransformed(
        LinesModel(text, separator[0]),
        [&](Transform const& transform) {
            return tokenize(text, separator[0], transform);
        },
        "tokenize cuts at every occurrence of a character");
}

// Returns an expression that matches `text` and nothing else.
template <typename Text>
std::basic_regex<typename Text::value_type> Literal(Text const& text) {
    static char const special[] = "^$\\.*+?()[]{}|";
    Text expression;
    for (auto const c : text) {
        bool const is_special =
            std::any_of(special, special + sizeof special - 1,
                        [c](char s) { return c == typename Text::value_type(s); });
        expression += is_special ? Text(1, '\\') + c : Text(1, c);
    }
    return std::basic_regex<typename Text::value_type>(expression);
}

template <typename Text>
void CheckSplit(Text const& text, Text const& separator) {
    Require(split(text, Literal(separator)) == SplitModel(text, separator),
            "split cuts at every match");
}

void CheckJoin(std::vector<std::string> const& items, std::string const& separator) {
    try {
        std::string const joined = join(items, separator);
        Require(!items.empty() && joined == JoinModel(items, separator),
                "join puts the separator between the items");
    } catch (std::out_of_range const&) {
        Require(items.empty(), "join throws only for an empty list");
    }
}

template <typename Text>
void CheckReplacing(Text const& text, Text const& searched, Text const& replacement) {
    std::optional<Text> const expected = ReplaceModel(text, searched, replacement);
    if (expected) {
        Text replaced = text;
        replace_all(replaced, searched, replacement);
        Require(replaced == *expected, "replace_all replaces and steps on");
    }
}

template <typename Text>
void Check(Text const& text, Text const& separator, Text const& replacement) {
    CheckCutting(text, separator);
    CheckSplit(text, separator);
    CheckReplacing(text, separator, replacement);
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string text(data, data + size);
    // A NUL cannot be written into a regular expression as it is.
    std::string const separator = TakeLine(text).c_str();
    std::string const replacement = TakeLine(text);
    if (text.size() > kLongestText || separator.size() > kLongestSeparator ||
        replacement.size() > kLongestSeparator) {
        return 0;
    }
    Check(text, separator, replacement);
    Check(Widen(text), Widen(separator), Widen(replacement));
    CheckJoin(RunsModel(text, separator), replacement);
    CheckJoin(SplitModel(text, separator), replacement);
    return 0;
}
