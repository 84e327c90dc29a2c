// How many processes a user may have, and how many are running.

#ifndef PLATFORM_USER_PROCESSES_H
#define PLATFORM_USER_PROCESSES_H

#include <sys/types.h>

#include <optional>

// A limit of processes, and how many there are. On Linux every thread counts.
struct UserProcesses {
    // The largest number that `ulimit -u`, the system or the control group allows.
    long limit;
    // Those that run now.
    long running;
    // True if the limit is that of a control group, and so counts the processes of all
    // users in that.
    bool is_of_group = false;
};

// Returns the tightest limit of the process `pid`: that of its user, or that of its
// control group. Returns std::nullopt without a limit (root has only that of a control
// group), or if the system does not tell. On macOS the user's limit is that of this
// process.
std::optional<UserProcesses> CountProcessesOf(pid_t pid);

// Returns how many of these processes one launch item takes while its program runs: one
// for the program, and one for its supervising thread where threads count.
int ProcessesOfAnItem();

#endif
