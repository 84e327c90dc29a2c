// Cutting text into pieces, and joining pieces into text.
//
//   auto const same = [](std::string& piece) { return piece; };
//   split("a//b/", std::regex("/"))   -> {"a", "", "b"}
//   split_delim("  a b ", " ", same)  -> {"a", "b"}
//   tokenize("a,", ',', same)         -> {"a"}
//   tokenize("a,", ",", same)         -> {"a", ""}
//   join({"a", "b", "c"}, ",")        -> "a,b,c"
//
// The four ways of cutting treat empty pieces differently. Here they cut at a comma; ""
// is an empty piece and - is an empty result:
//
//   text      tokenize, char   tokenize, string   split_delim   split
//   "a,b"     a  b             a  b               a  b          a  b
//   "a,,b"    a  ""  b         a  ""  b           a  b          a  ""  b
//   ",a"      ""  a            ""  a              a             ""  a
//   "a,"      a                a  ""              a             a
//   ","       ""               ""  ""             -             ""
//   ""        -                ""                 -             ""
//
// split_delim and tokenize pass each piece, in order, to `transform` and keep what it
// returns, even an empty string. It may change the piece that it is given, but only its
// result is kept. They throw std::bad_function_call if `transform` is empty and there is
// a piece, and they pass on what `transform` throws.
//
// All functions throw std::bad_alloc if memory runs out; none returns only some of the
// pieces. Any thread may call them.

#ifndef COMMON_STRINGS_SPLIT_H
#define COMMON_STRINGS_SPLIT_H

#include <functional>
#include <regex>
#include <string>
#include <vector>

// Cuts `text` at every match of `separator` and returns the pieces between the matches,
// in order. The last piece is dropped if it is empty; all other pieces are kept. Text
// without a match is one piece, even if it is empty. An expression that matches the empty
// text cuts before every character, even the first.
//
// The standard library's matcher recurses for repetitions: an expression such as ".*" can
// overflow the stack on a text of some 100,000 characters.
std::vector<std::string> split(std::string const& text, std::regex const& separator);
std::vector<std::wstring> split(std::wstring const& text, std::wregex const& separator);

// Cuts `text` at every run of characters that are in `delimiters`. No piece is ever
// empty: delimiters at the head or the tail of the text add no piece. If `delimiters` is
// empty, the text is one piece, unless it is empty too.
std::vector<std::string> split_delim(std::string const& text,
                                     std::string const& delimiters,
                                     std::function<std::string(std::string&)> transform);
std::vector<std::wstring> split_delim(
    std::wstring const& text, std::wstring const& delimiters,
    std::function<std::wstring(std::wstring&)> transform);

// Cuts `text` as std::getline reads lines, with `delimiter` as the end of a line. So no
// piece follows a delimiter at the end of the text, and an empty text has no pieces. The
// result for text with the wide value WEOF, which is not a character, depends on the C++
// library.
std::vector<std::string> tokenize(std::string const& text, char delimiter,
                                  std::function<std::string(std::string&)> transform);
std::vector<std::wstring> tokenize(std::wstring const& text, wchar_t delimiter,
                                   std::function<std::wstring(std::wstring&)> transform);

// Cuts `text` at every occurrence of `delimiter`. An empty piece follows a delimiter at
// the end of the text, and an empty text is one empty piece. Never pass an empty
// delimiter: it adds empty pieces until memory runs out.
std::vector<std::string> tokenize(std::string const& text, std::string delimiter,
                                  std::function<std::string(std::string&)> transform);
std::vector<std::wstring> tokenize(std::wstring const& text, std::wstring delimiter,
                                   std::function<std::wstring(std::wstring&)> transform);

// Returns the items in order, with `separator` between them. Throws std::out_of_range if
// there is no item.
std::string join(std::vector<std::string> const& items, std::string separator);

#endif
