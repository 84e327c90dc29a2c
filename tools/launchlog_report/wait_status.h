// Raw wait status words, as the launcher logs them, in words.
//
//   Describe(DecodeWaitStatus(768))  -> "exit 3"
//   Describe(DecodeWaitStatus(9))    -> "killed by SIGKILL"
//   Describe(DecodeWaitStatus(139))  -> "killed by SIGSEGV, core dumped"
//
// Signals have the numbers and names of the system that this runs on.

#ifndef TOOLS_LAUNCHLOG_REPORT_WAIT_STATUS_H
#define TOOLS_LAUNCHLOG_REPORT_WAIT_STATUS_H

#include <optional>
#include <string>

// How a program ended: by an exit or by a signal; neither if the status says nothing of
// an end.
struct ProgramEnd {
    long long wait_status;
    std::optional<int> exit_code;
    std::optional<int> signal;
    bool core_dumped;
};

ProgramEnd DecodeWaitStatus(long long status);

// Returns "SIGSEGV", or "signal 42" for one without a name.
std::string SignalName(int number);

// Returns the end in words; "status 4991" if it is none.
std::string Describe(ProgramEnd const& end);

#endif
