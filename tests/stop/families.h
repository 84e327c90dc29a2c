// The processes that a test has started, told by what they inherited.

#ifndef TESTS_STOP_FAMILIES_H
#define TESTS_STOP_FAMILIES_H

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

// Returns the processes that have `text` in their environment, without zombies. All that
// a process starts have its environment.
std::vector<pid_t> ProcessesWith(std::string const& text);

// Returns a line for each of these processes: its id, parent, state and command line.
std::string DescribeProcesses(std::vector<pid_t> const& processes);

// Returns the number in the environment variable, `fallback` if it is not set.
unsigned long NumberFromEnvironment(char const* name, unsigned long fallback);

#endif
