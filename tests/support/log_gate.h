// A log file that blocks whoever writes to it, until the test lets the lines through.

#ifndef TESTS_SUPPORT_LOG_GATE_H
#define TESTS_SUPPORT_LOG_GATE_H

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

// A FIFO in the place of a log file: a thread that logs blocks when it opens the file.
class LogGate {
  public:
    explicit LogGate(std::filesystem::path const& log_file);
    ~LogGate();
    LogGate(LogGate const&) = delete;
    LogGate& operator=(LogGate const&) = delete;

    // Waits until `count` threads of the process are blocked.
    bool WaitUntilBlocked(pid_t process, int count) const;

    // Makes room for another gate. Threads that are blocked here stay blocked here.
    void MoveAway();

    // Lets all lines through from now on.
    void Open();

    // Returns the lines that came through so far, each from the level on.
    std::vector<std::string> Log();

  private:
    std::filesystem::path path;
    int descriptor = -1;
    std::string text;
};

#endif
