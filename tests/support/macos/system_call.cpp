#include "tests/support/system_call.h"

#include <stdexcept>

namespace {

[[noreturn]] void ThrowForLackOfLinux() {
    throw std::logic_error("system calls are looked at on Linux only");
}

}  // namespace

SystemCall SystemCallOf(pid_t /*process*/, pid_t /*thread*/) {
    ThrowForLackOfLinux();
}

bool IsOpening(SystemCall const& /*call*/) {
    ThrowForLackOfLinux();
}

bool IsReading(SystemCall const& /*call*/) {
    ThrowForLackOfLinux();
}

bool WaitsForCondition(SystemCall const& /*call*/) {
    ThrowForLackOfLinux();
}

bool WaitsForThread(SystemCall const& /*call*/) {
    ThrowForLackOfLinux();
}

bool WaitsForLock(SystemCall const& /*call*/) {
    ThrowForLackOfLinux();
}

bool WaitsForTime(SystemCall const& /*call*/) {
    ThrowForLackOfLinux();
}

bool WaitsForProcess(SystemCall const& /*call*/, pid_t /*process*/) {
    ThrowForLackOfLinux();
}
