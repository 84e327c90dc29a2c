// The lines of a log of the bundle: "TIME LEVEL PID MESSAGE".
//
//   ParseLogLine("2026-01-31T23:59:59.007Z ERROR 4711 [LAUNCHER  ] agent ...")->level
//       -> "ERROR"

#ifndef HARNESS_LOG_LINE_H
#define HARNESS_LOG_LINE_H

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

struct LogLine {
    std::string time;
    std::string level;
    pid_t process_id = 0;
    std::string message;
};

// Returns the parts of a line; std::nullopt if it does not have that form.
std::optional<LogLine> ParseLogLine(std::string const& line);

// Returns the lines of the file that have that form, in order.
std::vector<LogLine> ReadLogLines(std::filesystem::path const& file);

#endif
