// Raw wait statuses, as the launcher logs them, in words.
//
//   Describe(DecodeWaitStatus(768))  -> "exit 3"
//   Describe(DecodeWaitStatus(9))    -> "killed by SIGKILL"
//   Describe(DecodeWaitStatus(139))  -> "killed by SIGSEGV, core dumped"
//
// Signals have the numbers and names of the system on which this runs.

#ifndef TOOLS_LAUNCHLOG_REPORT_WAIT_STATUS_H
#define TOOLS_LAUNCHLOG_REPORT_WAIT_STATUS_H

#include <optional>
#include <string>

namespace launchlog_report {

// How a program ended. If the wait status is not that of an end, it has neither an exit
// code nor a signal.
struct ProgramEnd {
    long long wait_status;
    std::optional<int> exit_code;
    std::optional<int> signal;
    bool core_dumped;
};

// Returns how the program ended whose wait status, as waitpid gives it, this is.
ProgramEnd DecodeWaitStatus(long long status);

// Returns "SIGSEGV", or "signal 42" for one without a name.
std::string SignalName(int number);

// Returns the end in words; "status 4991" if the wait status is not that of an end.
std::string Describe(ProgramEnd const& end);

// Returns the same; "unknown, waitpid failed" without a status.
std::string DescribeStatus(std::optional<ProgramEnd> const& end);

}  // namespace launchlog_report

#endif
