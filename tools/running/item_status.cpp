#include "tools/running/item_status.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>

#include "tools/running/watcher.h"

namespace running {

namespace {

using Processes = std::vector<ProcessInfo const*>;
using Items = std::vector<ItemStatus*>;

// A fork that is about to execute its program takes a few milliseconds. On a machine that
// is very busy it takes longer.
constexpr std::chrono::seconds kLongestWayToExec(1);

bool IsOld(ProcessInfo const& process) {
    auto const now = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::system_clock::now().time_since_epoch());
    return now.count() - process.start_time >
           std::chrono::milliseconds(kLongestWayToExec).count();
}

void AddSums(ItemStatus& status, Processes const& processes) {
    for (ProcessInfo const* const process : processes) {
        status.cpu_time += process->cpu_time;
        status.memory += process->memory;
    }
}

// Takes the launcher's child, which executes the item's program or launch-with.
void SetChild(ItemStatus& status, Snapshot const& snapshot, ProcessInfo const& child) {
    ProcessInfo const* const program =
        IsPartner(child) ? ProgramOfPartner(snapshot, child) : &child;
    status.state = program == nullptr ? State::Waiting : State::Running;
    if (program != nullptr) {
        status.process = *program;
        AddSums(status, {&child});
        AddSums(status, snapshot.DescendantsOf(child.id));
    }
}

template <typename Value>
void Remove(std::vector<Value>& values, Value const& value) {
    values.erase(std::remove(values.begin(), values.end(), value), values.end());
}

template <typename Value, typename Condition>
std::vector<Value> Choose(std::vector<Value> const& values, Condition const& condition) {
    std::vector<Value> chosen;
    std::copy_if(values.begin(), values.end(), std::back_inserter(chosen), condition);
    return chosen;
}

// Matches the children of a launcher with the items of its list. Each step takes what is
// certain, and leaves the rest to the next.
class Matching {
  public:
    Matching(Snapshot const& taken, Launcher const& launcher, LogAnswers const& answers,
             LauncherStatus& result)
        : snapshot(taken), log(answers), status(result) {
        for (ProcessInfo const* const child : snapshot.ChildrenOf(launcher.process.id)) {
            if (!IsFork(*child)) {
                children.push_back(child);
            } else if (IsOld(*child) || !snapshot.ChildrenOf(child->id).empty()) {
                chains.push_back(child);
            }
        }
        for (ItemStatus& item : status.items) {
            open.push_back(&item);
        }
    }

    void Match() {
        for (ItemStatus* const item : Items(open)) {
            if (item->item.arguments.empty()) {
                Close(*item, State::NoProgram);
            }
        }
        for (ItemStatus* const item : Items(open)) {
            MatchCommand(*item);
        }
        MatchReplacedCommands();
        MatchKnownChains();
        for (ItemStatus* const item : Items(open)) {
            if (log.is_given_up(item->item.name)) {
                Close(*item, State::GivenUp);
            }
        }
        MatchOtherChains();
        MatchRest();
    }

  private:
    void Close(ItemStatus& item, State state) {
        item.state = state;
        Remove(open, &item);
    }

    void CloseAll(Items const& items, State state) {
        for (ItemStatus* const item : items) {
            Close(*item, state);
        }
    }

    // Gives each item one of the processes, of which there are as many.
    void Assign(Items const& items, Processes const& processes) {
        for (std::size_t i = 0; i < items.size(); ++i) {
            SetChild(*items[i], snapshot, *processes[i]);
            items[i]->is_certain = items.size() == 1;
            Remove(open, items[i]);
            Remove(children, processes[i]);
        }
    }

    // Says that only some of the items run, and it is not known which.
    void CloseAsUnknown(Items const& items, std::size_t running) {
        CloseAll(items, State::Unknown);
        status.not_running += items.size() - std::min(running, items.size());
    }

    // Matches the children that execute the item's command with all items that have it.
    void MatchCommand(ItemStatus& first) {
        Items const items = Choose(open, [&first](ItemStatus const* item) {
            return item->item.arguments == first.item.arguments;
        });
        Processes processes = Choose(children, [&first](ProcessInfo const* child) {
            return ExecutesItem(*child, first.item);
        });
        if (items.empty() || processes.empty()) {
            return;
        }
        if (processes.size() < items.size()) {
            for (ProcessInfo const* const process : processes) {
                Remove(children, process);
            }
            CloseAsUnknown(items, processes.size());
            return;
        }
        processes.resize(items.size());
        Assign(items, processes);
    }

    // Matches children that have executed something else, if it stands in their item.
    void MatchReplacedCommands() {
        for (ProcessInfo const* const child : Processes(children)) {
            Items const items = Choose(open, [child](ItemStatus const* item) {
                return ReplacesItselfBy(item->item, *child);
            });
            Processes const same = Choose(children, [child](ProcessInfo const* other) {
                return other->arguments == child->arguments;
            });
            if (items.size() == 1 && same.size() == 1) {
                Assign(items, same);
            }
        }
    }

