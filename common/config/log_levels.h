// The words for the log levels: the same in "log.ini" and in the lines of the log.

#ifndef COMMON_CONFIG_LOG_LEVELS_H
#define COMMON_CONFIG_LOG_LEVELS_H

#include "common/config/log.h"

namespace log_levels {

// The words are arrays, not pointers: an address would have to be relocated when the
// logging library is loaded.
struct Level {
    LOGLEVEL number;
    char word[12];
};

constexpr Level kAll[] = {
    {LOGLEVEL_DEBUG, "DEBUG"},       {LOGLEVEL_MESSAGE, "MESSAGE"},
    {LOGLEVEL_WARNING, "WARNING"},   {LOGLEVEL_ERROR, "ERROR"},
    {LOGLEVEL_CRITICAL, "CRITICAL"}, {LOGLEVEL_VERBOSE, "VERBOSE"},
};

}  // namespace log_levels

#endif
