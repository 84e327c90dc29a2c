// What one log says of one item.

#ifndef TOOLS_LAUNCHLOG_REPORT_ITEM_HISTORY_H
#define TOOLS_LAUNCHLOG_REPORT_ITEM_HISTORY_H

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tools/launchlog_report/chain.h"
#include "tools/launchlog_report/log_line.h"
#include "tools/launchlog_report/wait_status.h"
#include "tools/launchlog_report/when.h"

namespace launchlog_report {

// Adds up the lines of an item, in their order in the log.
class ItemHistory {
  public:
    // `time` is the time of the first report. Only ends of the range are counted.
    ItemHistory(Time time, TimeRange const& covered) : now(time), range(covered) {}

    // Takes a line of the item. `is_launcher` says that the line's process is known to be
    // a launcher, `life` which one it is; see LauncherLives.
    void Add(LogEvent const& event, bool is_launcher, std::size_t life);

    // Takes note that a process is a launcher, not a link of a chain.
    void NoteLauncher(std::string const& process) { chain.Forget(process); }

    // Sets the time of the report, which is never earlier than the one before. Ends of
    // more than a minute ago are forgotten.
    void SetNow(Time time);

    long long Ends() const { return ends; }
    // Returns the ends minus the stops. A launcher's last end of the item counts as a
    // stop if it was a SIGKILL.
    long long Restarts() const { return ends - static_cast<long long>(stops.size()); }
    // Returns the restarts of the 60 seconds up to the time of the report; std::nullopt
    // if there are ends, but none has a time.
    std::optional<long long> RestartsPerMinute() const;

    // Return the time of the first end that has one, and of the last end. First and last
    // are by the order of the lines, even if the clock was set back.
    std::optional<Time> FirstEnd() const { return first_end; }
    std::optional<Time> LastEnd() const { return last_end; }
    // Returns how the program ended last; std::nullopt if there was no end, or if the
    // launcher could not wait for it.
    std::optional<ProgramEnd> const& LastStatus() const { return last_status; }

    // Returns whether a fork failed, and no start and no end of the item came after it.
    bool IsGivenUp() const { return is_given_up; }
    // Returns whether the last child had no program to start.
    bool HasNoProgram() const { return no_program_since.has_value(); }
    ChainDetector const& Chain() const { return chain; }

  private:
    void AddStart(LogEvent const& event);
    void AddEnd(LogEvent const& event, std::size_t life);
    void CountEnd(LogEvent const& event, std::size_t life);
    void AddNoProgram(LogEvent const& event);
    bool IsInLastMinute(Time time) const;

    Time now;
    TimeRange range;
    ChainDetector chain;
    long long ends = 0;
    std::optional<Time> first_end;
    std::optional<Time> last_end;
    std::optional<ProgramEnd> last_status;
    // The ends that a report may count as those of the last minute.
    std::vector<Time> recent;
    // The launchers whose last end of the item was a SIGKILL, by their lives, and when.
    std::map<std::size_t, std::optional<Time>> stops;
    bool is_given_up = false;
    // The last line that said so; its process is the parent that logged the end, if
    // known.
    std::optional<LogEvent> no_program_since;
    // The children that had no program and whose ends were not logged yet.
    std::set<std::string> children_without_program;
};

}  // namespace launchlog_report

#endif
