// The check of a launch list: what the launcher will do with it, before it does.
//
//   CheckLaunchList("{\"0\": {\"name\": \"a\", \"program\": \"/bin/sh\"}}")
//       -> no findings, one program
//   CheckLaunchList("{\"0\": {\"name\": \"a\", \"program\": \"sh\"}}")
//       -> one finding, of the kind "relative-program"
//
// Values are read as the launcher reads them, by the same parser and the same handle.
// Nothing is started.

#ifndef TOOLS_LAUNCHLIST_CHECK_LIST_CHECK_H
#define TOOLS_LAUNCHLIST_CHECK_LIST_CHECK_H

#include <string>

#include "tools/launchlist_check/findings.h"

// Checks the bytes of a launch list, whatever they are. The findings come in the order
// of the list: what is about the whole text, the items by their numbers, other keys.
CheckResult CheckLaunchList(std::string const& bytes);

// Does the same with the file at `path`, or with the standard input for "-".
CheckResult CheckLaunchListFile(std::string const& path);

#endif
