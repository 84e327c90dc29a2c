// What a launcher does with a launch list. The process table, the launcher's exit status,
// its log, and the files of tests/support/test_program tell it.

#ifndef TESTS_PREDICTIONS_OBSERVATION_H
#define TESTS_PREDICTIONS_OBSERVATION_H

#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "harness/process.h"

struct Observation {
    // What the launcher does in the end: "runs", "exit 0", "signal 6", "reads for ever",
    // "waits for a writer", or "unclear" if that could not be told in time.
    std::string launcher;
    // How it ended after SIGTERM; empty if it was not sent one.
    std::string end_by_sigterm = {};
    // How many items it supervises.
    int supervisors = 0;
    // For how many of them a chain of processes grows.
    int chains = 0;
    // How many of them have a program that stays.
    int staying = 0;
    // What launcher-status --json said of it then; empty if it was not asked.
    std::string status = {};
    // How launcher-stop ended; empty if it was not called. What it said, and how many
    // processes it left.
    std::string stop_end = {};
    std::string stop_output = {};
    int left_by_stop = 0;
    // The argument vectors that the test program was started with.
    std::set<std::vector<std::string>> started = {};
    // Names, as the log writes them: of chains; of items whose child ended by SIGABRT, or
    // by another signal; of items that were forked without a program.
    std::set<std::string> chain_names = {};
    std::set<std::string> aborted_names = {};
    std::set<std::string> killed_names = {};
    std::set<std::string> empty_names = {};
    // How many items were skipped because they have no name.
    int nameless = 0;
    // How many items were given up because a fork failed.
    int given_up = 0;
    // The log, for people.
    std::string log = {};
};

struct ObservedPlaces {
    std::filesystem::path launcher;
    std::filesystem::path log;
    // Where test programs write about their starts.
    std::filesystem::path starts;
};

// Watches `launcher`, which was just started, until it has ended, or it is clear what
// becomes of each item that it supervises. In the second case it then calls `ask`, and
// sends SIGTERM if `is_steady` and no program has ended. To be called in the first
// process of a PID namespace that has no other processes.
Observation Observe(Process& launcher, ObservedPlaces const& places, bool is_steady,
                    std::function<void(Observation&)> const& ask);

#endif
