// The processes of the system at one moment, and how they descend from each other.
//
//   Snapshot const now = Snapshot::Take();
//   for (ProcessInfo const* child : now.ChildrenOf(getpid())) { ... }

#ifndef TOOLS_RUNNING_SNAPSHOT_H
#define TOOLS_RUNNING_SNAPSHOT_H

#include <sys/types.h>

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/process_table.h"

namespace running {

// What tells a process from all others, also from later ones with the same id.
using ProcessKey = std::pair<pid_t, unsigned long long>;

inline ProcessKey KeyOf(ProcessInfo const& process) {
    return {process.id, process.start};
}

// Processes, with their children and ancestors. It never changes.
class Snapshot {
  public:
    // Takes these for all processes of the system.
    explicit Snapshot(std::vector<ProcessInfo> processes);

    // Returns the processes as they are now.
    static Snapshot Take();

    Snapshot(Snapshot&&) = default;
    Snapshot& operator=(Snapshot&&) = default;
    Snapshot(Snapshot const&) = delete;
    Snapshot& operator=(Snapshot const&) = delete;

    // Returns all processes, the oldest first.
    std::vector<ProcessInfo> const& All() const { return processes; }

    // Return a process; null if it is not there. The pointer is valid as long as the
    // snapshot.
    ProcessInfo const* Find(pid_t id) const;
    ProcessInfo const* Find(ProcessKey const& key) const;

    // Returns the children of the process, the oldest first, without zombies.
    std::vector<ProcessInfo const*> ChildrenOf(pid_t id) const;

    // Returns the children, their children and so on, without zombies.
    std::vector<ProcessInfo const*> DescendantsOf(pid_t id) const;

    // Returns the parent, its parent and so on.
    std::vector<ProcessInfo const*> AncestorsOf(ProcessInfo const& process) const;

    // Returns true if the process has outlived the one that forked it: its parent is the
    // first process, or is not in the session that the process was born into.
    //
    // It returns false for the leader of a session whose orphans go to another process
    // than the first: it looks like a child.
    bool IsOrphan(ProcessInfo const& process) const;

  private:
    std::vector<ProcessInfo> processes;
    // Places in `processes`.
    std::unordered_map<pid_t, std::size_t> places;
    std::unordered_map<pid_t, std::vector<std::size_t>> children;
};

}  // namespace running

#endif
