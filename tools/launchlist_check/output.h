// What the check prints.

#ifndef TOOLS_LAUNCHLIST_CHECK_OUTPUT_H
#define TOOLS_LAUNCHLIST_CHECK_OUTPUT_H

#include <string>
#include <vector>

#include "tools/launchlist_check/check_result.h"

struct CheckedFile {
    // How the user called it; "<stdin>" for the standard input.
    std::string label;
    CheckResult result;
};

// Returns a line for each finding, in the manner of a compiler; a line for each kind of
// which some are not shown; and a line with the verdict:
//
//   list.json:7:3: error: item "3" (agent): never reached: ... [unreached]
//   list.json: 1 error
//
// `is_strict` says that warnings count as errors do, so that such a list is not "ok".
std::string ToLines(CheckedFile const& file, bool is_strict = false);

// Returns one JSON document on one line, in ASCII, and its line feed.
std::string ToJson(std::vector<CheckedFile> const& files);

#endif
