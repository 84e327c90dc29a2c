// What the check of a launch list says the launcher will do.

#ifndef TOOLS_LAUNCHLIST_CHECK_CHECK_RESULT_H
#define TOOLS_LAUNCHLIST_CHECK_CHECK_RESULT_H

#include "tools/launchlist_check/finding.h"

// What becomes of the launcher itself. What becomes of each item is told by findings.
enum class Outcome {
    // It stays until SIGTERM and supervises its items, if there are any.
    Runs,
    // It ends by itself with exit code 0. Nothing was started and nothing is killed.
    Exits,
    // It stops an item that may have no process yet, and then sends SIGKILL to its own
    // process group; or an item that got no process, and then to all of the user. This
    // comes before Aborts where both are possible.
    KillsGroup,
    // Its process ends abnormally.
    Aborts,
    // It never gets to the end of the list. Nothing is started.
    Hangs,
    // The list was not checked.
    Unknown,
};

struct CheckResult {
    Findings findings;
    // How many items the launcher supervises; 0 unless it runs.
    std::size_t programs = 0;
    Outcome outcome = Outcome::Exits;
};

// How a list is checked.
struct CheckOptions {
    // Whether this machine would execute the programs, and has processes enough.
    bool asks_machine = true;
    // How many findings of one kind are kept.
    std::size_t most_of_a_kind = 20;
};

#endif
