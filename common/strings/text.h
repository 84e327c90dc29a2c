// Testing the end of a text, and replacing in it.
//
//   ends_with("a.txt", ".txt")      -> true
//   ends_with("a.txt", ".TXT")      -> false
//
//   std::string text = "a.b.c";
//   replace_all(text, ".", "::");   -> "a::b::c"
//
// Any thread may call these functions on texts of its own.

#ifndef COMMON_STRINGS_TEXT_H
#define COMMON_STRINGS_TEXT_H

#include <string>

// Returns true if `text` ends with `suffix`. Case counts. Every text ends with the empty
// suffix.
bool ends_with(std::string const& text, std::string const& suffix);

// Replaces `searched` by `replacement` in `text`, from left to right. This is the usual
// replacing if both have the same length. If not: after each replacement the search goes
// on at its start plus the length of `searched`, not of `replacement`.
//
//   text    searched  replacement   result
//   aaaa    aa        b             baa      a shorter replacement: characters after it
//   a--b    -         (empty)       a-b      are skipped
//   xyxy    xy        x             xxy
//   a.b.c   .         ::            a::b::c  a longer one: its tail is searched too
//   ab      b         bb            never returns: it finds its own replacement
//   any     (empty)   any           never returns
//
// So never pass an empty `searched`, and never a longer `replacement` whose tail makes
// `searched` occur again: the text grows until memory runs out. If an exception is
// thrown, `text` keeps the replacements made so far. `searched` and `text` are different
// objects.
//
// A replacement of a different length moves the rest of the text. So the time can grow
// with the square of the length: to replace "a" by "bb" 1,000,000 times moves 500,000
// million characters. If both have the same length, the time grows with the length of the
// text.
void replace_all(std::string& text, std::string const& searched,
                 std::string const& replacement);
void replace_all(std::wstring& text, std::wstring const& searched,
                 std::wstring const& replacement);

#endif
