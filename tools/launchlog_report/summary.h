// What launcher logs say, added up.
//
//   Summary summary;
//   summary.Add(event, now);          // for each line of a log
//   Report const report = summary.At(now);

#ifndef TOOLS_LAUNCHLOG_REPORT_SUMMARY_H
#define TOOLS_LAUNCHLOG_REPORT_SUMMARY_H

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "tools/launchlog_report/item_history.h"
#include "tools/launchlog_report/log_line.h"
#include "tools/launchlog_report/wait_status.h"

// One item, at a point in time. Of several logs with the item, the sums.
struct Row {
    std::string name;
    long long ends = 0;
    long long restarts = 0;
    // The restarts of the last 60 seconds; std::nullopt if no log tells the time of its
    // ends.
    std::optional<long long> restarts_per_minute;
    std::optional<Time> first_end;
    // The last end in its log; of several logs, the latest of these.
    std::optional<Time> last_end;
    // Of the same end. Nothing if there was no end, or the launcher could not wait for
    // it.
    std::optional<ProgramEnd> last_status;
    // The states of the item; each is one if it is so in one of the logs.
    bool given_up = false;
    bool no_program = false;
    bool chain = false;
    // The processes that the chain had at least; std::nullopt if the log does not tell.
    std::optional<long long> chain_processes;
    // The time of the last line about the item.
    std::optional<Time> last_line;

    // More than ten restarts in the last minute.
    bool RestartsOften() const {
        return restarts_per_minute.has_value() && *restarts_per_minute > 10;
    }

    // It restarts often or is in one of the states.
    bool IsMarked() const { return RestartsOften() || given_up || no_program || chain; }
};

// The states and the last status in words: "exit 3", "unknown, waitpid failed",
// "given up: fork failed; exit 3", "chain of 40 processes".
std::string DescribeLastStatus(Row const& row);

// What one launcher process said about itself.
struct LauncherLines {
    // Its process id; empty if the lines have none.
    std::string process;
    std::optional<Time> first;
    std::optional<Time> last;
    long long items_without_name = 0;
    // It could not read its list, or start an item of it, and has ended.
    bool list_failed = false;
};

// All that is known at a point in time.
struct Report {
    Time now = 0;
    // By their names.
    std::vector<Row> items;
    // In the order of their first lines.
    std::vector<LauncherLines> launchers;
    // Lines that were too long to be read to their end.
    long long cut_lines = 0;
    // What is wrong with the files, for a report that is alone on a screen, and which
    // are waited for.
    std::vector<std::string> problems;
};

class Summary {
  public:
    // Adds what a line said. The lines of one log come in their order. `now` is the time
    // of the next call of At or before; it never decreases.
    void Add(LogEvent const& event, Time now, std::size_t log = 0);

    // Returns the report. Only what lies within the 60 seconds up to `now` counts as the
    // last minute.
    Report At(Time now);

  private:
    struct Log {
        // The item that a process has logged a line about, as a supervisor.
        std::unordered_map<std::string, std::string> items;
        // The processes that have logged lines about two items, or about themselves.
        std::unordered_set<std::string> launchers;
    };
    struct Item {
        std::map<std::size_t, ItemHistory> histories;
        // The log that has spoken of it last, and when.
        std::size_t last_log = 0;
        std::optional<Time> last_line;
    };

    bool IsLauncher(LogEvent const& event, std::size_t log);
    void NoteLauncher(std::string const& process, std::size_t log);
    void AddLauncherLine(LogEvent const& event);

    std::map<std::size_t, Log> logs;
    std::map<std::string, Item> items;
    std::vector<LauncherLines> launchers;
    // The place in `launchers` of the latest entry of each process.
    std::unordered_map<std::string, std::size_t> launcher_places;
};

#endif
