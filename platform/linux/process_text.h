// Reading the texts of /proc about a process.

#ifndef PLATFORM_LINUX_PROCESS_TEXT_H
#define PLATFORM_LINUX_PROCESS_TEXT_H

#include <string>
#include <vector>

#include "platform/process_table.h"

// Takes the fields of /proc/PID/stat into `process`: parent, group, session, state,
// threads, start, CPU time, memory and whether it has executed a program. Returns false
// if they are not there; what `process` then holds is unspecified.
bool TakeStat(std::string const& stat, ProcessInfo& process);

// Returns the arguments in /proc/PID/cmdline, each of which ends with a NUL.
std::vector<std::string> SplitArguments(std::string const& cmdline);

// Returns what /proc/PID/task/TID/status and the file "wchan" beside it tell of a thread,
// without its id.
ThreadInfo ThreadOf(std::string const& status, std::string const& wchan);

#endif
