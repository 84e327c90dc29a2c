// One line of a launcher log.
//
//   ParseLogLine("2026-11-21T11:53:38.837Z ERROR 181 [LAUNCHER  ] ticker 187 is killed. "
//                "ret = 187, status = 768")
//       -> an end of "ticker", logged by "181"
//
// The message is found by its text wherever it stands in the line, so that the lines of
// any logging library are read.

#ifndef TOOLS_LAUNCHLOG_REPORT_LOG_LINE_H
#define TOOLS_LAUNCHLOG_REPORT_LOG_LINE_H

#include <optional>
#include <string>

#include "tools/launchlog_report/time_stamp.h"

enum class LogEventKind {
    End,         // a program ended
    FailedFork,  // an item was given up
};

struct LogEvent {
    LogEventKind kind;
    // The item's name as it is in the line.
    std::string name;
    // What the launcher's waitpid returned, and the raw status; for an end.
    long long ret;
    long long status;
    std::optional<Time> time;
    // The process id of the launcher if it stands just before the message, else empty.
    std::string launcher;
};

// Returns what the line says of a program, nothing if it is another line. A name may hold
// anything, the text of a message included; the last numbers of the line count.
std::optional<LogEvent> ParseLogLine(std::string const& line);

#endif
