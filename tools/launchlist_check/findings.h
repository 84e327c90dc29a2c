// What the check of a launch list finds.

#ifndef TOOLS_LAUNCHLIST_CHECK_FINDINGS_H
#define TOOLS_LAUNCHLIST_CHECK_FINDINGS_H

#include <string>
#include <vector>

// A warning says that the launcher takes something otherwise than it is written, while
// the program runs; an error, that a program will not run, or that a part of the list,
// which may hold programs, is not read.
enum class Severity { Warning, Error };

struct Finding {
    Severity severity;
    // One word that stays the same from version to version: "duplicate-name".
    std::string kind;
    // What is wrong and what will happen, printable, without a dot at its end.
    std::string message;
    // The key of the item that it is about, as it is in the list; empty if of none.
    std::string item = {};
    // The item's name as the launcher reads it; empty if it has none.
    std::string name = {};
    // Where it is in the file, both from 1 on, in lines and characters; 0 if nowhere.
    int line = 0;
    int column = 0;
};

using Findings = std::vector<Finding>;

// What becomes of the launcher itself. What becomes of each item is told by findings.
enum class Outcome {
    // It stays until SIGTERM and supervises its items, if there are any.
    Runs,
    // It ends by itself with exit code 0. Nothing was started and nothing is killed.
    Exits,
    // It stops an item before that has a process, perhaps. SIGKILL then goes to its own
    // process group. This comes before Aborts where both are possible.
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
    int programs = 0;
    Outcome outcome = Outcome::Exits;
};

#endif
