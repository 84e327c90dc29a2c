// One line of a launcher log.
//
//   ParseLogLine("2026-11-21T11:53:38.837Z ERROR 181 [LAUNCHER  ] ticker 187 is killed. "
//                "ret = 187, status = 768")
//       -> an end of "ticker", whose process was "187", logged by "181"
//
// The message is found by its text, wherever it stands in the line. So the lines of any
// logging library can be read.

#ifndef TOOLS_LAUNCHLOG_REPORT_LOG_LINE_H
#define TOOLS_LAUNCHLOG_REPORT_LOG_LINE_H

#include <optional>
#include <string>

#include "tools/launchlog_report/time_stamp.h"
#include "tools/launchlog_report/wait_status.h"

namespace launchlog_report {

// What a line is about.
enum class LogEventKind {
    Other,           // a line of a launcher's log, but of no interest
    Start,           // an item is about to be started, at level DEBUG
    End,             // a program ended
    FailedFork,      // an item was given up, or a link of a chain met the process limit
    NoProgram,       // a child found that its item has no program
    NamelessItem,    // the launcher skipped an item
    UnreadableList,  // the launcher could not read its list, or start an item of it
};

// What a line says.
struct LogEvent {
    LogEventKind kind = LogEventKind::Other;
    // The item's name as it stands in the line; empty if the line is about no item.
    std::string name = {};
    // For an end: the process that ended, what waitpid returned, and the raw status.
    std::string child = {};
    long long ret = 0;
    long long status = 0;
    std::optional<Time> time = {};
    // The id of the process that logged the line: the launcher, or a child that it
    // forked. Empty if it does not stand just before the message.
    std::string process = {};
};

// Returns what the line says; std::nullopt if it is not a line of a launcher's log. A
// name may hold anything, even the text of a message: the last numbers of the line count.
std::optional<LogEvent> ParseLogLine(std::string const& line);

// Returns how the program of an end ended; std::nullopt if the launcher could not wait
// for it.
std::optional<ProgramEnd> StatusOf(LogEvent const& end);

}  // namespace launchlog_report

#endif
