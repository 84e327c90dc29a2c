// Stopping a launcher, and ending all that it started.

#ifndef TOOLS_LAUNCHER_STOP_STOP_H
#define TOOLS_LAUNCHER_STOP_STOP_H

#include <functional>
#include <string>

#include "tools/running/family.h"

namespace launcher_stop {

// Takes a line about what was done.
using Say = std::function<void(std::string const& line)>;

// Stops the launcher, and then ends all that it started and that still runs. The steps,
// each only if the one before was not enough:
// - SIGCONT if it is suspended, and SIGTERM once that can harm nobody else;
// - SIGKILL, if that does not become certain, or if it makes no progress;
// - programs below launch-with get their grace;
// - SIGKILL to the rest, again and again until nothing is left.
//
// `others` are the launchers that run besides. Returns true if nothing is left.
bool StopLauncher(running::LauncherWithItems const& launcher,
                  std::vector<running::LauncherWithItems> const& others, Say const& say);

// Ends the family, as after the end of its launcher. Returns true if nothing is left.
bool EndFamily(running::Family& family, Say const& say);

}  // namespace launcher_stop

#endif
