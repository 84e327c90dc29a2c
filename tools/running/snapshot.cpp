#include "tools/running/snapshot.h"

#include <algorithm>

namespace running {

namespace {

bool IsOlder(ProcessInfo const& a, ProcessInfo const& b) {
    return a.start != b.start ? a.start < b.start : a.id < b.id;
}

}  // namespace

Snapshot::Snapshot(std::vector<ProcessInfo> all) : processes(std::move(all)) {
    std::sort(processes.begin(), processes.end(), IsOlder);
    for (std::size_t i = 0; i < processes.size(); ++i) {
        places[processes[i].id] = i;
        if (!processes[i].is_zombie) {
            children[processes[i].parent].push_back(i);
        }
    }
}

Snapshot Snapshot::Take() {
    return Snapshot(ReadProcesses());
}

ProcessInfo const* Snapshot::Find(pid_t id) const {
    auto const place = places.find(id);
    return place == places.end() ? nullptr : &processes[place->second];
}

ProcessInfo const* Snapshot::Find(ProcessKey const& key) const {
    ProcessInfo const* const process = Find(key.first);
    return process != nullptr && process->start == key.second ? process : nullptr;
}

std::vector<ProcessInfo const*> Snapshot::ChildrenOf(pid_t id) const {
    std::vector<ProcessInfo const*> found;
    auto const entry = children.find(id);
    if (entry != children.end()) {
        for (std::size_t const place : entry->second) {
            found.push_back(&processes[place]);
        }
    }
    return found;
}

std::vector<ProcessInfo const*> Snapshot::DescendantsOf(pid_t id) const {
    std::vector<ProcessInfo const*> found = ChildrenOf(id);
    // No process is older than its parent, so there is no circle; but a snapshot is not
    // taken at once, and an id that was used again may look like one.
    for (std::size_t i = 0; i < found.size() && found.size() <= processes.size(); ++i) {
        for (ProcessInfo const* const child : ChildrenOf(found[i]->id)) {
            found.push_back(child);
        }
    }
    return found;
}

std::vector<ProcessInfo const*> Snapshot::AncestorsOf(ProcessInfo const& process) const {
    std::vector<ProcessInfo const*> found;
    ProcessInfo const* parent = Find(process.parent);
    while (parent != nullptr && found.size() <= processes.size()) {
        found.push_back(parent);
        parent = parent->id == parent->parent ? nullptr : Find(parent->parent);
    }
    return found;
}

bool Snapshot::IsOrphan(ProcessInfo const& process) const {
    if (process.parent <= 1) {
        return true;
    }
    ProcessInfo const* const parent = Find(process.parent);
    return parent == nullptr ||
           (process.session != process.id && parent->session != process.session);
}

}  // namespace running
