// Formatting in the manner of printf into strings of any length.
//
//   string_format("%s %d", "agent", 7)         -> "agent 7"
//   string_format("%05.1f%%", 2.5)             -> "002.5%"
//   wstring_format(L"%ls %d", L"agent", 7)     -> L"agent 7"
//   string_format("a%cb", 0)                   -> "a"
//
// The arguments are those of the C library's printf. Nothing checks them against the
// format, not even the compiler. Pass strings as C strings: `name.c_str()`, never `name`.
// Both functions depend on the C library's current locale, as vsnprintf and vswprintf do.
// Any thread may call them.

#ifndef COMMON_STRINGS_FORMAT_H
#define COMMON_STRINGS_FORMAT_H

#include <string>

// Returns the formatted text, up to its first NUL, which "%c" writes for the value 0.
// Throws std::bad_alloc if memory runs out.
//
// Returns an empty string if formatting fails:
// - the locale cannot encode a character of "%lc" or "%ls";
// - the text has more than INT_MAX (2147483647) characters, the most that the C library
//   can write.
std::string string_format(std::string format, ...);

// Returns the formatted text in wide characters, as string_format does in narrow ones.
// "%ls" takes wide strings. "%s" takes narrow strings and decodes them in the current
// locale; formatting fails if one cannot be decoded. It also fails for characters that
// the locale cannot encode if the C library encodes wide output (that of macOS does).
std::wstring wstring_format(std::wstring format, ...);

#endif
