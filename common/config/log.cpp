#include "common/config/log.h"

#include <array>
#include <utility>

LOGLEVEL StringToLogLevel(std::string keyword) {
    static constexpr std::array<std::pair<char const*, LOGLEVEL>, 6> kLevels = {{
        {"DEBUG", LOGLEVEL_DEBUG},
        {"MESSAGE", LOGLEVEL_MESSAGE},
        {"WARNING", LOGLEVEL_WARNING},
        {"ERROR", LOGLEVEL_ERROR},
        {"CRITICAL", LOGLEVEL_CRITICAL},
        {"VERBOSE", LOGLEVEL_VERBOSE},
    }};
    for (auto const& [name, level] : kLevels) {
        if (keyword == name) {
            return level;
        }
    }
    return LOGLEVEL_ERROR;
}
