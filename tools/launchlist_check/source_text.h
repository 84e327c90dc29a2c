// Looking at the text of a launch list beside its parser, which says nothing of keys that
// are there twice, nor of what follows the document.

#ifndef TOOLS_LAUNCHLIST_CHECK_SOURCE_TEXT_H
#define TOOLS_LAUNCHLIST_CHECK_SOURCE_TEXT_H

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/launchlist_check/finding.h"

// Finds the lines and columns of the bytes of a text.
class Positions {
  public:
    // Refers to the bytes of `searched`, which must live as long.
    explicit Positions(std::string_view searched);

    // Returns the place of the byte at `offset`, or of the end of the text if that is
    // nearer. A line ends with a line feed, a carriage return, or both in this order.
    Position Find(std::size_t offset) const;

    std::string_view Text() const noexcept { return text; }

  private:
    // Returns where the byte `end` is if the byte `begin` is at `position`.
    Position Advance(Position position, std::size_t begin, std::size_t end) const;

    std::string_view text;
    // The places of some bytes, always the same number of bytes apart.
    std::vector<Position> marks;
};

// A key that its object has had before.
struct RepeatedKey {
    std::string key;
    // The keys that lead from the document to the object: {"3", "args"}.
    std::vector<std::string> path;
    std::size_t offset;
};

struct KeyScan {
    // How many values the document holds that no repeated key replaces: about as many as
    // its parser keeps.
    std::size_t values = 0;
    // The place of the first value that is inside of 999 others; 0 if there is none.
    std::size_t deepest = 0;
};

// Passes on the repeated keys of the document at the beginning of `text`, in their order;
// none of what is inside an array. It looks no further than the document, and no deeper
// than a parser.
//
// The text is a document that jsoncpp accepts; of others it makes something, too.
KeyScan ScanKeys(std::string_view text,
                 std::function<void(RepeatedKey const&)> const& on_repeated);

// Returns the place of the key of the value that begins at `offset`; `offset` if a
// comment is between the two, or if there is no key.
std::size_t FindKeyBefore(std::string_view text, std::size_t offset);

// Returns the place of the first byte from `offset` on that is neither blank nor in a
// comment, std::string_view::npos if there is none.
std::size_t FindTextBehind(std::string_view text, std::size_t offset);

#endif
