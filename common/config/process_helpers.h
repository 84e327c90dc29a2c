// Two helpers for dealing with other processes.
//
//   pexec("echo one; echo two")  -> "one\ntwo\n"
//   pexec("exit 1")              -> ""
//   IsRunningPID(getpid())       -> true
//
// Both may be called from any thread.

#ifndef COMMON_CONFIG_PROCESS_HELPERS_H
#define COMMON_CONFIG_PROCESS_HELPERS_H

#include <string>

// Runs `command` in the shell, waits until it has closed its standard output and ended,
// and returns what it wrote there. Its standard input and error are the caller's. Its
// exit status plays no part: a command that fails, or is not found, returns what it
// printed, possibly nothing. A NUL in the output and what follows it are dropped, up to
// the end of the line or of 127 characters.
//
// Throws std::runtime_error "popen() failed!" if the command cannot be started. The shell
// reads all of `command`, so never put a stranger's text into it.
std::string pexec(std::string command);

// Says whether this process may send a signal to process `pid`, as an answer to whether
// that is running. So it is false for another user's process, unless the caller is root;
// and true for a process that has ended but was not yet waited for. `pid` is narrowed to
// the system's 32-bit type; 0 and negative values mean process groups, as they do for
// kill.
bool IsRunningPID(long long pid);

#endif
