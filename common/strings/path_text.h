// Tidying and cutting path texts. Nothing here looks at the file system.
//
//   ensure_ends_with_divider("a")     -> "a/"
//   remove_head_slashes("//a/b")      -> "a/b"
//   remove_tail_slashes("a/b//")      -> "a/b"
//   remove_duplicated_slashes("a//b") -> "a/b"
//   get_file_name("a/b.txt")          -> "b.txt"
//
//   std::string container;
//   std::string rest;
//   split_container_name("/a/b/c", container, rest);  // "a" and "b/c"
//
// What counts as a divider differs: the slash everywhere, the backslash only where the
// head or the tail is stripped. Texts are bytes, and "." and ".." are names like any
// other. All may be called from any thread.

#ifndef COMMON_STRINGS_PATH_TEXT_H
#define COMMON_STRINGS_PATH_TEXT_H

#include <string>

// Appends a slash unless `path` ends with one: "" -> "/", "a\" -> "a\/".
std::string ensure_ends_with_divider(std::string path);

// Removes the slashes and backslashes at the head, or at the tail. A path that consists
// of nothing else is returned as it is, never as the empty text.
std::string remove_head_slashes(std::string path);
std::string remove_tail_slashes(std::string path);

// Keeps one slash of every run of them. Backslashes stay.
std::string remove_duplicated_slashes(std::string path);

// Strips the head of `path` as remove_head_slashes does, and sets `container` to what
// stands before the first slash that is left and `rest` to what stands behind it; without
// a slash, to everything and to nothing. An empty path leaves both as they are, and "///"
// has an empty container and the rest "//". The two are different objects.
void split_container_name(std::string path, std::string& container, std::string& rest);

// Returns what stands behind the last slash, which is nothing if the path ends with one,
// and the whole path if it has none.
std::string get_file_name(std::string path);

#endif
