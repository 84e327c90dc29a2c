// Where the log is written, and how much of it.
//
//   For the product Tamlin and the user alice:
//   GetLogPath()   -> "/Users/alice/Library/Logs/Tamlin/voplog"
//   GetLogLevel()  -> LOGLEVEL_DEBUG, if the file
//                     "/Users/alice/Library/Application Support/Tamlin/log.ini" says
//                         [LOG]
//                         LEVEL=DEBUG
//
// Both read their files anew and never fail. Call them on the main thread at start-up.

#ifndef COMMON_CONFIG_LOG_LOCATION_H
#define COMMON_CONFIG_LOG_LOCATION_H

#include <string>

#include "common/config/log.h"

// Returns the directory for the logging library. It lies in the home directory as it
// is, in the FinderSync extension's container too.
std::string GetLogPath();

// Returns the level that "log.ini" in the application data sets, LOGLEVEL_ERROR if the
// file, the entry or a level of that name is missing. Case counts in the value.
LOGLEVEL GetLogLevel();

#endif
