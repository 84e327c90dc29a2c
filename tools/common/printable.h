// Strangers' text, made fit for a line of output.
//
//   Printable("caf\xC3\xA9")            -> "café"
//   Printable("a\nerror: b")            -> "a\x0Aerror: b", on one line
//   Printable("caf\xE9")                -> "caf\xE9", the four characters \xE9
//   Quoted("agent")                     -> "\"agent\""
//
// May be called from any thread.

#ifndef TOOLS_COMMON_PRINTABLE_H
#define TOOLS_COMMON_PRINTABLE_H

#include <cstddef>
#include <string>

namespace tools {

// Returns `text` with the bytes in the form \x0A that could forge a line, confuse a
// terminal or hide: control characters, line and paragraph separators, characters that
// turn the direction of writing or have no width (zero-width spaces and joiners,
// variation selectors, tags, fillers: what Unicode calls default ignorable), and what is
// not UTF-8. Accents that are characters of their own are left. The result is UTF-8.
std::string Printable(std::string const& text);

// The same, between quotation marks.
std::string Quoted(std::string const& text);

// Says whether `text` is UTF-8 from its beginning to its end.
bool IsUtf8(std::string const& text);

// Returns `text` with U+FFFD in the place of each byte that is not UTF-8.
std::string ToUtf8(std::string const& text);

// Says whether the byte continues a character in UTF-8, and does not begin one.
bool IsContinuation(char byte);

// The number of columns that `text`, which is UTF-8, takes on a terminal. Characters have
// the widths of the process's locale; where it knows none, one column each.
std::size_t CountColumns(std::string const& text);

// Returns `text` if it takes no more columns than that, else as much of its beginning as
// fits together with an ellipsis.
std::string CutToColumns(std::string const& text, std::size_t columns);

}  // namespace tools

#endif
