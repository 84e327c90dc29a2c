// One random launch list: made, checked and launched, where it can harm nothing else.

#ifndef TESTS_PREDICTIONS_TRIAL_H
#define TESTS_PREDICTIONS_TRIAL_H

#include <cstdint>
#include <filesystem>
#include <string>

#include "harness/files.h"
#include "tests/predictions/comparison.h"

// Copies of the programs under test, at places that every user can reach.
struct Tools {
    Tools();

    TempDirectory const directory;
    std::filesystem::path const launcher;
    std::filesystem::path const checker;
    std::filesystem::path const status;
    std::filesystem::path const stop;
    // The bytes of tests/support/test_program.
    std::string const test_program;
};

struct TrialResult {
    // What the launcher did, or "failed" if the trial itself did.
    std::string launcher;
    Comparison comparison;
    // The list, the prediction and the log, for people.
    std::string description;
};

// Makes the list of this seed, asks launchlist-check about it, launches it, asks
// launcher-status about the launcher, stops it, by launcher-stop or by SIGTERM, and
// writes the result to a file. All of it has a PID namespace and a disk of its own, and
// nothing that it starts outlives the call. To be called in a process that has nothing
// else to do; returns its exit code.
int Try(Tools const& tools, std::uint64_t seed, std::string const& result_file);

// Reads what Try has written; the result of a failed trial if it has written nothing.
TrialResult ReadResult(std::string const& result_file);

#endif
