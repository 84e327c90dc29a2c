// Looking at the text of a launch list beside its parser, which says nothing of keys that
// are there twice, nor of what follows the document.

#ifndef TOOLS_LAUNCHLIST_CHECK_SOURCE_TEXT_H
#define TOOLS_LAUNCHLIST_CHECK_SOURCE_TEXT_H

#include <cstddef>
#include <string>
#include <vector>

// A place in a text as editors show it: lines and characters, from 1 on.
struct Position {
    int line;
    int column;
};

// Finds the places of bytes, each on from the one before if it comes behind that.
class PositionFinder {
  public:
    // Refers to `searched`, which must live as long.
    explicit PositionFinder(std::string const& searched) : text(searched) {}

    // Returns the place of the byte at `offset`, or of the end of the text if that is
    // nearer. A line ends with a line feed, a carriage return, or both in this order.
    Position Find(std::size_t offset);

  private:
    std::string const& text;
    std::size_t place = 0;
    Position position = {1, 1};
};

// A key that its object has had before.
struct RepeatedKey {
    std::string key;
    // The keys that lead from the document to the object: {"3", "args"}.
    std::vector<std::string> path;
    std::size_t offset;
};

// Returns the repeated keys in the first `end` bytes of `text`, in their order; nothing
// of what stands inside an array. These bytes are a document that jsoncpp accepts; of
// others it makes something, too.
std::vector<RepeatedKey> FindRepeatedKeys(std::string const& text, std::size_t end);

// Returns the place of the first byte from `offset` on that is neither blank nor in a
// comment, std::string::npos if there is none.
std::size_t FindTextBehind(std::string const& text, std::size_t offset);

#endif
