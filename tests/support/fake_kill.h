// Replaces `kill` in the program that links fake_kill.cpp: a signal to an id of 0 or
// below, which means many processes, is not sent but noted.

#ifndef TESTS_SUPPORT_FAKE_KILL_H
#define TESTS_SUPPORT_FAKE_KILL_H

#include <sys/types.h>

#include <utility>
#include <vector>

// Returns the ids and signals that were noted since the last call, in order.
std::vector<std::pair<pid_t, int>> TakeUnsentKills();

#endif
