#include "platform/process_handle.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

ProcessHandle::ProcessHandle(pid_t opened) noexcept
    : descriptor(static_cast<int>(syscall(SYS_pidfd_open, opened, 0U))), pid(opened) {}

bool ProcessHandle::Signal(int signal) const noexcept {
    if (descriptor < 0) {
        errno = ESRCH;
        return false;
    }
    return syscall(SYS_pidfd_send_signal, descriptor, signal, nullptr, 0U) == 0;
}
