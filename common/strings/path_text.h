// Tidying and cutting paths as text. Nothing here looks at the file system.
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
// The slash is a divider everywhere. The backslash is a divider only at the head and the
// tail, where remove_head_slashes and remove_tail_slashes remove it. "." and ".." are
// names like any other. Any thread may call these functions.

#ifndef COMMON_STRINGS_PATH_TEXT_H
#define COMMON_STRINGS_PATH_TEXT_H

#include <string>

// Appends a slash unless `path` ends with one: "" -> "/", "a\" -> "a\/".
std::string ensure_ends_with_divider(std::string path);

// Remove the slashes and backslashes at the head, or at the tail. A path of slashes and
// backslashes alone is returned unchanged.
std::string remove_head_slashes(std::string path);
std::string remove_tail_slashes(std::string path);

// Replaces every run of slashes by one slash. Backslashes stay.
std::string remove_duplicated_slashes(std::string path);

// Cuts a path at its first slash, after removing the head as remove_head_slashes does.
// Sets `container` to the text before that slash and `rest` to the text after it. Without
// a slash, `container` is the whole text and `rest` is empty. An empty path changes
// neither of them. "///" has an empty container and the rest "//". `container` and `rest`
// are different objects.
void split_container_name(std::string path, std::string& container, std::string& rest);

// Returns the text after the last slash: an empty string if the path ends with a slash,
// and the whole path if it has no slash.
std::string get_file_name(std::string path);

#endif
