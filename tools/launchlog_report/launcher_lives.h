// Which launcher wrote a line, though a later launcher may get the same process id.
//
//   LauncherLives lives;
//   std::optional<std::size_t> const life = lives.Add(event, 0);   // for each line of
//   log 0

#ifndef TOOLS_LAUNCHLOG_REPORT_LAUNCHER_LIVES_H
#define TOOLS_LAUNCHLOG_REPORT_LAUNCHER_LIVES_H

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "tools/launchlog_report/log_line.h"

namespace launchlog_report {

// A line belongs to a new launcher if its process
//   - logged an unreadable list before, after which it only kills its programs;
//   - starts an item that it has started or given up more than a minute ago, without an
//     end in between;
//   - logs a message of the start-up more than a minute after its first line;
//   - knows two items or more, and the last line of each was an end by SIGKILL, as in a
//     stop; but the kill of an item that was not killed yet is still of that stop.
//
// The last may also be a launcher whose programs were all killed by somebody else. A
// launcher that died without a stop cannot be told apart from the next one with its
// process id.
class LauncherLives {
  public:
    // Takes a line, in the order of the lines of one log. Returns the number of the life
    // that it belongs to; the numbers count from 0. Returns std::nullopt if the line does
    // not show that its process is a launcher.
    std::optional<std::size_t> Add(LogEvent const& event, std::size_t log);

  private:
    // The last line about an item.
    struct Line {
        LogEventKind kind = LogEventKind::Other;
        bool is_kill = false;
        std::optional<Time> time = {};
    };
    struct Life {
        std::size_t number = 0;
        std::optional<Time> first;
        bool is_over = false;
        std::map<std::string, Line> items;
        // How many items were killed last.
        std::size_t killed = 0;
    };

    static bool IsOfAnother(Life const& life, LogEvent const& event);
    static void AddItemLine(Life& life, LogEvent const& event);

    // The last life of each process, by the number of the log and the process id.
    std::map<std::pair<std::size_t, std::string>, Life> lives;
    std::size_t count = 0;
};

}  // namespace launchlog_report

#endif
