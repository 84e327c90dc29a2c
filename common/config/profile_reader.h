// Reading one value from a text file of [sections] and key=value lines.
//
//   [LOG]
//   LEVEL=DEBUG
//
//   char level[16];
//   GetPrivateProfileString("log", "level", "ERROR", level, 16, path)  -> 5, "DEBUG"
//   GetPrivateProfileInt("log", "retries", 3, path)                    -> 0
//
// Lines are trimmed; nothing inside them is. The key stands directly before the first
// "=" and the value directly after it, up to the next "=": "k = v" has the key "k ",
// "k=a=b" the value "a", and "k=" is no entry. Section and key are found in any case.
// There are no comments. Only the first section of a name counts, in it only the first
// entry of a key, and it ends at the next line that begins with "[". Lines are read in
// pieces of at most 2047 bytes, and each piece counts as a line; it ends at its first
// NUL.
//
// Both functions read the file anew, take no lock, and never fail: what cannot be read
// is not there.

#ifndef COMMON_CONFIG_PROFILE_READER_H
#define COMMON_CONFIG_PROFILE_READER_H

#include <cstddef>
#include <string>

// Copies the value, with a NUL behind it, to `buffer`, which holds `size` bytes. Copies
// `fallback` instead if there is no such value, or it is empty, or it does not fit.
// Returns the length of what was copied; 0, with the buffer untouched, if `fallback`
// does not fit either, if `buffer` is null or if `size` is 0. (An empty value or an empty
// `fallback` copies its NUL all the same, and the result is 0.)
std::size_t GetPrivateProfileString(std::string section, std::string key,
                                    std::string fallback, char* buffer, int size,
                                    std::string path);

// Returns the value as atoi reads it, which leaves open what a number beyond int gives.
// `fallback` is returned only if the file cannot be opened; in a file without such a
// value the result is 0.
int GetPrivateProfileInt(std::string section, std::string key, unsigned int fallback,
                         std::string path);

#endif
