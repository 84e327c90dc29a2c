// Running a shell command, and testing whether a process is alive.
//
//   pexec("echo one; echo two")  -> "one\ntwo\n"
//   pexec("exit 1")              -> ""
//   IsRunningPID(getpid())       -> true
//
// Both may be called from any thread.

#ifndef COMMON_CONFIG_PROCESS_HELPERS_H
#define COMMON_CONFIG_PROCESS_HELPERS_H

#include <string>

// Runs `command` in the shell, waits for its end and returns its standard output.
// Standard input and error are those of the caller. The exit status is ignored: for a
// command that fails or is not found, the result is what it printed, often an empty
// string. If a line contains a NUL, the rest of the line is lost; in a line of more than
// 127 characters, the rest of the piece of 127.
//
// Throws std::runtime_error "popen() failed!" if the command cannot be started. The shell
// interprets all of `command`, so never put untrusted text into it.
std::string pexec(std::string command);

// Returns true if process `pid` is running and this process may signal it. So the result
// is false for a process of another user, unless the caller is root. It is true for a
// process that has ended but was not yet waited for. Only the low 32 bits of `pid` count;
// 0 and negative values are process groups, as they are for kill.
bool IsRunningPID(long long pid);

#endif
