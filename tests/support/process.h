// Starting a program from a test, and looking at processes.

#ifndef TESTS_SUPPORT_PROCESS_H
#define TESTS_SUPPORT_PROCESS_H

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

// A child process of the test, in a session of its own, so that what it sends to its
// process group stays there, and with no open file but the standard streams. If it still
// runs it is killed with the object.
class Process {
  public:
    // Starts arguments[0], a path, in a child that has called `prepare` before.
    explicit Process(std::vector<std::string> arguments,
                     std::function<void()> prepare = {});

    // Runs `body` in a forked copy of the test, which ends with what it returns as the
    // exit code.
    explicit Process(std::function<int()> const& body);

    ~Process();
    Process(Process const&) = delete;
    Process& operator=(Process const&) = delete;

    pid_t Pid() const { return pid; }
    void Signal(int number) const;

    // Says whether the process has ended; does not wait.
    bool HasEnded();

    // Waits for the end, 30 seconds at most, and returns it in words: "exit 1" or
    // "signal 9", or "still running".
    std::string WaitForEnd();

  private:
    pid_t pid;
    bool ended = false;
    int status = 0;
};

// Returns the ids of all processes of this PID namespace, zombies included.
std::vector<pid_t> AllProcesses();

// Returns the state letter of a thread or process from /proc: 'R', 'S', 'Z', ..., and 0
// if it is gone.
char StateOf(pid_t pid);

// Says whether the process is gone, or a zombie that its parent has yet to reap or is
// reaping.
bool IsGone(pid_t pid);

// Returns the parent of a process, 0 if it is gone.
pid_t ParentOf(pid_t pid);

// Returns the processes of a session, zombies apart.
std::vector<pid_t> SessionMembers(pid_t session);

// Returns the threads of a process; none if it is gone.
std::vector<pid_t> ThreadsOf(pid_t pid);

// A user who is not root and has no processes but this test's: the system counts a
// user's processes over all namespaces, and tests run side by side.
uid_t LimitedUser();

// Says whether this namespace has such a user.
bool HasLimitedUser();

// Makes this process one of the limited user's, and limits that user to `limit`
// processes and threads. For a child of the test.
void BecomeLimitedUser(unsigned long limit);

#endif