    void SetChain(ItemStatus& item, ProcessInfo const& first, bool is_certain) {
        Processes members = snapshot.DescendantsOf(first.id);
        members.insert(members.begin(), &first);
        item.is_certain = is_certain;
        item.links = static_cast<std::size_t>(
            std::count_if(members.begin(), members.end(),
                          [](ProcessInfo const* it) { return IsFork(*it); }));
        // If the program is there again, the last link runs it.
        for (ProcessInfo const* const member : members) {
            if (ExecutesItem(*member, item.item)) {
                item.process = *member;
            }
        }
        AddSums(item, members);
        Close(item, State::Chain);
        Remove(chains, &first);
    }

    bool IsChainOf(ProcessInfo const& first, LaunchItem const& item) const {
        Processes const below = snapshot.DescendantsOf(first.id);
        return log.item_of_link(first.id) == item.name ||
               std::any_of(below.begin(), below.end(), [&item](ProcessInfo const* it) {
                   return ExecutesItem(*it, item);
               });
    }

    // Matches the chains whose links have logged their item, or run its program by now.
    void MatchKnownChains() {
        for (ProcessInfo const* const first : Processes(chains)) {
            Items const items = Choose(open, [this, first](ItemStatus const* item) {
                return IsChainOf(*first, item->item);
            });
            if (items.size() == 1) {
                SetChain(*items[0], *first, true);
            }
        }
    }

    // Matches the other chains with the items whose programs cannot be executed now.
    void MatchOtherChains() {
        if (chains.empty()) {
            return;
        }
        bool const are_all = children.empty() && open.size() == chains.size();
        Items const items = are_all ? open : Choose(open, [](ItemStatus const* item) {
            return access(item->item.program.c_str(), X_OK) != 0;
        });
        if (items.size() != chains.size()) {
            CloseAsUnknown(Items(open), children.size());
            return;
        }
        for (ItemStatus* const item : items) {
            SetChain(*item, *chains.front(), items.size() == 1);
        }
    }

    // Matches the children that execute something else with the items that are left.
    void MatchRest() {
        Items const items = open;
        if (children.empty()) {
            CloseAll(items, State::Waiting);
        } else if (children.size() < items.size()) {
            CloseAsUnknown(items, children.size());
        } else {
            Processes processes = children;
            processes.resize(items.size());
            Assign(items, processes);
        }
    }

    Snapshot const& snapshot;
    LogAnswers const& log;
    LauncherStatus& status;
    // What has no counterpart so far: items, children that have executed a program, and
    // first links of chains.
    Items open;
    Processes children;
    Processes chains;
};

}  // namespace

std::string Describe(State state) {
    switch (state) {
        case State::Running:
            return "running";
        case State::Waiting:
            return "waiting to be started";
        case State::Chain:
            return "in a chain";
        case State::GivenUp:
            return "given up: a fork failed";
        case State::NoProgram:
            return "no program";
        case State::LeftBehind:
            return "left behind";
        case State::Unknown:
            break;
    }
    return "cannot tell";
}

LauncherStatus StatusOf(Snapshot const& snapshot, Launcher const& launcher,
                        LaunchItems const& list, LogAnswers const& log) {
    LauncherStatus status;
    for (LaunchItem const& item : list.items) {
        status.items.emplace_back().item = item;
    }
    Matching(snapshot, launcher, log, status).Match();
    for (ItemStatus const& item : status.items) {
        bool const may_run = item.state == State::Running || item.state == State::Unknown;
        status.not_running += may_run ? 0 : 1;
    }
    return status;
}

std::vector<ItemStatus> LeftBehind(Snapshot const& snapshot, LaunchItems const& list,
                                   Processes const& left) {
    std::vector<ItemStatus> found;
    for (LaunchItem const& item : list.items) {
        for (ProcessInfo const* const process : left) {
            // A watcher's arguments are the partner's, which ends soon if it is left.
            ProcessInfo started = *process;
            started.has_executed = started.has_executed || IsWatcher(*process);
            bool const is_item =
                ExecutesItem(started, item) || ReplacesItselfBy(item, *process);
            if (is_item && !IsPartner(*process)) {
                ProcessInfo const* const program = ProgramOfWatcher(snapshot, *process);
                ItemStatus& status = found.emplace_back();
                status.item = item;
                status.state = State::LeftBehind;
                status.process = program != nullptr ? *program : *process;
                AddSums(status, {process});
                AddSums(status, snapshot.DescendantsOf(process->id));
            }
        }
    }
    return found;
}

}  // namespace running
