// What --help and --version print.

#ifndef TOOLS_LAUNCH_WITH_HELP_H
#define TOOLS_LAUNCH_WITH_HELP_H

namespace launch_with {

constexpr char const* kVersion = "launch-with " PROJECT_VERSION "\n";

constexpr char const* kHelp =
    R"(launch-with [OPTION...] -- PROGRAM [ARGUMENT...]

Starts the program and stays beside it. Name launch-with as the "program" of a launch
item, with these options and the real program as its "args".

  --at-most-every SECONDS  start the program at most once in this time
  --grace SECONDS          time to end before SIGKILL; default 10
  --stop-signal NAME       the signal that asks it to end (TERM)
  --lock NAME              only one program with this NAME runs at a time; default: the
                           command line

  --output FILE            append the program's output, and its errors, to FILE
  --error FILE             append its errors to another FILE
  --tail N                 write only the last N lines, and only after a bad end

  --directory DIRECTORY    start the program in this directory
  --environment NAME=VALUE set a variable; may be given several times
  --umask MASK             set the file mode mask, an octal number
  --limit NAME=VALUE       set a limit, such as core=0 or nofile=1024:4096; may be given
                           several times. NAME is as, core, cpu, data, fsize, memlock,
                           nofile, nproc or stack
  --nice N                 set the niceness, from -20 to 19

  --help, -h               print this help
  --version                print the version

PROGRAM is a path; PATH is not searched. Whatever ends launch-with or its parent, the
program and all that it started get the stop signal, and SIGKILL after the grace.

Exit code: that of the program, or the same signal; 127 if the program is not there, 126
if it cannot be executed, 125 if launch-with itself failed.
)";

}  // namespace launch_with

#endif
