// The logs to report on.
//
//   Logs logs([](LogEvent const& event, std::size_t log) { ... });
//   logs.Read({"launcher.log", "-"}, false);

#ifndef TOOLS_LAUNCHLOG_REPORT_LOGS_H
#define TOOLS_LAUNCHLOG_REPORT_LOGS_H

#include <cstddef>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/launchlog_report/line_splitter.h"
#include "tools/launchlog_report/live_log.h"
#include "tools/launchlog_report/log_line.h"
#include "tools/launchlog_report/log_reader.h"

namespace launchlog_report {

// Reads logs with their rotated files, each once.
class Logs {
  public:
    // Takes what a line says, and the number of its log. The rotated files of a log have
    // the number of the log.
    using Taker = std::function<void(LogEvent const& event, std::size_t log)>;

    // Takes a line, whether it is a launcher's, and the number of its log.
    using LineTaker =
        std::function<void(std::string const& line, bool is_understood, std::size_t log)>;

    explicit Logs(Taker taker) : take(std::move(taker)) {}

    // Lets `taker` take each line before what it says is passed on. A line that is too
    // long, and so cut, is not understood. Call it before Read.
    void SetLineTaker(LineTaker taker) { take_line = std::move(taker); }

    // Reads the files: of each log first the rotated files, in the order of the times in
    // them, then the log itself. With `follow` a log may be missing, and its last line
    // may be incomplete. Called again, it reads only the logs that are new.
    void Read(std::vector<std::string> const& paths, bool follow);

    // Passes on what was written to the logs since the last call.
    void ReadOn();

    // Returns the paths of the logs, by their numbers.
    std::vector<std::string> Paths() const;

    // Returns the number of lines that were too long. They are not passed on.
    long long CutLines() const { return cut_lines; }

    // Returns what cannot be read and why, a line each: "launcher.log: Permission
    // denied". When a log can be read after all, or has its first launcher's line, its
    // problem is over.
    std::vector<std::string> Problems() const;

    // Returns the logs that are waited for, a line each: "launcher.log: not there yet".
    std::vector<std::string> MissingLogs() const;

  private:
    struct LineCounts {
        long long all = 0;
        long long of_launchers = 0;
        // The beginning of the first line.
        std::string beginning;
    };
    // A log with its rotated files.
    struct Log {
        // The path of the log itself, whether it was named or not.
        std::string path;
        bool is_named = false;
        // The rotated files that were named.
        std::vector<std::string> rotated;
        // Why rotated files cannot be read.
        std::vector<std::string> problems;
        // The log itself, if it was named and is a file.
        std::optional<LiveLog> live;
        LineCounts counts;
        bool may_be_missing = false;
        // Why it is not a launcher's log, judged by its first lines.
        std::string no_log;
    };

    void Group(std::vector<std::string> const& paths);
    Log& FindLog(std::string const& path);
    void ReadLog(Log& log, std::size_t number, bool follow);
    void ReadRotated(Log& log, std::size_t number);
    void ReadFile(std::string const& path, Log& log, std::size_t number);
    launchlog_report::LineTaker CountingTaker(LineCounts& counts, std::size_t number);
    static std::string WhyNoLog(LineCounts const& counts);
    static std::string LiveProblem(Log const& log);

    Taker take;
    LineTaker take_line;
    ReadFiles read_files;
    // In the order of their numbers. A list, because LiveLogs refer to their counts.
    std::list<Log> logs;
    long long cut_lines = 0;
};

}  // namespace launchlog_report

#endif
