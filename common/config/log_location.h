// Where the log is written, and from which level on.
//
//   For the product Tamlin and the user alice:
//   GetLogPath()   -> "/Users/alice/Library/Logs/Tamlin/voplog"
//   GetLogLevel()  -> LOGLEVEL_DEBUG, if the file
//                     "/Users/alice/Library/Application Support/Tamlin/log.ini" says
//                         [LOG]
//                         LEVEL=DEBUG
//
// Both functions read their files at every call, and never fail. Call them on the main
// thread at start-up.

#ifndef COMMON_CONFIG_LOG_LOCATION_H
#define COMMON_CONFIG_LOG_LOCATION_H

#include <string>

#include "common/config/log.h"

// Returns the directory for log files, in the home directory of GetHomePath. In the
// FinderSync extension that is the one in its container.
std::string GetLogPath();

// Returns the level that "log.ini" in the application data sets. Returns LOGLEVEL_ERROR
// if the file or the entry is missing, or if its value is not the name of a level. Case
// counts in the value.
LOGLEVEL GetLogLevel();

#endif
