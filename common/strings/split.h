// Cutting text into pieces, and joining pieces into text.
//
//   auto const same = [](std::string& piece) { return piece; };
//   split("a//b/", std::regex("/"))   -> {"a", "", "b"}
//   split_delim("  a b ", " ", same)  -> {"a", "b"}
//   tokenize("a,", ',', same)         -> {"a"}
//   tokenize("a,", ",", same)         -> {"a", ""}
//   join({"a", "b", "c"}, ",")        -> "a,b,c"
//
// The four ways of cutting differ in what they do with empty pieces. With a comma to cut
// at, "" for an empty piece and - for no piece at all:
//
//   text      tokenize, char   tokenize, string   split_delim   split
//   "a,b"     a  b             a  b               a  b          a  b
//   "a,,b"    a  ""  b         a  ""  b           a  b          a  ""  b
//   ",a"      ""  a            ""  a              a             ""  a
//   "a,"      a                a  ""              a             a
//   ","       ""               ""  ""             -             ""
//   ""        -                ""                 -             ""
//
// split_delim and tokenize hand each piece, in order, to `transform`, and keep what it
// returns, empty or not; it can drop no piece. It may change the piece that it is given,
// but only what it returns is kept. They throw std::bad_function_call if `transform` is
// empty and there is a piece, and whatever `transform` throws.
//
// All throw std::bad_alloc if memory runs out; no function returns only some of the
// pieces. All may be called from any thread.

#ifndef COMMON_STRINGS_SPLIT_H
#define COMMON_STRINGS_SPLIT_H

#include <functional>
#include <regex>
#include <string>
#include <vector>

// Cuts `text` at every match of `separator` and returns what lies between the matches,
// in order. A piece before a match is kept even if it is empty; the piece after the last
// match is kept only if it is not. Text without a match, the empty text included, is
// one piece. An expression that matches the empty text cuts in front of every character,
// the first included.
//
// The standard library's matcher recurses for repetitions: an expression such as ".*"
// on a text of some 100,000 characters can exhaust the stack.
std::vector<std::string> split(std::string const& text, std::regex const& separator);
std::vector<std::wstring> split(std::wstring const& text, std::wregex const& separator);

// Cuts `text` at every character that is in `delimiters`. A run of them is one cut and
// the ends of the text give no piece, so no piece is ever empty. Without delimiters a
// text that is not empty is one piece.
std::vector<std::string> split_delim(std::string const& text,
                                     std::string const& delimiters,
                                     std::function<std::string(std::string&)> transform);
std::vector<std::wstring> split_delim(
    std::wstring const& text, std::wstring const& delimiters,
    std::function<std::wstring(std::wstring&)> transform);

// Cuts `text` as lines are read, with `delimiter` as the end of a line: there is no piece
// behind a delimiter that ends the text, and an empty text has no piece. What
// becomes of the wide element WEOF, which is no character, is up to the C++ library.
std::vector<std::string> tokenize(std::string const& text, char delimiter,
                                  std::function<std::string(std::string&)> transform);
std::vector<std::wstring> tokenize(std::wstring const& text, wchar_t delimiter,
                                   std::function<std::wstring(std::wstring&)> transform);

// Cuts `text` at every occurrence of `delimiter`: a delimiter that ends the text has an
// empty piece behind it, and an empty text is one empty piece. Never pass an empty
// delimiter: it cuts off empty pieces until memory runs out.
std::vector<std::string> tokenize(std::string const& text, std::string delimiter,
                                  std::function<std::string(std::string&)> transform);
std::vector<std::wstring> tokenize(std::wstring const& text, std::wstring delimiter,
                                   std::function<std::wstring(std::wstring&)> transform);

// Returns the items in order, with `separator` between them. Throws std::out_of_range if
// there is no item.
std::string join(std::vector<std::string> const& items, std::string separator);

#endif
