// The processes that a test has started, told by what they inherited.

#ifndef TESTS_STOP_FAMILIES_H
#define TESTS_STOP_FAMILIES_H

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "harness/process.h"

// Returns a line for each of these processes: its id, parent, state and command line.
std::string DescribeProcesses(std::vector<pid_t> const& processes);

// Makes a process in the group and session of this process that stays.
void AddNeighbour();

// Starts `command` as a shell without job control does: in one process group with the
// shell and a neighbour, which stay. Returns the shell, the leader of the session. What
// the command starts has `marker` in its environment.
std::unique_ptr<Process> StartFromShell(std::vector<std::string> command,
                                        std::string const& marker);

// Returns the number in the environment variable, `fallback` if it is not set.
unsigned long NumberFromEnvironment(char const* name, unsigned long fallback);

#endif
