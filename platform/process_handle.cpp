#include "platform/process_handle.h"

#include <poll.h>
#include <unistd.h>

#include <utility>

ProcessHandle::~ProcessHandle() {
    if (descriptor >= 0) {
        close(descriptor);
    }
}

ProcessHandle::ProcessHandle(ProcessHandle&& other) noexcept
    : descriptor(std::exchange(other.descriptor, -1)),
      pid(std::exchange(other.pid, -1)) {}

ProcessHandle& ProcessHandle::operator=(ProcessHandle&& other) noexcept {
    std::swap(descriptor, other.descriptor);
    std::swap(pid, other.pid);
    return *this;
}

bool ProcessHandle::HasEnded() const noexcept {
    pollfd asked = {descriptor, POLLIN, 0};
    return descriptor < 0 || (poll(&asked, 1, 0) == 1 && asked.revents != 0);
}
