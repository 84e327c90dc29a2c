// Finding launchers among the processes.
//
// A launcher is known by the file that it executes, and not by its name. Its forks
// execute the same file with the same arguments, until they execute their programs; the
// system tells which process has executed nothing since its fork.

#ifndef TOOLS_RUNNING_LAUNCHER_H
#define TOOLS_RUNNING_LAUNCHER_H

#include <string>
#include <vector>

#include "tools/running/snapshot.h"

namespace running {

// A launcher that runs.
struct Launcher {
    // As it was in the snapshot in which it was found.
    ProcessInfo process;
    // Its first argument.
    std::string name;
    // The path of its list, absolute unless its current directory is unknown.
    std::string list;
};

// Returns true if this is the path of the launcher in a bundle.
bool IsLauncherFile(std::string const& program);

// Returns true for a fork of a launcher that has executed nothing: it is about to, or it
// is a link of a chain.
bool IsFork(ProcessInfo const& process);

// Returns the launchers of the user `user`, the oldest first; those of all users for
// root.
std::vector<Launcher> FindLaunchers(Snapshot const& snapshot, uid_t user);

// Returns the path of the list of a launcher or a fork of one; an empty string if it has
// no such argument.
std::string ListOf(ProcessInfo const& process);

// Returns true if both paths name the same file, or if they are equal once "." and ".."
// are resolved. Neither file needs to be there.
bool IsSameList(std::string const& a, std::string const& b);

// Returns true if the file with the launcher's list was written or replaced since the
// launcher was started: the launcher runs what the list held before.
bool HasListChanged(Launcher const& launcher);

}  // namespace running

#endif
