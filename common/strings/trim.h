// Removing white space at the ends of text, for the INI reader and the JSON writer.
//
//   std::string line = "\t[LOG]\r\n";
//   trim(line)  -> "[LOG]"

#ifndef COMMON_STRINGS_TRIM_H
#define COMMON_STRINGS_TRIM_H

#include <string>

// Removes blanks, tabs, line feeds, vertical tabs, form feeds and carriage returns at
// both ends of `text`, in place, and returns `text`. The locale makes no difference, and
// a byte of 128 or more is never removed.
//
// The function is static: another function of this name in the program cannot replace it.
static inline std::string& trim(std::string& text) {
    // Contract: no byte of 128 or more is white space, whatever the locale.
    char const* const blanks = " \t\n\v\f\r";
    text.erase(text.find_last_not_of(blanks) + 1);
    text.erase(0, text.find_first_not_of(blanks));
    return text;
}

#endif
