// The start of the program, in a forked child of the watcher.

#ifndef TOOLS_LAUNCH_WITH_PROGRAM_H
#define TOOLS_LAUNCH_WITH_PROGRAM_H

#include <sys/types.h>

#include "tools/launch_with/options.h"

namespace launch_with {

// The exit codes of launch-with itself.
constexpr int kFailed = 125;
constexpr int kNotExecutable = 126;
constexpr int kNotFound = 127;

// Gives this process the surroundings that the options ask for, and executes the program
// in it. The standard input must be /dev/null; `output` and `error` are the other two
// streams, -1 for /dev/null. If that fails, the reason is written to `error`, and the
// process ends with one of the exit codes above.
[[noreturn]] void BecomeProgram(int argc, char** argv, Options const& options,
                                pid_t watcher, int output, int error) noexcept;

}  // namespace launch_with

#endif
