// What the items of a launch list do at the moment.

#ifndef TOOLS_RUNNING_ITEM_STATUS_H
#define TOOLS_RUNNING_ITEM_STATUS_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "tools/running/launch_items.h"
#include "tools/running/launcher.h"
#include "tools/running/snapshot.h"

namespace running {

// What an item does at the moment.
enum class State {
    Running,     // its program runs
    Waiting,     // its program has ended or is about to be executed
    Chain,       // its program cannot be executed: each link forks the next
    GivenUp,     // a fork failed, and the launcher does not try again
    NoProgram,   // the list names no program, or arguments that end each child
    LeftBehind,  // its program runs, but the launcher that started it has died
    Unknown,     // the system does not tell
};

// Returns the state in words: "running", "waiting to be started".
std::string Describe(State state);

// An item of a list, with the process that the launcher has for it.
struct ItemStatus {
    LaunchItem item;
    State state = State::Unknown;
    // The process that executes the program: below launch-with if the launcher starts
    // that. The id is 0 if there is none.
    ProcessInfo process;
    // False if another item's process may be meant: the list has several items with the
    // same command, or programs that replaced theirs.
    bool is_certain = true;
    // The sums of the program and of all processes that it started: CPU time in
    // milliseconds, and resident memory in bytes.
    long long cpu_time = 0;
    long long memory = 0;
    // In a chain, how many processes it has.
    std::size_t links = 0;
};

// What the log knows, and the processes do not.
struct LogAnswers {
    // Returns true if the launcher has given up the item of this name.
    std::function<bool(std::string const& item)> is_given_up;
    // Returns the name of the item that the link of a chain belongs to; an empty string
    // if the log does not tell.
    std::function<std::string(pid_t link)> item_of_link;
};

// The items of one launcher.
struct LauncherStatus {
    // A status for each item, in the order of the list.
    std::vector<ItemStatus> items;
    // How many items certainly have no program that runs, even if it is not known which.
    std::size_t not_running = 0;
};

// Tells the items' states from the children of the launcher. It has at most one child for
// each item.
LauncherStatus StatusOf(Snapshot const& snapshot, Launcher const& launcher,
                        LaunchItems const& list, LogAnswers const& log);

// `left` is what dead launchers have left. Returns a status for each process in it that
// executes an item, or watches one for launch-with.
std::vector<ItemStatus> LeftBehind(Snapshot const& snapshot, LaunchItems const& list,
                                   std::vector<ProcessInfo const*> const& left);

}  // namespace running

#endif
