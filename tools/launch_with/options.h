// The command line of launch-with.
//
//   char* argv[] = {"launch-with", "--grace", "2", "--", "/bin/sleep", "60", nullptr};
//   Options options;
//   Complaint complaint;
//   ReadOptions(6, argv, options, complaint)  -> true
//   options.grace                             -> 2000, in milliseconds
//   options.command[0]                        -> "/bin/sleep"
//
// Nothing here allocates memory. Texts are those of the command line itself.

#ifndef TOOLS_LAUNCH_WITH_OPTIONS_H
#define TOOLS_LAUNCH_WITH_OPTIONS_H

#include <sys/resource.h>

#include <csignal>

namespace launch_with {

// What the command line asks for. The texts are those of the command line, and live as
// long as that.
struct Options {
    // The shortest time from one start to the next, and the time that a program gets to
    // end; in milliseconds.
    long long at_most_every = 0;
    long long grace = 10'000;
    // The number of the signal that asks the program to end.
    int stop_signal = SIGTERM;
    // The files that the output and the errors of the program are appended to; null for
    // /dev/null. Without --error this is the same file for both.
    char const* output = nullptr;
    char const* error = nullptr;
    // How many lines are kept for a bad end; 0 if every line is written.
    long tail = 0;
    // Where the program is started; null to stay.
    char const* directory = nullptr;
    // The file mode mask of the program; -1 to keep the inherited one.
    int umask = -1;
    // The niceness of the program, unless `has_nice` is false.
    bool has_nice = false;
    int nice = 0;
    // What --lock gives; null for the command line. `name` is made of it: under this name
    // the program is started once at a time.
    char const* lock = nullptr;
    char name[17] = {};
    // --help or --version was given, and nothing after it was read.
    bool help = false;
    bool version = false;
    // The program and its arguments, with a null pointer at the end; null if none is
    // named.
    char** command = nullptr;
};

// What is wrong with a command line: "--grace", "is not a number of seconds". Both are
// words of the command line, or literals.
struct Complaint {
    char const* subject = "";
    char const* text = "";
};

// A limit on what the program may use.
struct Limit {
    // A number for setrlimit, such as RLIMIT_CORE.
    int resource;
    // The soft and the hard limit, in the resource's unit.
    rlimit value;
};

// Reads the options up to the program. Returns false, with `complaint`, at the first
// error. What comes after --help or --version is not read. Uses getopt_long, and so may
// be called by one thread at a time.
bool ReadOptions(int argc, char** argv, Options& options, Complaint& complaint);

// Calls `use` with the name and the value of each --environment and --limit, in their
// order, until it returns false. For a command line that ReadOptions has accepted.
void ForEachSetting(int argc, char** argv,
                    bool (*use)(char const* name, char const* value));

// Reads "core=0", "nofile=1024:4096" (the soft and the hard limit) or "stack=unlimited".
// Returns false if the text is something else.
bool ReadLimit(char const* text, Limit& limit);

}  // namespace launch_with

#endif
