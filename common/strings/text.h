// Small tests and changes of text.
//
//   ends_with("a.txt", ".txt")      -> true
//   ends_with("a.txt", ".TXT")      -> false
//
//   std::string text = "a.b.c";
//   replace_all(text, ".", "::");   -> "a::b::c"
//
// All may be called from any thread, on texts of its own.

#ifndef COMMON_STRINGS_TEXT_H
#define COMMON_STRINGS_TEXT_H

#include <string>

// Says whether the last bytes of `text` are those of `suffix`. Case counts; an empty
// suffix ends every text.
bool ends_with(std::string const& text, std::string const& suffix);

// Replaces `searched` by `replacement` in `text`, from left to right. After each
// replacement the search goes on as many characters behind its start as `searched` is
// long, not as `replacement` is. So this is the usual replacing only where the two have
// the same length:
//
//   text    searched  replacement   result
//   aaaa    aa        b             baa      a shorter replacement: characters after it
//   a--b    -         (empty)       a-b      are passed over
//   xyxy    xy        x             xxy
//   a.b.c   .         ::            a::b::c  a longer one: its tail is searched again
//   ab      b         bb            never returns: what it finds is its own insertion
//   any     (empty)   any           never returns
//
// So never pass an empty `searched`, nor a `replacement` that is longer than `searched`
// and brings it about again behind that length: the text grows until memory runs out. An
// exception leaves `text` with the replacements made so far. `searched` is another object
// than `text`.
//
// A replacement of another length moves the rest of the text. So the time grows with the
// square of the text's length where there is much to replace: 1,000,000 times "a" by "bb"
// moves 500,000 million characters. With the same length it grows with the length alone.
void replace_all(std::string& text, std::string const& searched,
                 std::string const& replacement);
void replace_all(std::wstring& text, std::wstring const& searched,
                 std::wstring const& replacement);

#endif
