// Text that others wrote, made safe for a line of output.
//
//   Printable("caf\xC3\xA9")            -> "café"
//   Printable("a\nerror: b")            -> "a\x0Aerror: b", on one line
//   Printable("caf\xE9")                -> "caf\xE9", with the four characters \xE9
//   Quoted("agent")                     -> "\"agent\""
//
// May be called from any thread.

#ifndef TOOLS_COMMON_PRINTABLE_H
#define TOOLS_COMMON_PRINTABLE_H

#include <cstddef>
#include <string>

namespace tools {

// Returns `text` with all bytes in the form \x0A that could forge a line, confuse a
// terminal or stay hidden:
// - control characters, line separators and paragraph separators;
// - characters that turn the direction of writing;
// - characters without width, which Unicode calls default ignorable: zero-width spaces
//   and joiners, variation selectors, tags and fillers (but not combining accents);
// - bytes that are not UTF-8.
//
// The result is UTF-8.
std::string Printable(std::string const& text);

// Returns Printable(text) between quotation marks.
std::string Quoted(std::string const& text);

// Returns true if all of `text` is UTF-8.
bool IsUtf8(std::string const& text);

// Returns `text` with U+FFFD in the place of each byte that is not UTF-8.
std::string ToUtf8(std::string const& text);

// Returns true if the byte continues a character of UTF-8, and does not begin one.
bool IsContinuation(char byte);

// Returns how many columns `text`, which is UTF-8, takes on a terminal. Characters have
// the widths of the process's locale; a character without one there counts as one column.
std::size_t CountColumns(std::string const& text);

// Returns `text` if it takes at most `columns` columns. Otherwise returns as much of its
// beginning as fits together with an ellipsis.
std::string CutToColumns(std::string const& text, std::size_t columns);

}  // namespace tools

#endif
