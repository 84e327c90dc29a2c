// The processes of launch-with. The launcher starts the partner, which forks the watcher.
// The watcher leads a session of its own, and the program is its child and leads a
// process group there. Both execute launch-with, the watcher with the partner's
// arguments.

#ifndef TOOLS_RUNNING_WATCHER_H
#define TOOLS_RUNNING_WATCHER_H

#include <chrono>

#include "platform/process_table.h"
#include "tools/running/snapshot.h"

namespace running {

// Returns true if the process executes launch-with and was started to do so.
bool IsPartner(ProcessInfo const& process);

// Returns true if the process is the watcher of a partner, which may have ended.
bool IsWatcher(ProcessInfo const& process);

// Return the program that launch-with started for this partner or watcher; null if it has
// not started it, or if the process is neither.
ProcessInfo const* ProgramOfPartner(Snapshot const& snapshot, ProcessInfo const& partner);
ProcessInfo const* ProgramOfWatcher(Snapshot const& snapshot, ProcessInfo const& watcher);

// Returns how long the watcher lets its program end after SIGTERM, before SIGKILL.
std::chrono::milliseconds GraceOf(ProcessInfo const& watcher);

}  // namespace running

#endif
