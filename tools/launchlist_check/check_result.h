// What the check of a launch list says the launcher will do.

#ifndef TOOLS_LAUNCHLIST_CHECK_CHECK_RESULT_H
#define TOOLS_LAUNCHLIST_CHECK_CHECK_RESULT_H

#include "tools/launchlist_check/finding.h"

namespace launchlist_check {

// What becomes of the launcher itself. Findings tell what becomes of each item.
enum class Outcome {
    // It stays until SIGTERM and supervises its items, if there are any.
    Runs,
    // It ends by itself with exit code 0. Nothing was started and nothing is killed.
    Exits,
    // It stops an item that may have no process yet: SIGKILL then goes to the launcher's
    // own process group. Or it stops an item whose fork failed: SIGKILL then goes to
    // every process of the user. If Aborts is possible too, this is the outcome.
    KillsGroup,
    // Its process ends abnormally.
    Aborts,
    // It never gets to the end of the list. Nothing is started.
    Hangs,
    // The list was not checked.
    Unknown,
};

// What the check of a list has found.
struct CheckResult {
    Findings findings;
    // How many items the launcher supervises; 0 unless it runs.
    std::size_t programs = 0;
    // What becomes of the launcher.
    Outcome outcome = Outcome::Exits;
};

// How a list is checked.
struct CheckOptions {
    // Ask the system whether it would execute the programs, and has enough processes.
    bool asks_machine = true;
    // How many findings of one kind are kept.
    std::size_t most_of_a_kind = 20;
};

}  // namespace launchlist_check

#endif
