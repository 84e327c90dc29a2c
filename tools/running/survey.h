// The launchers that run, with what their lists say.

#ifndef TOOLS_RUNNING_SURVEY_H
#define TOOLS_RUNNING_SURVEY_H

#include <string>
#include <vector>

#include "tools/running/family.h"
#include "tools/running/launch_items.h"
#include "tools/running/launcher.h"
#include "tools/running/snapshot.h"

namespace running {

// Returns the launchers of the user who runs this process, the oldest first, with their
// items; those of all users for root.
std::vector<LauncherWithItems> FindLaunchersWithItems(Snapshot const& snapshot);

// Returns those of the launchers that have this list.
std::vector<LauncherWithItems> WithList(std::vector<LauncherWithItems> const& launchers,
                                        std::string const& list);

// Returns the lists of orphaned forks of launchers, each once.
std::vector<std::string> ListsOfOrphans(Snapshot const& snapshot);

}  // namespace running

#endif
