#include "common/strings/path_text.h"

#include <algorithm>

namespace {

// Contract: a backslash divides at the head and at the tail, and nowhere else.
char const* const kHeadAndTailDividers = "/\\";

}  // namespace

std::string ensure_ends_with_divider(std::string path) {
    if (path.empty() || path.back() != '/') {
        path += '/';
    }
    return path;
}

std::string remove_head_slashes(std::string path) {
    auto const first = path.find_first_not_of(kHeadAndTailDividers);
    // Contract: a path of dividers alone stays as it is, here and at the tail.
    return first == std::string::npos ? path : path.substr(first);
}

std::string remove_tail_slashes(std::string path) {
    auto const last = path.find_last_not_of(kHeadAndTailDividers);
    return last == std::string::npos ? path : path.substr(0, last + 1);
}

std::string remove_duplicated_slashes(std::string path) {
    auto const both_slashes = [](char a, char b) { return a == '/' && b == '/'; };
    path.erase(std::unique(path.begin(), path.end(), both_slashes), path.end());
    return path;
}

void split_container_name(std::string path, std::string& container, std::string& rest) {
    // Contract: an empty path leaves both as they are.
    if (path.empty()) {
        return;
    }
    path = remove_head_slashes(path);
    auto const slash = path.find('/');
    container = path.substr(0, slash);
    rest = slash == std::string::npos ? "" : path.substr(slash + 1);
}

std::string get_file_name(std::string path) {
    return path.substr(path.rfind('/') + 1);
}
