// How many processes the user may have, and how many are running.

#ifndef PLATFORM_USER_PROCESSES_H
#define PLATFORM_USER_PROCESSES_H

#include <sys/types.h>

#include <optional>

// A limit of processes, and how many there are. On Linux every thread counts.
struct UserProcesses {
    // The largest number that `ulimit -u`, the system or the control group allows.
    long limit;
    // Those that run now, this process included.
    long running;
    // True if the limit is that of this process's control group, and so counts the
    // processes of all users in that.
    bool is_of_group = false;
};

// Returns the limit that leaves the user who runs this process the least room. Returns
// std::nullopt if there is no limit (for root there is only that of a control group), or
// if the system does not tell.
std::optional<UserProcesses> CountUserProcesses();

// Returns the largest number of processes that the user of the process `pid` may have, by
// that process's own limit. Returns std::nullopt if it has none, or if the system does
// not tell. On macOS that is this process's limit.
std::optional<long> ProcessLimitOf(pid_t pid);

// Returns how many of these processes one launch item takes while its program runs: one
// for the program, and one for its supervising thread where threads count.
int ProcessesOfAnItem();

#endif
