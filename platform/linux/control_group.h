// The limits of processes that control groups set.

#ifndef PLATFORM_LINUX_CONTROL_GROUP_H
#define PLATFORM_LINUX_CONTROL_GROUP_H

#include <filesystem>
#include <optional>
#include <string>

#include "platform/user_processes.h"

// Returns the one of two limits that leaves room for fewer processes. std::nullopt stands
// for no limit.
std::optional<UserProcesses> TighterOf(std::optional<UserProcesses> const& a,
                                       std::optional<UserProcesses> const& b);

// Returns the tightest limit of the control groups of a process; std::nullopt without
// one. `groups` is the text of /proc/PID/cgroup, and `mounts` is /sys/fs/cgroup.
//
//   "0::/user.slice/a.scope\n"  -> MOUNTS/user.slice/a.scope/pids.max (version 2)
//   "8:pids:/a\n"               -> MOUNTS/pids/a/pids.max (version 1)
//
// The groups above count too. A group that is not mounted is skipped.
std::optional<UserProcesses> TightestGroup(std::string const& groups,
                                           std::filesystem::path const& mounts);

#endif
