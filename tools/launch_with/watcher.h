// The watcher: a process beside the program, which outlives its partner and ends what the
// program leaves.

#ifndef TOOLS_LAUNCH_WITH_WATCHER_H
#define TOOLS_LAUNCH_WITH_WATCHER_H

#include <sys/types.h>

#include "tools/launch_with/options.h"

namespace launch_with {

// What the watcher tells its partner.
struct Report {
    enum class Kind { Started, Ended };
    Kind kind;
    // With Started: the process id of the program, which leads its process group.
    pid_t program;
    // With Ended: how the program ended, as waitpid gives it.
    int status;
};

// Becomes the watcher, in a session of its own. Starts the program, copies its output,
// and reports to the descriptor `partner`. When the program ends, when the other end of
// `partner` is closed, or when the process `launcher` ends, it ends all processes that
// are left: by the stop signal, and after the grace by SIGKILL. Then it reports and ends.
[[noreturn]] void Watch(int argc, char** argv, Options const& options, int partner,
                        pid_t launcher) noexcept;

// Ends all descendants of this process, and the process group `group` if that is not 0,
// by SIGKILL. Waits for them. Returns the status of `group`'s leader if it was among
// them, and else that of an end by SIGKILL.
int KillDescendants(pid_t group) noexcept;

}  // namespace launch_with

#endif
