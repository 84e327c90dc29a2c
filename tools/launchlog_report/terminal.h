// The terminal of the standard output, and the signals that come from it.

#ifndef TOOLS_LAUNCHLOG_REPORT_TERMINAL_H
#define TOOLS_LAUNCHLOG_REPORT_TERMINAL_H

#include "tools/launchlog_report/table.h"

namespace launchlog_report {

// Returns whether the standard output is a terminal.
bool IsOnTerminal();

// Returns the size of the terminal: COLUMNS and LINES if they are set, else what the
// terminal says. Without a terminal there are no limits.
Space TerminalSize();

// Makes wcwidth return the widths of characters in UTF-8, whatever the user's locale.
void SetCharacterWidths();

// Catches SIGINT, SIGTERM and SIGWINCH for the rest of the process. Make one at most.
class Signals {
  public:
    Signals();
    Signals(Signals const&) = delete;
    Signals& operator=(Signals const&) = delete;

    // Waits for one of the signals, or until the time is over. Returns at once if a
    // signal came since the last call.
    void Wait(int milliseconds);

    // Returns whether SIGINT or SIGTERM came.
    bool IsEndAsked() const;

    // Returns whether a signal ended the last Wait.
    bool HasCome() const { return has_come; }

  private:
    bool has_come = false;
};

}  // namespace launchlog_report

#endif
