#include "common/config/log.h"

#include "common/config/log_levels.h"

LOGLEVEL StringToLogLevel(std::string keyword) {
    for (log_levels::Level const& level : log_levels::kAll) {
        if (keyword == level.word) {
            return level.number;
        }
    }
    // Contract: every other word is ERROR, one in lower case as well.
    return LOGLEVEL_ERROR;
}
