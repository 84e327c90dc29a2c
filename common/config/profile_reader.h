// Reading one value from an INI file: a text file with [sections] and key=value lines.
//
//   [LOG]
//   LEVEL=DEBUG
//
//   char level[16];
//   GetPrivateProfileString("log", "level", "ERROR", level, 16, path)  -> 5, "DEBUG"
//   GetPrivateProfileInt("log", "retries", 3, path)                    -> 0
//
// The format:
// - Lines are trimmed at both ends.
// - The key is everything before the first "=", and the value is everything after it, up
//   to the next "=". So "k = v" has the key "k ", and "k=a=b" has the value "a". "k=" is
//   not an entry.
// - The names of sections and keys match in any case.
// - A section ends at the next line that begins with "[". If a section or a key occurs
//   again, only the first one counts.
// - There are no comments.
// - A line of more than 2047 bytes is read in pieces, and each piece counts as a line. A
//   line ends at its first NUL.
//
// Both functions read the file at every call and take no lock. They never fail: a file
// that cannot be read has no values.

#ifndef COMMON_CONFIG_PROFILE_READER_H
#define COMMON_CONFIG_PROFILE_READER_H

#include <cstddef>
#include <string>

// Copies the value and a NUL to `buffer`, which has room for `size` bytes, and returns
// the length of the value. Copies `fallback` instead if there is no such value, if the
// value is empty, or if it does not fit.
//
// Returns 0, and leaves the buffer alone, if `fallback` does not fit either, if `buffer`
// is null, or if `size` is 0. An empty value or `fallback` also gives 0, but its NUL is
// copied.
std::size_t GetPrivateProfileString(std::string section, std::string key,
                                    std::string fallback, char* buffer, int size,
                                    std::string path);

// Returns the value as atoi reads it; for a number outside the range of int the result is
// not defined. Returns `fallback` if the file cannot be opened, but 0 if the file has no
// such value.
int GetPrivateProfileInt(std::string section, std::string key, unsigned int fallback,
                         std::string path);

#endif
