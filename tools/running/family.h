// All processes that a launcher started, directly or not, followed while they end.
//
//   Family family(launcher, other_launchers);
//   family.Follow(Snapshot::Take());     // again and again during the stop
//   family.MembersIn(Snapshot::Take())   // what the launcher has left
//
// After the death of its parent, a process is a child of another one that has nothing to
// do with it. So a process belongs to the family if one of these is true:
// - it was seen below the launcher, or below another member;
// - it is in the session of the launcher or of a member, which that process leads;
// - it is an orphan in the process group that the launcher or a member leads;
// - it is an orphaned fork of a launcher of the same name and list, which has executed
//   nothing;
// - it is an orphan that executes an item of the list, or the watcher that launch-with
//   left for one.
// The last two count only if no other launcher can have started it: none that has the
// same item and is older than the process.
//
// The first process, this process and its ancestors are never members.

#ifndef TOOLS_RUNNING_FAMILY_H
#define TOOLS_RUNNING_FAMILY_H

#include <set>
#include <string>
#include <vector>

#include "tools/running/launch_items.h"
#include "tools/running/launcher.h"
#include "tools/running/snapshot.h"

namespace running {

// A launcher and the items of its list.
struct LauncherWithItems {
    Launcher launcher;
    LaunchItems list;
};

// The members of one family, as far as they were seen.
class Family {
  public:
    // Follows what `launcher` started. `others` are the launchers that run besides.
    Family(LauncherWithItems founder, std::vector<LauncherWithItems> others);

    // Follows what launchers of the user `user` with the list at `path` left when they
    // died; those of all users for root. `others` are the launchers that run.
    Family(std::string path, LaunchItems items, uid_t user,
           std::vector<LauncherWithItems> others);

    // Adds those that belong to the family by this snapshot.
    void Follow(Snapshot const& snapshot);

    // Returns the members that have not ended, the oldest first, without the launcher.
    // The pointers are valid as long as the snapshot.
    std::vector<ProcessInfo const*> MembersIn(Snapshot const& snapshot) const;

    // Returns true if it is a member of the family; the launcher is one.
    bool Has(ProcessInfo const& process) const { return keys.count(KeyOf(process)) != 0; }

  private:
    bool Belongs(ProcessInfo const& process, Snapshot const& snapshot) const;
    bool IsInSessionOrGroup(ProcessInfo const& process, Snapshot const& snapshot) const;
    bool IsOfTheUser(ProcessInfo const& process) const;
    bool IsForkOfFounder(ProcessInfo const& process, Snapshot const& snapshot) const;
    bool ExecutesItemOfList(ProcessInfo const& process, Snapshot const& snapshot) const;
    bool IsOfAnother(ProcessInfo const& process) const;

    bool has_launcher;
    Launcher founder;
    LaunchItems list;
    std::vector<LauncherWithItems> others;
    std::set<ProcessKey> keys;
    // Members that lead a session, and members that lead a process group.
    std::set<ProcessKey> sessions;
    std::set<ProcessKey> groups;
};

}  // namespace running

#endif
