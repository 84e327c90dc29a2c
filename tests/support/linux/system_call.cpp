#include "tests/support/system_call.h"

#include <linux/futex.h>
#include <sys/syscall.h>

#include <sstream>
#include <string>

#include "harness/files.h"

namespace {

bool IsFutexWait(SystemCall const& call, unsigned long flags) {
    return call.number == SYS_futex &&
           (call.arguments[1] & ~FUTEX_CLOCK_REALTIME) == (FUTEX_WAIT_BITSET | flags);
}

}  // namespace

SystemCall SystemCallOf(pid_t process, pid_t thread) {
    std::istringstream text(ReadFile("/proc/" + std::to_string(process) + "/task/" +
                                     std::to_string(thread) + "/syscall"));
    SystemCall call;
    if (text >> call.number) {
        text >> std::hex;
        for (unsigned long& argument : call.arguments) {
            text >> argument;
        }
    } else {
        call.number = -1;
    }
    return call;
}

bool IsOpening(SystemCall const& call) {
    return call.number == SYS_openat;
}

bool IsReading(SystemCall const& call) {
    return call.number == SYS_read;
}

bool WaitsForCondition(SystemCall const& call) {
    return IsFutexWait(call, FUTEX_PRIVATE_FLAG);
}

// A wait on a condition is private to the process. A wait for a thread's end is not: the
// kernel notifies it.
bool WaitsForThread(SystemCall const& call) {
    return IsFutexWait(call, 0);
}

bool WaitsForLock(SystemCall const& call) {
    unsigned long const no_deadline = 0;
    return call.number == SYS_futex &&
           call.arguments[1] == (FUTEX_WAIT | FUTEX_PRIVATE_FLAG) &&
           call.arguments[3] == no_deadline;
}

bool WaitsForTime(SystemCall const& call) {
    return call.number == SYS_clock_nanosleep || call.number == SYS_nanosleep;
}

bool WaitsForProcess(SystemCall const& call, pid_t process) {
    return call.number == SYS_wait4 && static_cast<pid_t>(call.arguments[0]) == process;
}
