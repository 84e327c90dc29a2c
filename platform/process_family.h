// What a process can ask of the system about its own descendants.

#ifndef PLATFORM_PROCESS_FAMILY_H
#define PLATFORM_PROCESS_FAMILY_H

#include <sys/types.h>

// Makes descendants whose parent ends children of this process, so that it can wait for
// all of them. On macOS they become children of launchd, and this does nothing.
void AdoptOrphans() noexcept;

// Returns a descriptor for poll, which is closed on execv. It reports POLLIN once a child
// of this process has ended. SIGCHLD must be blocked. Returns -1 with errno on failure.
int OpenChildEvents() noexcept;

// Lets the descriptor report only children that end from now on.
void ClearChildEvents(int events) noexcept;

// Blocks all signals but SIGKILL and SIGSTOP. On Linux this includes those that the C
// library uses for threads and never blocks: this process must have no thread but one.
void BlockAllSignals() noexcept;

// Lets SIGKILL end this process when its parent ends. On macOS this does nothing.
// Returns false if `parent` is no longer its parent. To be called in a forked child.
bool DieWithParent(pid_t parent) noexcept;

// Lets no signal make this process dump its core, whatever its limits are.
void PreventCoreDump() noexcept;

// Sends the signal to every descendant of this process that is not in the process group
// `group`. It may miss one that is forked meanwhile, and on macOS those whose parent has
// ended.
void SignalDescendants(int signal, pid_t group) noexcept;

#endif
