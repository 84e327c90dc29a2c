// Chains of processes, as a log shows them.
//
// If a program cannot be executed, the child that was forked for it forks a child of its
// own after 50 ms, and so on. Each link of this chain logs its start under its own
// process id. In ordinary restarts all lines come from the launcher.

#ifndef TOOLS_LAUNCHLOG_REPORT_CHAIN_H
#define TOOLS_LAUNCHLOG_REPORT_CHAIN_H

#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "tools/launchlog_report/log_line.h"

namespace launchlog_report {

// Finds a chain in the lines of one log about one item.
//
// There is a chain if
//   - four processes logged their first start, each 50 to 100 ms after the one before;
//   - or ten did, each at most 5 seconds after the one before;
//   - or a process logged lines of the item as the launcher does, and then its end was
//     logged as that of the item's program. Without level DEBUG only this is seen.
//
// It is over when a process logs its first start more than 5 seconds after the chain's
// last line, or when a process outside of the chain logs the end of an ordinary program.
class ChainDetector {
  public:
    // Takes a start, an end or a failed fork. `is_launcher` says that the process is
    // known to be a launcher, and so no link.
    void Add(LogEvent const& event, bool is_launcher);

    // Removes a process from the chain: it has turned out to be a launcher.
    void Forget(std::string const& launcher);

    bool IsChain() const { return is_chain; }

    // Returns how many processes logged a start of their own in the chain; std::nullopt
    // if the log does not tell.
    std::optional<long long> Processes() const;

  private:
    // The last line of a process that supervises the item, or is a link of its chain.
    struct Line {
        LogEventKind kind;
        long long number;
        std::optional<Time> time;
    };

    void AddStart(LogEvent const& event, bool is_launcher);
    void AddEnd(LogEvent const& event);
    void AddOrdinaryEnd(LogEvent const& event);
    bool IsOfANewProcess(LogEvent const& start) const;
    bool IsLink(std::string const& process) const;
    bool WasLink(Line const& child, LogEvent const& end) const;
    bool LooksLikeAChain() const;
    bool IsLongAfterTheLastSign(LogEvent const& event) const;
    void Reset();

    std::unordered_map<std::string, Line> last_lines;
    // The times of first starts, by the numbers of their lines.
    std::map<long long, std::optional<Time>> first_starts;
    // These numbers by process. A process id that was used again has several.
    std::unordered_map<std::string, std::vector<long long>> start_numbers;
    std::optional<Time> last_sign;
    bool is_chain = false;
    long long lines = 0;
};

}  // namespace launchlog_report

#endif
