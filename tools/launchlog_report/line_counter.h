// Totals that never fall, though logs are rotated away and this program is started again.
//
//   LineCounter counter(carried, path_of_log);   // what the old file holds
//   counter.TakeLine(line, true, 0);    // for each line of log number 0
//   counter.TakeEvent(event, 0);        // if it is a launcher's line
//   counter.FinishFirstRead();          // after all that is there
//   counter.Result();

#ifndef TOOLS_LAUNCHLOG_REPORT_LINE_COUNTER_H
#define TOOLS_LAUNCHLOG_REPORT_LINE_COUNTER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "tools/launchlog_report/ends.h"
#include "tools/launchlog_report/summary.h"

namespace launchlog_report {

// The totals of one item, over all logs and runs.
struct ItemTotals {
    // By the numbers of the causes. A stop counts as a signal.
    std::array<long long, kCauses> ends = {};
    long long restarts = 0;
    std::optional<Time> last_end;
};

// What never falls.
struct Totals {
    // By the names of the items, in UTF-8.
    std::map<std::string, ItemTotals> items;
    // Lines of the logs that are not a launcher's.
    long long lines_not_understood = 0;

    // Adds the totals of `other`.
    void Add(Totals const& other);
};

// The last line of a log that was counted.
struct Position {
    // Hash of the line; without a time, also of the lines back to the last one with a
    // time.
    std::uint64_t hash = 0;
    // Its time, or that of the line before it.
    std::optional<Time> time;
};

// What is carried over from one run of this program to the next.
struct Carried {
    Totals totals;
    // By the paths of the logs.
    std::map<std::string, Position> positions;
    std::map<std::string, GivenUpItems> given_up;
};

// Counts each line of the logs once over all runs. In what is left of a log, the lines up
// to the last one that was counted are skipped. If that line is not there any more, the
// lines up to its time are skipped; also if the log comes back later.
class LineCounter {
  public:
    using PathOf = std::function<std::string(std::size_t log)>;

    LineCounter(Carried before, PathOf path);

    // Takes a line. If it is a launcher's line, TakeEvent follows.
    void TakeLine(std::string const& line, bool is_understood, std::size_t log);
    void TakeEvent(LogEvent const& event, std::size_t log);

    // To be called after all lines that were there at the start.
    void FinishFirstRead();

    // Returns the totals of all runs, and the positions for the next one.
    Carried Result() const;

  private:
    struct Log {
        std::string path;
        Position last;
        // The position of the run before, as long as it is looked for.
        std::optional<Position> searched;
        bool is_found = false;
        // For a log that was not there at the first read: lines up to this time were
        // counted by the run before. Empty once a later line has come.
        std::optional<Time> counted_until;
        // Totals of the lines after the last one that fits the position.
        Totals after;
        // Totals of the lines that are later than the position.
        Totals later;
        // The line that was taken last is the position itself, or is later.
        bool is_position = false;
        bool is_later = false;
    };

    Log& Find(std::size_t log);
    void Count(Log& log, std::function<void(Totals& totals)> const& count);
    void CountRestart(ProgramRunEnd const& end);

    Carried carried;
    PathOf path_of;
    Ends ends;
    std::map<std::size_t, Log> logs;
    bool is_first_read = true;
};

}  // namespace launchlog_report

#endif
