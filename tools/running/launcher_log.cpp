#include "tools/running/launcher_log.h"

#include <pwd.h>
#include <unistd.h>

#include "common/config/app_locations.h"
#include "tools/launchlog_report/log_files.h"

namespace running {

namespace {

using launchlog_report::LogEvent;
using launchlog_report::LogEventKind;

// The start of a process is known to some milliseconds, and lines may have full seconds.
constexpr launchlog_report::Time kTolerance = 1000;

std::string HomeOf(uid_t user) {
    if (user == geteuid()) {
        return GetHomePath();
    }
    passwd const* const entry = getpwuid(user);
    return entry == nullptr ? "" : entry->pw_dir;
}

}  // namespace

LauncherLog::LauncherLog(Launcher const& launcher)
    : process(std::to_string(launcher.process.id)),
      user(launcher.process.user),
      start(launcher.process.start_time),
      logs([this](LogEvent const& event, std::size_t) { Take(event); }) {
    ReadOn();
}

void LauncherLog::ReadOn() {
    logs.ReadOn();
    logs.Read(launchlog_report::FindLogs(HomeOf(user)), true);
}

launchlog_report::ItemHistory const* LauncherLog::Find(std::string const& item) const {
    auto const entry = histories.find(item);
    return entry == histories.end() ? nullptr : &entry->second;
}

std::string LauncherLog::ItemOfLink(pid_t link) const {
    auto const entry = starts.find(std::to_string(link));
    return entry == starts.end() ? "" : entry->second;
}

void LauncherLog::Take(LogEvent const& event) {
    bool const has_name = event.kind == LogEventKind::Start ||
                          event.kind == LogEventKind::End ||
                          event.kind == LogEventKind::FailedFork;
    if (!has_name) {
        return;
    }
    // If the clock was set forward, the launcher's lines seem older than the launcher. An
    // earlier process with its id is rare, and to believe that its fork failed is safe.
    bool const is_failed_fork = event.kind == LogEventKind::FailedFork;
    has_failed_fork = has_failed_fork || (is_failed_fork && event.process == process);
    if (event.time && *event.time < start - kTolerance) {
        return;
    }
    if (event.process == process || event.process.empty()) {
        has_failed_fork = has_failed_fork || is_failed_fork;
        histories.try_emplace(event.name, start, launchlog_report::TimeRange())
            .first->second.Add(event, true, 0);
    } else if (event.kind == LogEventKind::Start) {
        starts[event.process] = event.name;
    }
}

}  // namespace running
