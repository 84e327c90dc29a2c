// The system call in which a thread waits, as Linux tells it in /proc. On macOS all
// functions throw std::logic_error.

#ifndef TESTS_SUPPORT_SYSTEM_CALL_H
#define TESTS_SUPPORT_SYSTEM_CALL_H

#include <sys/types.h>

#include <array>

// The number of a system call and its arguments. The number is -1 if the thread runs, or
// is gone.
struct SystemCall {
    long number = -1;
    std::array<unsigned long, 6> arguments{};
};
SystemCall SystemCallOf(pid_t process, pid_t thread);

// Returns whether a thread in this system call opens a file, or reads from one.
bool IsOpening(SystemCall const& call);
bool IsReading(SystemCall const& call);

// Returns whether a thread in this system call waits on a condition, or for the end of
// another thread.
bool WaitsForCondition(SystemCall const& call);
bool WaitsForThread(SystemCall const& call);

// Returns whether it waits for a lock that another thread holds.
bool WaitsForLock(SystemCall const& call);

// Returns whether it waits for a time to pass.
bool WaitsForTime(SystemCall const& call);

// Returns whether a thread in this system call waits for the end of this process.
bool WaitsForProcess(SystemCall const& call, pid_t process);

#endif
