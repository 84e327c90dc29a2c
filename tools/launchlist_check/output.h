// What the check prints.

#ifndef TOOLS_LAUNCHLIST_CHECK_OUTPUT_H
#define TOOLS_LAUNCHLIST_CHECK_OUTPUT_H

#include <string>
#include <vector>

#include "tools/launchlist_check/check_result.h"

namespace launchlist_check {

// A launch list and what its check has found.
struct CheckedFile {
    // The path as the user gave it; "<stdin>" for the standard input.
    std::string label;
    CheckResult result;
};

// Returns a line for each finding, as compilers write them; a line for each kind of which
// some are not shown; and a line with the verdict:
//
//   list.json:7:3: error: item "3" (agent): never reached: ... [unreached]
//   list.json: 1 error
//
// With `is_strict` a list with warnings is not "ok".
std::string ToLines(CheckedFile const& file, bool is_strict = false);

// Returns one JSON document on one line, in ASCII, with its line feed.
std::string ToJson(std::vector<CheckedFile> const& files);

}  // namespace launchlist_check

#endif
