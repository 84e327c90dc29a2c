// What the log of the user says about one launcher.

#ifndef TOOLS_RUNNING_LAUNCHER_LOG_H
#define TOOLS_RUNNING_LAUNCHER_LOG_H

#include <map>
#include <string>
#include <unordered_map>

#include "tools/launchlog_report/item_history.h"
#include "tools/launchlog_report/logs.h"
#include "tools/running/launcher.h"

namespace running {

// The lines of one launcher, read again and again as they are written.
class LauncherLog {
  public:
    // Reads the logs of the launcher's user. Lines of other launchers, and lines that are
    // older than the process, are skipped; but see HasFailedFork. Lines without a process
    // id count.
    explicit LauncherLog(Launcher const& launcher);
    LauncherLog(LauncherLog const&) = delete;
    LauncherLog& operator=(LauncherLog const&) = delete;

    // Reads what was written since the last call, also to logs that were not there
    // before.
    void ReadOn();

    // Returns what the launcher logged about the item; null without a line.
    launchlog_report::ItemHistory const* Find(std::string const& item) const;

    // Returns true if the launcher has logged that a fork failed. A line with its process
    // id counts even if it is older than the process, since the clock may have been set.
    bool HasFailedFork() const { return has_failed_fork; }

    // Returns the item whose start this link of a chain has logged; an empty string
    // without such a line. It takes the level DEBUG.
    std::string ItemOfLink(pid_t link) const;

  private:
    void Take(launchlog_report::LogEvent const& event);

    std::string const process;
    uid_t const user;
    bool has_failed_fork = false;
    launchlog_report::Time const start;
    std::map<std::string, launchlog_report::ItemHistory> histories;
    // The items that processes logged a start of, by their ids.
    std::unordered_map<std::string, std::string> starts;
    launchlog_report::Logs logs;
};

}  // namespace running

#endif
