// What the check prints.

#ifndef TOOLS_LAUNCHLIST_CHECK_OUTPUT_H
#define TOOLS_LAUNCHLIST_CHECK_OUTPUT_H

#include <string>
#include <vector>

#include "tools/launchlist_check/findings.h"

struct CheckedFile {
    // How the user called it; "<stdin>" for the standard input.
    std::string label;
    CheckResult result;
};

// Returns the number of findings of that severity.
int Count(Findings const& findings, Severity severity);

// Returns a line for each finding, in the manner of a compiler, and "ok: 2 programs" for
// a file without findings. Where there are several files, the latter names its file, too.
std::string ToLines(std::vector<CheckedFile> const& files);

// Returns one JSON document on one line, in ASCII, and its line feed.
std::string ToJson(std::vector<CheckedFile> const& files);

#endif
