// A handle on a process: it never comes to mean another process that got the same id
// later.
//
//   ProcessHandle const agent(pid);
//   if (agent.IsOpen() && IsTheRightOne(pid)) {
//       agent.Signal(SIGTERM);
//   }

#ifndef PLATFORM_PROCESS_HANDLE_H
#define PLATFORM_PROCESS_HANDLE_H

#include <sys/types.h>

// Owns a file descriptor, which is closed on execv. A forked child must open its own
// handle, because some systems do not copy the descriptor.
//
// A handle that is not open behaves like that of a process that has ended.
class ProcessHandle {
  public:
    // Makes an empty handle, which is not open.
    ProcessHandle() = default;

    // Opens the process that has the id `pid` now. Check after that, not before, that it
    // is the one you mean. The handle is not open, and errno says why, if there is no
    // process with this id (ESRCH), or if the system does not give a handle.
    explicit ProcessHandle(pid_t pid) noexcept;

    ~ProcessHandle();
    ProcessHandle(ProcessHandle&& other) noexcept;
    ProcessHandle& operator=(ProcessHandle&& other) noexcept;
    ProcessHandle(ProcessHandle const&) = delete;
    ProcessHandle& operator=(ProcessHandle const&) = delete;

    // Returns true if the handle means a process, even one that has ended by now.
    bool IsOpen() const noexcept { return descriptor >= 0; }

    // Returns the id that the handle was opened with; -1 for an empty handle.
    pid_t Pid() const noexcept { return pid; }

    // Returns the descriptor for poll, which reports POLLIN for it once the process has
    // ended, even if its parent has not reaped it yet; -1 if the handle is not open.
    int Descriptor() const noexcept { return descriptor; }

    // Returns true if the process has ended.
    bool HasEnded() const noexcept;

    // Sends the signal. Returns false, and errno says why, if it was not sent; ESRCH if
    // the process has ended.
    bool Signal(int signal) const noexcept;

  private:
    int descriptor = -1;
    pid_t pid = -1;
};

#endif
