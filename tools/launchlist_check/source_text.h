// What the parser does not tell about the text of a launch list: where something stands,
// which keys are there twice, and what follows the document.

#ifndef TOOLS_LAUNCHLIST_CHECK_SOURCE_TEXT_H
#define TOOLS_LAUNCHLIST_CHECK_SOURCE_TEXT_H

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/launchlist_check/finding.h"

namespace launchlist_check {

// Finds the lines and columns of the bytes of a text.
class Positions {
  public:
    // Refers to the bytes of `searched`, which must live as long as the object.
    explicit Positions(std::string_view searched);

    // Returns the place of the byte at `offset`; that of the end of the text if `offset`
    // is beyond it. A line ends with a line feed, a carriage return, or a carriage
    // return and a line feed.
    Position Find(std::size_t offset) const;

    // Returns the text.
    std::string_view Text() const noexcept { return text; }

  private:
    // Returns where the byte `end` is if the byte `begin` is at `position`.
    Position Advance(Position position, std::size_t begin, std::size_t end) const;

    std::string_view text;
    // The places of every 256th byte, from which Find counts on.
    std::vector<Position> marks;
};

// A key that is in its object for the second time, or more.
struct RepeatedKey {
    std::string key;
    // The keys that lead from the document to the object: {"3", "args"}.
    std::vector<std::string> path;
    // The place of the later one in the text, in bytes.
    std::size_t offset;
};

// What a scan tells besides the repeated keys.
struct KeyScan {
    // How many values the document holds, without those that a repeated key replaces:
    // about as many as its parser keeps.
    std::size_t values = 0;
    // The place of the first value that is inside 999 others; 0 without such a value.
    std::size_t deepest = 0;
};

// Passes on the repeated keys of the document at the beginning of `text`, in their order,
// except those inside an array. Looks no further than the document, and no deeper than
// the parser.
//
// The text should be a document that jsoncpp accepts. For others the result is
// unspecified.
KeyScan ScanKeys(std::string_view text,
                 std::function<void(RepeatedKey const&)> const& on_repeated);

// Returns the place of the key of the value that begins at `offset`. Returns `offset` if
// the value has no key, or a comment is between the two.
std::size_t FindKeyBefore(std::string_view text, std::size_t offset);

// Returns the place of the first byte from `offset` on that is neither blank nor in a
// comment; std::string_view::npos without such a byte.
std::size_t FindTextAfter(std::string_view text, std::size_t offset);

}  // namespace launchlist_check

#endif
