// The words of messages. Texts from the list stay as they are, whatever their bytes are:
// they are escaped at output.

#ifndef TOOLS_LAUNCHLIST_CHECK_MESSAGE_H
#define TOOLS_LAUNCHLIST_CHECK_MESSAGE_H

#include <json/value.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace launchlist_check {

// What happens after a program could not be executed.
extern char const* const kChain;

// What happens if the arguments cannot be read.
extern char const* const kChildAborts;

// Returns `text` between quotation marks. A long one is cut.
std::string Quote(std::string_view text);

// Returns `text`; of a text longer than 200 bytes the beginning, and "...".
std::string Shorten(std::string_view text);

// Returns what the value is: "a string", "null", ...
std::string TypeName(Json::Value const& value);

// A list of keys: `"0", "1", "2" and 7 more`.
class KeyList {
  public:
    // Adds a key.
    void Add(std::string const& key);

    // Adds the numbers from `first` on that are below `end`.
    void AddNumbers(int first, int end);

    // Returns true if it has no key.
    bool IsEmpty() const noexcept { return count == 0; }

    // Returns the first three keys, and how many more there are.
    std::string Text() const;

  private:
    std::size_t count = 0;
    std::string text;
};

}  // namespace launchlist_check

#endif
