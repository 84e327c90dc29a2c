// A log file that holds up whoever writes to it, until the test lets the lines through.

#ifndef TESTS_SUPPORT_LOG_GATE_H
#define TESTS_SUPPORT_LOG_GATE_H

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

// A FIFO in the place of a log file: a thread that logs waits in the opening of it.
class LogGate {
  public:
    explicit LogGate(std::filesystem::path const& log_file);
    ~LogGate();
    LogGate(LogGate const&) = delete;
    LogGate& operator=(LogGate const&) = delete;

    // Waits until `count` threads of the process are held up.
    bool WaitUntilHeldUp(pid_t process, int count) const;

    // Leaves its place to another gate, with those that are held up here.
    void MoveAway();

    // Lets all lines through from now on.
    void Open();

    // Returns the lines that came through so far, from the level on.
    std::vector<std::string> Log();

  private:
    std::filesystem::path path;
    int descriptor = -1;
    std::string text;
};

#endif
