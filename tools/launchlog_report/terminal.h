// The terminal that the standard output goes to, and the signals for a program on it.

#ifndef TOOLS_LAUNCHLOG_REPORT_TERMINAL_H
#define TOOLS_LAUNCHLOG_REPORT_TERMINAL_H

#include "tools/launchlog_report/table.h"

// Returns the size of the terminal: what COLUMNS and LINES say if they are set, else what
// the terminal says. No limits if the standard output is not a terminal.
Space TerminalSize();

// Catches SIGINT, SIGTERM and SIGWINCH for the rest of the process. Make one at most.
class Signals {
  public:
    Signals();
    Signals(Signals const&) = delete;
    Signals& operator=(Signals const&) = delete;

    // Waits until one of the signals has come since the last call, or the time is over.
    void Wait(int milliseconds);

    // Says whether SIGINT or SIGTERM has come.
    bool IsEndAsked() const;

    // Says whether the last Wait ended by a signal.
    bool HasCome() const { return has_come; }

  private:
    bool has_come = false;
};

#endif
