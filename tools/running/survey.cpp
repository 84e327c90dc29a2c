#include "tools/running/survey.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace running {

std::vector<LauncherWithItems> FindLaunchersWithItems(Snapshot const& snapshot) {
    std::vector<LauncherWithItems> found;
    for (Launcher& launcher : FindLaunchers(snapshot, geteuid())) {
        LaunchItems items = ReadLaunchItems(launcher.list);
        found.push_back({std::move(launcher), std::move(items)});
    }
    return found;
}

std::vector<LauncherWithItems> WithList(std::vector<LauncherWithItems> const& launchers,
                                        std::string const& list) {
    std::vector<LauncherWithItems> chosen;
    std::copy_if(launchers.begin(), launchers.end(), std::back_inserter(chosen),
                 [&list](LauncherWithItems const& it) {
                     return IsSameList(it.launcher.list, list);
                 });
    return chosen;
}

std::vector<std::string> ListsOfOrphans(Snapshot const& snapshot) {
    std::vector<std::string> lists;
    for (ProcessInfo const& process : snapshot.All()) {
        std::string const list =
            IsFork(process) && snapshot.IsOrphan(process) ? ListOf(process) : "";
        bool const is_new =
            std::none_of(lists.begin(), lists.end(),
                         [&list](std::string const& it) { return IsSameList(it, list); });
        if (!list.empty() && is_new) {
            lists.push_back(list);
        }
    }
    return lists;
}

}  // namespace running
