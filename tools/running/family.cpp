#include "tools/running/family.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "tools/running/watcher.h"

namespace running {

namespace {

bool IsNoneOfOurs(ProcessInfo const& process, Snapshot const& snapshot) {
    if (process.id <= 1 || process.id == getpid()) {
        return true;
    }
    ProcessInfo const* const self = snapshot.Find(getpid());
    if (self == nullptr) {
        return false;
    }
    std::vector<ProcessInfo const*> const ancestors = snapshot.AncestorsOf(*self);
    return std::any_of(
        ancestors.begin(), ancestors.end(),
        [&process](ProcessInfo const* it) { return KeyOf(*it) == KeyOf(process); });
}

// Returns true if a leader of this id is among the leaders, and the id has no new owner.
bool HasLeader(std::set<ProcessKey> const& leaders, pid_t id, Snapshot const& snapshot) {
    auto const leader = leaders.lower_bound({id, 0});
    if (leader == leaders.end() || leader->first != id) {
        return false;
    }
    ProcessInfo const* const owner = snapshot.Find(id);
    return owner == nullptr || KeyOf(*owner) == *leader;
}

bool Executes(ProcessInfo const& process, LaunchItems const& list) {
    return std::any_of(
        list.items.begin(), list.items.end(), [&process](LaunchItem const& item) {
            return ExecutesItem(process, item) || ReplacesItselfBy(item, process);
        });
}

// A watcher has executed nothing since its fork, but its arguments are the partner's.
bool WatchesFor(ProcessInfo const& process, LaunchItems const& list) {
    ProcessInfo partner = process;
    partner.has_executed = true;
    return IsWatcher(process) && Executes(partner, list);
}

bool IsOrphanOf(ProcessInfo const& process, Snapshot const& snapshot) {
    if (!IsWatcher(process)) {
        return snapshot.IsOrphan(process);
    }
    ProcessInfo const* const parent = snapshot.Find(process.parent);
    return parent == nullptr || !IsPartner(*parent);
}

}  // namespace

Family::Family(LauncherWithItems first, std::vector<LauncherWithItems> besides)
    : has_launcher(true),
      founder(std::move(first.launcher)),
      list(std::move(first.list)),
      others(std::move(besides)),
      keys({KeyOf(founder.process)}) {
    ProcessInfo const& process = founder.process;
    if (process.session == process.id) {
        sessions.insert(KeyOf(process));
    }
    if (process.group == process.id) {
        groups.insert(KeyOf(process));
    }
}

Family::Family(std::string path, LaunchItems items, uid_t user,
               std::vector<LauncherWithItems> besides)
    : has_launcher(false), list(std::move(items)), others(std::move(besides)) {
    founder.process.user = user;
    founder.list = std::move(path);
}

void Family::Follow(Snapshot const& snapshot) {
    for (ProcessInfo const& process : snapshot.All()) {
        if (!process.is_zombie && !Has(process) && Belongs(process, snapshot)) {
            keys.insert(KeyOf(process));
        }
        if (Has(process) && process.session == process.id) {
            sessions.insert(KeyOf(process));
        }
        if (Has(process) && process.group == process.id) {
            groups.insert(KeyOf(process));
        }
    }
}

std::vector<ProcessInfo const*> Family::MembersIn(Snapshot const& snapshot) const {
    std::vector<ProcessInfo const*> members;
    for (ProcessInfo const& process : snapshot.All()) {
        bool const is_founder = has_launcher && KeyOf(process) == KeyOf(founder.process);
        if (Has(process) && !process.is_zombie && !is_founder) {
            members.push_back(&process);
        }
    }
    return members;
}

bool Family::Belongs(ProcessInfo const& process, Snapshot const& snapshot) const {
    if (process.start < founder.process.start) {
        return false;
    }
    ProcessInfo const* const parent = snapshot.Find(process.parent);
    bool const is_child = parent != nullptr && Has(*parent);
    return (is_child || IsInSessionOrGroup(process, snapshot) ||
            IsForkOfFounder(process, snapshot) ||
            ExecutesItemOfList(process, snapshot)) &&
           !IsNoneOfOurs(process, snapshot);
}

bool Family::IsInSessionOrGroup(ProcessInfo const& process,
                                Snapshot const& snapshot) const {
    return HasLeader(sessions, process.session, snapshot) ||
           (HasLeader(groups, process.group, snapshot) && snapshot.IsOrphan(process));
}

bool Family::IsOfTheUser(ProcessInfo const& process) const {
    bool const is_of_any = !has_launcher && founder.process.user == 0;
    return is_of_any || process.user == founder.process.user;
}

bool Family::IsForkOfFounder(ProcessInfo const& process, Snapshot const& snapshot) const {
    if (!IsFork(process) || !IsOfTheUser(process) || !snapshot.IsOrphan(process)) {
        return false;
    }
    bool const is_of_founder = has_launcher
                                   ? process.arguments == founder.process.arguments
                                   : IsSameList(ListOf(process), founder.list);
    return is_of_founder && !IsOfAnother(process);
}

bool Family::ExecutesItemOfList(ProcessInfo const& process,
                                Snapshot const& snapshot) const {
    return IsOfTheUser(process) &&
           (Executes(process, list) || WatchesFor(process, list)) &&
           IsOrphanOf(process, snapshot) && !IsOfAnother(process);
}

// Returns true if another launcher can have started the process.
bool Family::IsOfAnother(ProcessInfo const& process) const {
    return std::any_of(
        others.begin(), others.end(), [this, &process](LauncherWithItems const& other) {
            ProcessInfo const& launcher = other.launcher.process;
            bool const fits = IsFork(process) ? process.arguments == launcher.arguments
                                              : Executes(process, other.list) ||
                                                    WatchesFor(process, other.list);
            return fits && launcher.start <= process.start && !Has(launcher);
        });
}

}  // namespace running
