// A program that is started, signalled and awaited.

#ifndef HARNESS_PROCESS_H
#define HARNESS_PROCESS_H

#include <sys/resource.h>
#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

// Returns a pointer to each argument and a null pointer, as main and execv take them.
// They are valid as long as the arguments.
std::vector<char*> Pointers(std::vector<std::string>& arguments);

// A child process with no open file but the standard streams. It leads a session of its
// own, so a signal to its process group reaches nobody else. The destructor kills it if
// it still runs, and reaps it.
class Process {
  public:
    // Starts arguments[0], a path, in a child that has called `prepare` before. The exit
    // code is 127 if the program cannot be executed. Throws std::runtime_error if the
    // fork fails.
    explicit Process(std::vector<std::string> arguments,
                     std::function<void()> prepare = {});

    // Runs `body` in a forked copy of this process, whose exit code is what `body`
    // returns, or 98 if it throws. Throws std::runtime_error if the fork fails.
    explicit Process(std::function<int()> const& body);

    ~Process();
    Process(Process const&) = delete;
    Process& operator=(Process const&) = delete;

    pid_t Pid() const { return pid; }

    // Sends the signal of this number. Only for a process that has not been seen to end.
    void Signal(int number) const;

    // Returns whether the process has ended, and reaps it; does not wait.
    bool HasEnded();

    // Waits for the end as long as WaitFor does. Returns how the process ended, "exit 1"
    // or "signal 9", or "still running".
    std::string WaitForEnd();

    // Returns what the process used, with all children that it waited for. All zero
    // before its end.
    rusage const& Usage() const { return usage; }

  private:
    pid_t pid;
    bool ended = false;
    int status = 0;
    rusage usage = {};
};

#endif
