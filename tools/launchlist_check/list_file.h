// Reading the file that holds a launch list.

#ifndef TOOLS_LAUNCHLIST_CHECK_LIST_FILE_H
#define TOOLS_LAUNCHLIST_CHECK_LIST_FILE_H

#include <string>

#include "tools/launchlist_check/check_result.h"

namespace launchlist_check {

// Reads the file at `path`, or the standard input for "-", into `bytes` and returns true.
//
// Returns false if the file cannot be read, has no end, or is longer than any launch
// list. `result` then says why, and what the launcher does with such a file; the content
// of `bytes` is unspecified.
//
// A pipe is read until its writer closes it, however long that takes. A named pipe
// without a writer is given a second to get one.
bool ReadListFile(std::string const& path, std::string& bytes, CheckResult& result);

}  // namespace launchlist_check

#endif
