// Reading the file that holds a launch list.

#ifndef TOOLS_LAUNCHLIST_CHECK_LIST_FILE_H
#define TOOLS_LAUNCHLIST_CHECK_LIST_FILE_H

#include <string>

#include "tools/launchlist_check/check_result.h"

// Reads the file at `path`, or the standard input for "-", into `bytes`. A pipe is read
// until its writer closes it, which takes as long as that takes.
//
// Returns false if the file cannot be read, has no end, or is longer than any launch
// list. Then `result` says why, and what that means for the launcher, and `bytes` holds
// nothing of use. A named pipe gets a second to find a writer.
bool ReadListFile(std::string const& path, std::string& bytes, CheckResult& result);

#endif
