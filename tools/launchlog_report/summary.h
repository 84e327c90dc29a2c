// What launcher logs say, added up.
//
//   Summary summary(now);
//   summary.Add(event, 0);                     // for each line of log number 0
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
#include "tools/launchlog_report/launcher_lives.h"
#include "tools/launchlog_report/log_line.h"
#include "tools/launchlog_report/wait_status.h"
#include "tools/launchlog_report/when.h"

namespace launchlog_report {

// One item, at a point in time. If several logs have the item, their numbers are added.
struct Row {
    std::string name;
    // How often the program ended.
    long long ends = 0;
    // Ends minus stops. A launcher's last end of an item counts as a stop if it was a
    // SIGKILL.
    long long restarts = 0;
    // The restarts of the last 60 seconds; std::nullopt if no end has a time.
    std::optional<long long> restarts_per_minute;
    std::optional<Time> first_end;
    // The last end in the log; if there are several logs, the latest of these.
    std::optional<Time> last_end;
    // The status of the same end; std::nullopt if there was no end, or if the launcher
    // could not wait for it.
    std::optional<ProgramEnd> last_status;
    // The states of the item, each in at least one of the logs.
    bool given_up = false;
    bool no_program = false;
    bool chain = false;
    // How many processes the chain had, at least; std::nullopt if the log does not tell.
    std::optional<long long> chain_processes;
    // The time of the last line about the item.
    std::optional<Time> last_line;

    // Returns whether it had more than ten restarts in the last minute.
    bool RestartsOften() const {
        return restarts_per_minute.has_value() && *restarts_per_minute > 10;
    }

    // Returns whether it restarts often or is in one of the states.
    bool IsMarked() const { return RestartsOften() || given_up || no_program || chain; }
};

// Returns the states and the last status in words: "exit 3", "unknown, waitpid failed",
// "given up: fork failed; exit 3", "chain of 40 processes".
std::string DescribeLastStatus(Row const& row);

// What one launcher process said about itself.
struct LauncherLines {
    // Its process id; empty if the lines have none.
    std::string process;
    // The times of the first and of the last line.
    std::optional<Time> first;
    std::optional<Time> last;
    long long items_without_name = 0;
    // The launcher could not read its list, or start an item of it, and exited.
    bool list_failed = false;
};

// An item that a launcher has given up, because a fork failed.
struct GivenUpItem {
    // The process id of the launcher.
    std::string launcher;
    std::optional<Time> time;
};

// What the launchers of one log have given up.
struct GivenUpItems {
    // The process id of the launcher that wrote the log last.
    std::string newest_launcher;
    // By the names of the items, in UTF-8. An item that was started or ended since is not
    // there.
    std::map<std::string, GivenUpItem> items;
};

// All that is known at a point in time.
struct Report {
    Time now = 0;
    TimeRange range;
    // In the order of their names.
    std::vector<Row> items;
    // In the order of their first lines.
    std::vector<LauncherLines> launchers;
    // The number of lines that were too long to be read to their end.
    long long cut_lines = 0;
    // The number of lines about items or launchers that were left out, because nobody
    // knows whether they belong to the range.
    long long lines_without_time = 0;
    // Which files are waited for. If the report is alone on a screen, also which files
    // cannot be read.
    std::vector<std::string> problems;
};

// Adds up the lines of all logs.
class Summary {
  public:
    // `first_report` is the time of the first call of At, or earlier. Only ends and
    // messages of the range are counted. What was before it makes the states, too.
    explicit Summary(Time first_report, TimeRange covered = {})
        : now(first_report), range(covered) {}

    // Adds what a line says. The lines of one log come in their order. Lines after the
    // range, and in a range those without a time, are left out.
    void Add(LogEvent const& event, std::size_t log);

    // Tells what had been given up before the first line of the log. Call it before that
    // line is added.
    void SetGivenUp(std::size_t log, GivenUpItems const& before) {
        logs[log].given_up = before;
    }

    // Returns what has been given up. For a log without lines this is what SetGivenUp was
    // called with, or nothing.
    GivenUpItems GivenUp(std::size_t log) const;

    // Returns the report at this time, which is never earlier than before. The last
    // minute is the 60 seconds up to it.
    Report At(Time time);

  private:
    struct Log {
        // The first item about which each process logged a line, as a supervisor.
        std::unordered_map<std::string, std::string> items;
        // The processes that logged lines about two items, or about themselves.
        std::unordered_set<std::string> launchers;
        GivenUpItems given_up;
    };
    struct Item {
        // By the numbers of the logs.
        std::map<std::size_t, ItemHistory> histories;
        // The log that had a line about it last, and the time of this line.
        std::size_t last_log = 0;
        std::optional<Time> last_line;
    };

    void AddItemLine(LogEvent const& event, std::size_t log, std::size_t life);
    bool IsLauncher(LogEvent const& event, std::size_t log);
    void NoteLauncher(std::string const& process, std::size_t log);
    void NoteGivenUp(LogEvent const& event, ItemHistory const& history, bool is_launcher,
                     std::size_t log);
    void AddLauncherLine(LogEvent const& event, std::size_t life);

    // The time of the last report, or of the first one to come.
    Time now;
    TimeRange range;
    long long lines_without_time = 0;
    std::map<std::size_t, Log> logs;
    std::map<std::string, Item> items;
    std::vector<LauncherLines> launchers;
    LauncherLives lives;
    // The places in `launchers`, by the lives.
    std::unordered_map<std::size_t, std::size_t> launcher_places;
};

}  // namespace launchlog_report

#endif
