// What a page draws: when programs ended, how, and when they ran, as far as the log
// tells.
//
//   Timeline timeline(range);
//   timeline.Add(event, 0);    // for each line of log number 0
//   timeline.Finish();
//   timeline.Limit(40000);
//
// The memory is bounded for each item, however many ends it has: ends that are close to
// each other become one mark.

#ifndef TOOLS_LAUNCHLOG_REPORT_TIMELINE_H
#define TOOLS_LAUNCHLOG_REPORT_TIMELINE_H

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/launchlog_report/ends.h"
#include "tools/launchlog_report/log_line.h"
#include "tools/launchlog_report/when.h"

namespace launchlog_report {

// How many ends have which cause, by the number of the cause.
using CauseCounts = std::array<long long, kCauses>;

// One end, or several that are close to each other.
struct Mark {
    // The longest time in which the program is known to have run, not counting the pauses
    // of its launcher. For one end it is the time from the program's start to its end. If
    // the log shows no such time, `start` is empty.
    std::optional<Time> start;
    Time until = 0;
    // The number of the life of the launcher in that time.
    std::size_t life = 0;
    // The times of the first and of the last end.
    Time first = 0;
    Time last = 0;
    CauseCounts causes = {};
    // The process and the status of an end that is alone.
    std::string process;
    std::string status;

    // Returns how many ends it stands for.
    long long Ends() const;
};

// Marks in the order of their times.
class Marks {
  public:
    // Adds an end. If there are too many marks, those that are close become one.
    void Add(Mark const& end);

    // Merges ends within `span` milliseconds into one mark, now and later.
    void Merge(Time span);

    // The span within which ends are one mark; 0 if each end is a mark of its own.
    Time Span() const { return span; }
    std::vector<Mark> const& List() const { return marks; }

  private:
    void MergeIntoLast(Mark const& mark);
    bool IsCloseToLast(Mark const& mark) const;

    Time span = 0;
    std::vector<Mark> marks;
};

// A time during which a program ran, and did not end.
struct OpenRun {
    Time from;
    Time to;
};

// What the page draws of one item.
struct ItemTimeline {
    // All ends of the range, those without a time too.
    CauseCounts causes = {};
    // The ends that have a time.
    Marks marks;
    std::vector<OpenRun> open_runs;
};

// What a log tells of the life of a launcher. A process id that was used again has
// several lives.
struct LauncherLife {
    // The number of the log, and the launcher's process id.
    std::size_t log = 0;
    std::string process;
    // Its first and its last line.
    Time first = 0;
    Time last = 0;
    // It ended the last of its programs by SIGKILL.
    bool is_stopped = false;
};

// Collects what a page draws, from the lines of all logs.
class Timeline {
  public:
    explicit Timeline(TimeRange const& covered);
    Timeline(Timeline const&) = delete;
    Timeline& operator=(Timeline const&) = delete;

    // Takes a line. The lines of one log come in their order.
    void Add(LogEvent const& event, std::size_t log);

    // To be called once, after the last line.
    void Finish();

    // Leaves about `marks` marks at most, over all items.
    void Limit(std::size_t marks);

    // By the names of the items.
    std::map<std::string, ItemTimeline> const& Items() const { return items; }
    // Of the launchers that logged an end, or messages about themselves. If there are
    // very many, those with the longest lives.
    std::vector<LauncherLife> const& Launchers() const { return launchers; }
    // The times of the first and of the last line of launchers in the range.
    std::optional<Time> FirstLine() const { return first_line; }
    std::optional<Time> LastLine() const { return last_line; }

  private:
    // What is known of a process; those that are no launchers are not drawn.
    struct Life {
        LauncherLife drawn;
        bool is_launcher = false;
        std::optional<Time> last_stop;
    };

    void AddEnd(ProgramRunEnd const& end);
    void AddOpenRun(OpenProgramRun const& run);
    void AddLife(LogEvent const& event, std::size_t log, std::size_t number);
    void MakeLaunchers();
    std::size_t CountMarks() const;

    TimeRange range;
    Ends ends;
    std::map<std::string, ItemTimeline> items;
    // By their numbers; see LauncherLives.
    std::map<std::size_t, Life> lives;
    std::vector<LauncherLife> launchers;
    std::optional<Time> first_line;
    std::optional<Time> last_line;
};

}  // namespace launchlog_report

#endif
