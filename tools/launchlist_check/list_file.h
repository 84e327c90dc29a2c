// Reading the file that holds a launch list.

#ifndef TOOLS_LAUNCHLIST_CHECK_LIST_FILE_H
#define TOOLS_LAUNCHLIST_CHECK_LIST_FILE_H

#include <string>

#include "tools/launchlist_check/findings.h"

// Reads the file at `path`, or the standard input for "-", into `bytes`. Returns false,
// and sets in `result` why and what that means for the launcher, if it cannot be read
// or is longer than any launch list: then `bytes` holds nothing of use.
bool ReadListFile(std::string const& path, std::string& bytes, CheckResult& result);

#endif
