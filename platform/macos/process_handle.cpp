#include "platform/process_handle.h"

#include <fcntl.h>
#include <sys/event.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

// A queue of events, for which the end of the process is an event that nobody takes out.
ProcessHandle::ProcessHandle(pid_t opened) noexcept : descriptor(kqueue()), pid(opened) {
    if (descriptor < 0) {
        return;
    }
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    struct kevent end = {};
    EV_SET(&end, static_cast<uintptr_t>(opened), EVFILT_PROC, EV_ADD, NOTE_EXIT, 0,
           nullptr);
    if (kevent(descriptor, &end, 1, nullptr, 0, nullptr) != 0) {
        int const error = errno;
        close(descriptor);
        descriptor = -1;
        errno = error;
    }
}

// The system can signal by id only. The id cannot belong to another process before the
// end has been reported, except for the moment between the two calls.
bool ProcessHandle::Signal(int signal) const noexcept {
    if (HasEnded()) {
        errno = ESRCH;
        return false;
    }
    return kill(pid, signal) == 0;
}
