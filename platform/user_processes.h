// How many processes a user may have, and has.

#ifndef PLATFORM_USER_PROCESSES_H
#define PLATFORM_USER_PROCESSES_H

#include <optional>

struct UserProcesses {
    // The most that this user may have, as `ulimit -u` and the system set it.
    long limit;
    // Those that he has now, this process among them. On Linux every thread counts.
    long running;
};

// Returns the user's processes; std::nullopt if he is not limited, as root is not, or if
// the system does not tell.
std::optional<UserProcesses> CountUserProcesses();

// Returns how many of them an item of the launcher takes while its program runs: one for
// the program, and where threads count one for the thread that supervises it.
int ProcessesOfAnItem();

#endif
