// Reads from a launcher's log at level DEBUG how often each item was started and how it
// ended. A line that is cut off, mixed with another one, or out of order is not
// understood.

#ifndef TESTS_SOAK_LAUNCHER_LOG_H
#define TESTS_SOAK_LAUNCHER_LOG_H

#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

// The passes of one item, in order.
struct Passes {
    std::size_t starts = 0;
    std::vector<pid_t> ended;
    std::vector<int> statuses;  // as waitpid gave them, one for each end
};

struct LauncherLog {
    std::size_t lines = 0;
    std::map<std::string, Passes> items;
    std::vector<std::string> not_understood;
};

// Reads the log of the launcher with this process id.
LauncherLog ReadLauncherLog(std::filesystem::path const& file, pid_t launcher);

#endif
