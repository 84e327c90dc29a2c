// Small tests and changes of text.
//
//   ends_with("a.txt", ".txt")  -> true
//   ends_with("a.txt", ".TXT")  -> false

#ifndef COMMON_STRINGS_TEXT_H
#define COMMON_STRINGS_TEXT_H

#include <string>

// Says whether the last bytes of `text` are those of `suffix`. Case counts; an empty
// suffix ends every text.
bool ends_with(std::string const& text, std::string const& suffix);

#endif
