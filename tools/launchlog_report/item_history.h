// What one log says of one item.

#ifndef TOOLS_LAUNCHLOG_REPORT_ITEM_HISTORY_H
#define TOOLS_LAUNCHLOG_REPORT_ITEM_HISTORY_H

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tools/launchlog_report/chain.h"
#include "tools/launchlog_report/log_line.h"
#include "tools/launchlog_report/wait_status.h"

// Adds up the lines of an item, in their order in the log.
class ItemHistory {
  public:
    // Takes a line of the item. `now` is the time of the next question or before; it
    // never decreases. `is_launcher` says that the line's process is known to be a
    // launcher.
    void Add(LogEvent const& event, Time now, bool is_launcher);

    // Takes note that a process is a launcher, not a link of a chain.
    void NoteLauncher(std::string const& process) { chain.Forget(process); }

    // Forgets the ends that are no longer within the last minute.
    void ForgetBeforeTheLastMinute(Time now);

    long long Ends() const { return ends; }
    // The ends without those of stops. The last end that one launcher process logs is
    // taken for its stop if it is one by SIGKILL.
    long long Restarts() const { return ends - static_cast<long long>(stops.size()); }
    // The restarts of the 60 seconds up to `now`; std::nullopt if there are ends, but
    // none has a time.
    std::optional<long long> RestartsPerMinute(Time now) const;

    // The times of the first end that has one, and of the last end, in the order of the
    // log. A clock that was set back does not change it.
    std::optional<Time> FirstEnd() const { return first_end; }
    std::optional<Time> LastEnd() const { return last_end; }
    // Nothing if there was no end, or the launcher could not wait for it.
    std::optional<ProgramEnd> const& LastStatus() const { return last_status; }

    // A fork failed, and the item was neither started nor ended since.
    bool IsGivenUp() const { return is_given_up; }
    // The last child had no program to start.
    bool HasNoProgram() const { return no_program_since.has_value(); }
    ChainDetector const& Chain() const { return chain; }

  private:
    void AddStart(LogEvent const& event);
    void AddEnd(LogEvent const& event, Time now);
    void AddNoProgram(LogEvent const& event);

    ChainDetector chain;
    long long ends = 0;
    std::optional<Time> first_end;
    std::optional<Time> last_end;
    std::optional<ProgramEnd> last_status;
    // The ends of the last minute.
    std::vector<Time> recent;
    // The launcher processes whose last end of the item was one by SIGKILL, and when.
    std::map<std::string, std::optional<Time>> stops;
    bool is_given_up = false;
    // The line that said so last; its process is the parent that ended it, if known.
    std::optional<LogEvent> no_program_since;
    // The children that had no program and whose ends have not been logged yet.
    std::set<std::string> children_without_program;
};

#endif
