// The logs to report on.
//
//   Logs logs([](LogEvent const& event, std::size_t log) { ... });
//   logs.Read({"launcher.log", "-"}, false);

#ifndef TOOLS_LAUNCHLOG_REPORT_LOGS_H
#define TOOLS_LAUNCHLOG_REPORT_LOGS_H

#include <cstddef>
#include <functional>
#include <list>
#include <string>
#include <vector>

#include "tools/launchlog_report/live_log.h"
#include "tools/launchlog_report/log_line.h"
#include "tools/launchlog_report/log_reader.h"

class Logs {
  public:
    // Takes what a line says, and the number of the log that it is in. The rotated files
    // of a log have its number.
    using Taker = std::function<void(LogEvent const& event, std::size_t log)>;

    explicit Logs(Taker taker) : take(std::move(taker)) {}

    // Reads the files. Those that rotation made of one log are read in the order of the
    // times in them, and the log itself last. With `follow` a log need not be there yet,
    // and its last line need not be complete.
    void Read(std::vector<std::string> const& paths, bool follow);

    // Passes on what has been written to the logs since.
    void ReadOn();

    // Lines of which only the beginning was read; they are not passed on.
    long long CutLines() const { return cut_lines; }

    // What could not be read and why, a line each: "launcher.log: Permission denied".
    // That a log has no line of a launcher is left out as soon as one has come.
    std::vector<std::string> Problems() const;

    // The logs that are waited for, a line each: "launcher.log: not there yet".
    std::vector<std::string> MissingLogs() const;

  private:
    // A log and what rotation made of it.
    struct Family {
        std::string original;
        std::vector<std::string> rotated;
        bool has_original = false;
    };
    struct LineCounts {
        long long all = 0;
        long long of_launchers = 0;
        // The beginning of the first line.
        std::string first;
    };

    struct Problem {
        std::string text;
        // Of the log that it is over for with a launcher's line; null if it stays.
        LineCounts const* counts = nullptr;
    };

    static std::vector<Family> Group(std::vector<std::string> const& paths);
    void ReadFamily(Family const& family, std::size_t log, bool follow);
    void ReadFile(std::string const& path, std::size_t log);
    void ReadLive(LiveLog& live, std::string const& path, LineCounts& counts,
                  bool follow);
    LineTaker CountingTaker(LineCounts& counts, std::size_t log);
    void Complain(std::string const& path, std::string const& problem,
                  LineCounts const* counts = nullptr);
    static std::string WhyNoLog(LineCounts const& counts);

    Taker take;
    ReadFiles read_files;
    // Each with the counts that its lines add to.
    std::list<LineCounts> live_counts;
    std::list<LiveLog> live_logs;
    std::vector<Problem> problems;
    long long cut_lines = 0;
};

// Returns rotated files in the order of the first times in them. A file that tells no
// time stays after the one before it.
std::vector<std::string> InOrderOfTimes(std::vector<std::string> const& files);

#endif
