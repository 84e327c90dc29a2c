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

struct CheckResult {
    Findings findings;
    // How many items the launcher supervises after its start; 0 if it ends instead.
    int programs = 0;
};

#endif
