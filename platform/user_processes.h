// How many processes the user may have, and how many are running.

#ifndef PLATFORM_USER_PROCESSES_H
#define PLATFORM_USER_PROCESSES_H

#include <sys/types.h>

#include <optional>

struct UserProcesses {
    // The largest number that `ulimit -u` and the system allow.
    long limit;
    // Those that run now, this process included. On Linux every thread counts.
    long running;
};

// Counts the processes of the user who runs this one. Returns std::nullopt if there is no
// limit for this user (root has none), or if the system does not tell.
std::optional<UserProcesses> CountUserProcesses();

// Returns the largest number of processes that the user of the process `pid` may have, by
// that process's own limit. Returns std::nullopt if it has none, or if the system does
// not tell. On macOS that is this process's limit.
std::optional<long> ProcessLimitOf(pid_t pid);

// Returns how many of these processes one launch item takes while its program runs: one
// for the program, and one for its supervising thread where threads count.
int ProcessesOfAnItem();

#endif
