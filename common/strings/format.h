// Formatting in the manner of printf into strings of any length.
//
//   string_format("%s %d", "agent", 7)         -> "agent 7"
//   string_format("%05.1f%%", 2.5)             -> "002.5%"
//   wstring_format(L"%ls %d", L"agent", 7)     -> L"agent 7"
//   string_format("a%cb", 0)                   -> "a"
//
// The arguments are those of the C library's printf, and nothing checks them against the
// format, not even the compiler. A string among them is passed as a C string: write
// `name.c_str()`, never `name`. Both functions depend on the C library's current locale
// as vsnprintf and vswprintf do, and may be called from any thread.

#ifndef COMMON_STRINGS_FORMAT_H
#define COMMON_STRINGS_FORMAT_H

#include <string>

// Returns the formatted text, up to the first NUL in it: one that a "%c" of the value 0
// writes ends the result. Throws std::bad_alloc if memory runs out.
//
// Returns an empty string if formatting fails:
// - the locale cannot encode a character of "%lc" or "%ls";
// - the text has more than INT_MAX (2147483647) characters, which is the most that the C
//   library can write.
std::string string_format(std::string format, ...);

// Does the same with wide text, with the same bound on its length. Here "%ls" takes wide
// strings and "%s" narrow ones, which are decoded in the current locale. Formatting fails
// if one cannot be decoded. On systems whose C library takes its wide output through the
// locale (macOS does) it also fails for characters that the locale cannot encode.
std::wstring wstring_format(std::wstring format, ...);

#endif
