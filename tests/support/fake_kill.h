// Stands in for `kill` in the program that it is linked into: ids of 0 and below, which
// mean many processes, are recorded and not passed on.

#ifndef TESTS_SUPPORT_FAKE_KILL_H
#define TESTS_SUPPORT_FAKE_KILL_H

#include <sys/types.h>

#include <utility>
#include <vector>

// Returns the ids and signals that were recorded so far, and forgets them.
std::vector<std::pair<pid_t, int>> TakeUnsentKills();

#endif
