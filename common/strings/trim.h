// Blanks at the ends of text; shared by the INI reader and the JSON writer.
//
//   std::string line = "\t[LOG]\r\n";
//   trim(line)  -> "[LOG]"

#ifndef COMMON_STRINGS_TRIM_H
#define COMMON_STRINGS_TRIM_H

#include <string>

// Removes the blanks, tabs, line feeds, vertical tabs, form feeds and carriage returns
// at both ends of `text`, in place, and returns `text`. The current locale plays no
// part, and a byte of 128 or more is never removed.
std::string& trim(std::string& text);

#endif
